// zrpeer loop: sends back to the service what comes from it.
#include <cinttypes>
#include <cstdio>

#include "PeerTool/Commands.h"
#include "PeerTool/Options.h"
#include "PeerTool/PeerLink.h"

namespace {

struct LoopOptions {
    double seconds = 0;
};

int Loop(const LoopOptions &options) {
    PeerLink link;
    const int status =
        zr_receive_blocks(link, options.seconds, {[&link](const zrpeer::AudioBlock &block, std::int64_t) {
                              return link.Send(zrpeer::AudioMessage(block), zrpeer::AUDIO_TO_SERVICE);
                          }});
    if (status == 0)
        std::printf("looped back %" PRIu64 " blocks, %" PRIu64 " not taken, %" PRIu64 " wrong messages\n", link.Sent(),
                    link.NotTaken(), link.Wrong());
    return status;
}

} // namespace

void AddLoop(CLI::App &program, int &status) {
    const auto options = std::make_shared<LoopOptions>();
    CLI::App *command = program.add_subcommand("loop", "Send what comes from the service back to it");
    AddSeconds(*command, options->seconds);
    SetCallback(*command, options, status, Loop);
}
