// See DeployFixture.h.
#include "DeployFixture.h"

#include <filesystem>

#include "Support/ChildProcess.h"

CommandEnd RunProgram(const std::vector<std::string> &arguments) {
    ChildProcess child("command", arguments);
    const ExitStatus status = child.Wait(60000);
    return {status.exited ? status.code : -1, child.Stdout(), child.Stderr()};
}

CommandEnd RunShell(const std::string &command) {
    return RunProgram({"sh", "-c", command});
}

bool HasProgram(const std::string &name) {
    return RunShell("command -v " + name).status == 0;
}

std::set<std::string> Deploy::Install(const std::string &component) {
    const std::string option = component.empty() ? "" : " --component " + component;
    const CommandEnd end = RunShell(ZR_CMAKE " --install " ZR_BINARY_DIR " --prefix \"$PWD/stage\"" + option);
    EXPECT_EQ(end.status, 0) << end.errors;
    std::set<std::string> files;
    for (const auto &entry : std::filesystem::recursive_directory_iterator("stage"))
        if (entry.is_symlink() || !entry.is_directory())
            files.insert(std::filesystem::relative(entry.path().parent_path(), "stage") / entry.path().filename());
    return files;
}
