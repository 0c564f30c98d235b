// zrpeer control: asks the service to open or close a channel.
#include <cstdio>
#include <map>
#include <string>

#include "PeerTool/Commands.h"
#include "PeerTool/Options.h"
#include "PeerTool/PeerLink.h"

namespace {

const std::map<std::string, ZR_U8> ACTIONS{{"open", EM_STREAM_CTRL_OPEN}, {"close", EM_STREAM_CTRL_CLOSE}};

struct ControlOptions {
    std::string action;
    int channel = 0;
};

int Control(const ControlOptions &options) {
    PeerLink link;
    const stModIpcMsg msg = zrpeer::ControlMessage(ACTIONS.at(options.action), static_cast<ZR_U8>(options.channel));
    if (!link.OpenSender() || !link.Send(msg, zrpeer::CONTROL_TO_SERVICE))
        return 1;
    if (link.Sent() == 0)
        return zr_fail("the service does not read %s", zrpeer::CONTROL_TO_SERVICE);
    std::printf("sent: %s channel %d\n", options.action.c_str(), options.channel);
    return 0;
}

} // namespace

void AddControl(CLI::App &program, int &status) {
    const auto options = std::make_shared<ControlOptions>();
    CLI::App *command = program.add_subcommand("control", "Ask the service to open or close a channel");
    command->add_option("action", options->action, "open or close")
        ->required()
        ->check(CLI::IsMember({"open", "close"}));
    command->add_option("channel", options->channel, "Number of the channel")->required()->check(CLI::Range(0, 255));
    SetCallback(*command, options, status, Control);
}
