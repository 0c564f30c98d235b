// zrpeer send: sound files and signals to the service, at the pace of the own clock or of
// the blocks that come from the service.
#include <cinttypes>
#include <cstdio>
#include <string>

#include "PeerTool/Commands.h"
#include "PeerTool/Options.h"
#include "PeerTool/PeerLink.h"
#include "PeerTool/SendOptions.h"
#include "PeerTool/Stop.h"
#include "Sound/BlockPacer.h"

namespace {

bool SendNext(PeerLink &link, BlockSource &source) {
    return link.Send(zrpeer::AudioMessage(source.Next()), zrpeer::AUDIO_TO_SERVICE);
}

int SendByOwnClock(PeerLink &link, BlockSource &source, double seconds) {
    if (!link.OpenSender())
        return 1;
    RunTime time(seconds);
    BlockPacer pacer;
    while (!source.IsAtEnd() && !time.IsOver())
        if (pacer.Wait() && !SendNext(link, source))
            return 1;
    return 0;
}

int SendByCardClock(PeerLink &link, BlockSource &source, double seconds) {
    BlockHandler handler;
    handler.onBlock = [&](const zrpeer::AudioBlock &, std::int64_t) { return SendNext(link, source); };
    handler.isDone = [&] { return source.IsAtEnd(); };
    return zr_receive_blocks(link, seconds, handler);
}

int Send(const SendOptions &options) {
    BlockSource source;
    std::string error;
    if (!MakeSource(options, source, error))
        return zr_fail("%s", error.c_str());
    PeerLink link;
    const int status =
        options.follow ? SendByCardClock(link, source, options.seconds) : SendByOwnClock(link, source, options.seconds);
    if (status == 0)
        std::printf("sent %" PRIu64 " blocks, %" PRIu64 " not taken\n", link.Sent(), link.NotTaken());
    return status;
}

} // namespace

void AddSend(CLI::App &program, int &status) {
    const auto options = std::make_shared<SendOptions>();
    CLI::App *command =
        program.add_subcommand("send", "Send sound files, tones or (without a choice) the test signal to the service");
    AddSourceOptions(*command, *options);
    command->add_flag("--follow", options->follow, "Send one block for each that comes: the card sets the pace");
    AddSeconds(*command, options->seconds);
    SetCallback(*command, options, status, Send);
}
