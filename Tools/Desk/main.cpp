// zrdesk: runs the service on a desk and checks all audio through it. Its second form,
// "zrdesk peer", is the peer process of such a run.
#include <cstdio>
#include <filesystem>

#include <CLI/CLI.hpp>

#include "Desk/DeskPeer.h"
#include "Desk/DeskRun.h"
#include "Desk/StopSignals.h"

namespace {

constexpr int USAGE_ERROR = 2;

constexpr const char *ABOUT =
    "Runs ZRFpgaMng on the stand-in card with a system bus of its own and a peer process, moves audio both\n"
    "ways and checks every sample. Uses the service's fixed paths; ./run gives it a sandbox for them.\n"
    "Recorded voices are on channels 1 to 4 (card to peer) and 5 to 8 (peer to card), a signal of its own is\n"
    "on every other one.\n"
    "\n"
    "Latency card to peer: from the moment the card captured a period's last frame until the peer has the\n"
    "message. Latency peer to card: from the moment before the peer sends a block until the service has\n"
    "written it to the card, whose buffer of up to 12 ms comes on top.\n"
    "CPU and memory: user and system time of the service while measuring, and its resident memory at the end.\n";

constexpr const char *EXIT_STATUS =
    "Exit status: 0 when every captured period reached the peer and every block that the peer sent was\n"
    "played, in order and bit for bit; 1 when not; 2 for wrong use; 130 when stopped before its time.";

void AddRunOptions(CLI::App &app, DeskOptions &options) {
    auto *seconds = app.add_option("--seconds", options.seconds, "Audio to move, in seconds")
                        ->check(CLI::Range(0.01, 1e6))
                        ->capture_default_str();
    app.add_flag("--forever", options.forever, "Until Ctrl-C, with a report every minute")->excludes(seconds);
    app.add_flag("--record", options.record, "Record both streams meanwhile (10 s at most), show their levels");
    app.add_option("--calls", options.callsPerSecond, "Debug commands to send meanwhile, in a second")
        ->check(CLI::Range(0.01, 1000.0));
    app.add_option("--out", options.out, "Folder for sound and logs")->capture_default_str();
    app.add_option("--service", options.servicePath, "The service's program")
        ->check(CLI::ExistingFile)
        ->capture_default_str();
    app.add_option("--speed", options.speed, "Speed of the card's clock, for slow machines")
        ->check(CLI::Range(0.01, 10.0))
        ->group("");
}

CLI::App *AddPeerCommand(CLI::App &app, DeskPeerOptions &options) {
    CLI::App *peer = app.add_subcommand("peer")->group("");
    peer->add_option("--memory", options.memoryDescriptor)->required();
    peer->add_option("--voices", options.voices)->required();
    peer->add_option("--out", options.soundDirectory)->required();
    peer->add_option("--speed", options.speed)->required();
    return peer;
}

} // namespace

int main(int argc, char **argv) {
    DeskOptions run;
    DeskPeerOptions peer;
    run.ownPath = std::filesystem::read_symlink("/proc/self/exe");
    run.servicePath = std::filesystem::path(run.ownPath).replace_filename("ZRFpgaMng");
    run.ctlPath = std::filesystem::path(run.ownPath).replace_filename("zrctl");
    run.out = "out/run";

    CLI::App app(ABOUT, "zrdesk");
    app.footer(EXIT_STATUS);
    AddRunOptions(app, run);
    const CLI::App *peerCommand = AddPeerCommand(app, peer);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0)
            return app.exit(error);
        std::fprintf(stderr, "zrdesk: %s\n", error.what());
        return USAGE_ERROR;
    }
    zr_stop_signals_catch();
    return peerCommand->parsed() ? zr_desk_peer(peer) : DeskRun(run).Run();
}
