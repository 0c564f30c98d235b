// zrctl raw: any debug command, as it is. Main thread.
#include <cstdio>

#include "Ctl/BusCall.h"
#include "Ctl/CommandSetup.h"
#include "Ctl/Commands.h"
#include "Ctl/DebugText.h"

namespace {

struct RawOptions {
    const CtlOptions &common;
    std::string text;
};

void SendRaw(const RawOptions &options) {
    zr_ctl_check_text(options.text);
    std::printf("%s\n", zr_ctl_call(options.text, options.common.TimeoutMs()).c_str());
}

} // namespace

void AddRaw(CLI::App &program, const CtlOptions &common) {
    const auto options = std::make_shared<RawOptions>(RawOptions{common, {}});
    CLI::App *command = program.add_subcommand("raw", "Send a debug command as it is and print the reply");
    command->add_option("TEXT", options->text, "Command and arguments, joined by _")->required()->type_name("TEXT");
    SetRun(*command, options, SendRaw);
}
