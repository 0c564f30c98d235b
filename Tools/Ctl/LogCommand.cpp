// zrctl log: the service's log, its last records and what comes. Main thread.
#include <cstdio>

#include <unistd.h>

#include "Ctl/CommandSetup.h"
#include "Ctl/Commands.h"
#include "Ctl/Conversation.h"
#include "Desk/StopSignals.h"

namespace {

constexpr int FOLLOW_MS = 100;

struct LogOptions {
    const CtlOptions &common;
    std::string level = "D";
    unsigned lines = 20;
    bool follow = false;
};

void Print(const LogOptions &options, const std::vector<LogRecord> &records) {
    static const bool keepsColours = isatty(STDOUT_FILENO);
    for (const LogRecord &record : records)
        if (IsSevere(record.level, options.level[0]))
            std::printf("%s\n", (keepsColours ? record.raw : StripColours(record.raw)).c_str());
    std::fflush(stdout);
}

void ShowLog(const LogOptions &options) {
    if (!options.follow) {
        Print(options, LastLogRecords(options.common.log, options.lines, options.level[0]));
        return;
    }
    LogFollower log(options.common.log, options.lines, options.level[0]);
    Print(options, log.Before());
    while (!zr_stop_wished() && !std::ferror(stdout)) {
        Print(options, log.Poll());
        zr_ctl_pause(FOLLOW_MS);
    }
}

} // namespace

void AddLog(CLI::App &program, const CtlOptions &common) {
    const auto options = std::make_shared<LogOptions>(LogOptions{common});
    CLI::App *command = program.add_subcommand("log", "Show the service's log");
    command->add_option("--level", options->level, "This level and the more severe ones: E, W, I or D")
        ->type_name("E|W|I|D")
        ->check(CLI::IsMember({"E", "W", "I", "D"}))
        ->capture_default_str();
    command->add_option("--lines", options->lines, "Records to show, older files included")
        ->type_name("N")
        ->check(CLI::Range(0U, 1000000000U))
        ->capture_default_str();
    command->add_flag("--follow", options->follow, "Go on with what comes, until Ctrl-C");
    SetRun(*command, options, ShowLog);
}
