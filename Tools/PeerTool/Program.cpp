// The program as a whole: its commands, and what it says about wrong use.
#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <string>

#include <CLI/CLI.hpp>

#include "PeerTool/Commands.h"
#include "PeerTool/PeerLink.h"
#include "PeerTool/Stop.h"

namespace {

constexpr int WRONG_USE = 2;

int ReportWrongUse(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    zr_fail("%s (zrpeer --help tells more)", text.c_str());
    return WRONG_USE;
}

} // namespace

int zr_run_peer_tool(int argc, char **argv) {
    int status = 0;
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    zr_stop_on_signals();
    CLI::App program("A peer of the audio service: 24 channels at 16000 Hz over local sockets.", "zrpeer");
    program.require_subcommand(1);
    for (const auto add : {AddReceive, AddSend, AddLoop, AddControl, AddDebug, AddRates})
        add(program, status);
    try {
        program.parse(argc, argv);
    } catch (const CLI::Success &help) {
        return program.exit(help);
    } catch (const CLI::RequiredError &error) {
        const bool isUnknown = argc > 1 && program.get_subcommands().empty();
        return ReportWrongUse(isUnknown ? "'" + std::string(argv[1]) + "' is no command" : error.what());
    } catch (const CLI::ParseError &error) {
        return ReportWrongUse(error.what());
    }
    return status;
}
