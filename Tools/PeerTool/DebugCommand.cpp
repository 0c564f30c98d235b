// zrpeer debug: sends a debug request, which the service logs.
#include <cstdio>

#include "PeerTool/Commands.h"
#include "PeerTool/Options.h"
#include "PeerTool/PeerLink.h"

namespace {

struct DebugOptions {
    int number = 0;
};

int Debug(const DebugOptions &options) {
    PeerLink link;
    const stModIpcMsg msg = zrpeer::DebugMessage(static_cast<ZR_U8>(options.number));
    if (!link.OpenSender() || !link.Send(msg, zrpeer::CONTROL_TO_SERVICE))
        return 1;
    if (link.Sent() == 0)
        return zr_fail("the service does not read %s", zrpeer::CONTROL_TO_SERVICE);
    std::printf("sent: debug request %d\n", options.number);
    return 0;
}

} // namespace

void AddDebug(CLI::App &program, int &status) {
    const auto options = std::make_shared<DebugOptions>();
    CLI::App *command = program.add_subcommand("debug", "Send a debug request for the service's log");
    command->add_option("number", options->number, "Number of the request")->required()->check(CLI::Range(0, 255));
    SetCallback(*command, options, status, Debug);
}
