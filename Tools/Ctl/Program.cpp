// The program as a whole: its commands, and one line for whatever goes wrong. Main thread.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>

#include <CLI/CLI.hpp>

#include "Ctl/Commands.h"
#include "Ctl/CtlError.h"
#include "Desk/StopSignals.h"

namespace {

int Tell(CtlExit exit, std::string line) {
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::fflush(stdout);
    std::fprintf(stderr, "zrctl: %s\n", line.c_str());
    return static_cast<int>(exit);
}

int TellWrongUse(const std::string &line) {
    return Tell(CtlExit::WrongUse, line + " (zrctl --help tells more)");
}

void AddCommonOptions(CLI::App &program, CtlOptions &common) {
    program.fallthrough();
    program.add_option("--timeout", common.timeoutSeconds, "Longest wait for the service's answer, in seconds")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.001, 3600.0))
        ->capture_default_str();
    program.add_option("--log-file", common.log, "The service's log")->type_name("FILE")->capture_default_str();
    program.add_option("--audio-dir", common.recordings, "Where the service puts recordings")
        ->type_name("DIR")
        ->capture_default_str();
}

int Run(CLI::App &program, int argc, char **argv) {
    try {
        program.parse(argc, argv);
    } catch (const CLI::Success &help) {
        return program.exit(help);
    } catch (const CLI::RequiredError &error) {
        const bool isUnknown = argc > 1 && argv[1][0] != '-' && program.get_subcommands().empty();
        return TellWrongUse(isUnknown ? "'" + std::string(argv[1]) + "' is no command" : error.what());
    } catch (const CLI::ParseError &error) {
        return TellWrongUse(error.what());
    } catch (const CtlError &error) {
        return Tell(error.Exit(), error.what());
    } catch (const std::exception &error) {
        return Tell(CtlExit::Failed, error.what());
    }
    return 0;
}

} // namespace

int zr_run_ctl(int argc, char **argv) {
    zr_stop_signals_catch();
    CtlOptions common;
    CLI::App program("Sees and steers the running audio service.", "zrctl");
    program.require_subcommand(1);
    program.footer(zr_ctl_exit_table());
    AddCommonOptions(program, common);
    for (const auto add : {AddCommands, AddStatus, AddPrint, AddRecord, AddWav, AddLevels, AddLog, AddRaw})
        add(program, common);
    for (CLI::App *command : program.get_subcommands(nullptr))
        command->footer("zrctl --help tells of the options that every command knows.\n\n" + zr_ctl_exit_table());
    const int status = Run(program, argc, argv);
    if (status == 0 && (std::fflush(stdout) != 0 || std::ferror(stdout)))
        return Tell(CtlExit::Failed, std::string("standard output: ") + std::strerror(errno));
    return status;
}
