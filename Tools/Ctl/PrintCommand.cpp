// zrctl print: the service's periodic hex dump of what it captures. Main thread.
#include <cstdio>

#include "Ctl/BusCall.h"
#include "Ctl/CommandSetup.h"
#include "Ctl/Commands.h"
#include "Ctl/DebugText.h"

namespace {

struct PrintOptions {
    const CtlOptions &common;
    std::string state;
};

void SwitchPrinting(const PrintOptions &options) {
    zr_ctl_command(zr_ctl_print_text(options.state == "on"), options.common.TimeoutMs());
    std::printf("printing is %s\n", options.state.c_str());
}

} // namespace

void AddPrint(CLI::App &program, const CtlOptions &common) {
    const auto options = std::make_shared<PrintOptions>(PrintOptions{common, {}});
    CLI::App *command = program.add_subcommand("print", "Switch the periodic print of captured audio to the log");
    command->add_option("STATE", options->state, "on or off")
        ->required()
        ->type_name("on|off")
        ->check(CLI::IsMember({"on", "off"}));
    SetRun(*command, options, SwitchPrinting);
}
