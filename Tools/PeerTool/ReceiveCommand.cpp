// zrpeer receive: what the service sends, into sound files.
#include <cinttypes>
#include <cstdio>
#include <string>

#include "PeerTool/BlockFiles.h"
#include "PeerTool/Commands.h"
#include "PeerTool/Options.h"
#include "PeerTool/PeerLink.h"

namespace {

struct ReceiveOptions {
    std::string file;
    std::string folder;
    double seconds = 0;
};

bool OpenFiles(BlockFiles &files, const ReceiveOptions &options) {
    std::string error;
    const bool isOpen =
        options.file.empty() ? files.OpenEach(options.folder, error) : files.OpenAll(options.file, error);
    if (!isOpen)
        zr_fail("%s", error.c_str());
    return isOpen;
}

int Receive(const ReceiveOptions &options) {
    BlockFiles files;
    if (!OpenFiles(files, options))
        return 1;
    PeerLink link;
    int status = zr_receive_blocks(link, options.seconds, {[&files](const zrpeer::AudioBlock &block, std::int64_t) {
                                       files.Add(block);
                                       return true;
                                   }});
    if (!files.Close())
        status = zr_fail("not everything could be written");
    if (status == 0)
        std::printf("received %" PRIu64 " blocks (%.3f s), %" PRIu64 " wrong messages\n", link.Received(),
                    static_cast<double>(link.Received()) / zrpeer::BLOCKS_PER_SECOND, link.Wrong());
    return status;
}

} // namespace

void AddReceive(CLI::App &program, int &status) {
    const auto options = std::make_shared<ReceiveOptions>();
    CLI::App *command = program.add_subcommand("receive", "Write what the service sends to WAV files");
    CLI::Option_group *target = command->add_option_group("target", "Where to (one of them)");
    target->add_option("--file", options->file, "One WAV file with 24 channels")->type_name("FILE");
    target->add_option("--each", options->folder, "A folder with one WAV file for each channel")->type_name("FOLDER");
    target->require_option(1);
    AddSeconds(*command, options->seconds);
    SetCallback(*command, options, status, Receive);
}
