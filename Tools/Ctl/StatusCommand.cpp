// zrctl status: the service's node report as a table or as JSON, once or every second.
// Main thread.
#include <chrono>
#include <cstdio>
#include <optional>

#include <unistd.h>

#include "Ctl/CommandSetup.h"
#include "Ctl/Commands.h"
#include "Ctl/Conversation.h"
#include "Ctl/NodeReport.h"
#include "Ctl/ReportText.h"
#include "Desk/StopSignals.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int WATCH_MS = 1000;
constexpr const char *CLEAR_SCREEN = "\033[H\033[2J";

struct StatusOptions {
    const CtlOptions &common;
    bool watch = false;
    bool json = false;
    unsigned count = 0; // reports to watch, 0 without end
};

NodeReport AskForReport(Conversation &service) {
    NodeReportCollector collector;
    std::optional<NodeReport> report;
    service.Ask("NodeInfo", [&](const std::vector<LogRecord> &records) {
        for (const LogRecord &record : records)
            if (auto complete = collector.Add(record.text))
                report = complete; // the newest, should somebody else have asked, too
        return report.has_value();
    });
    return *report;
}

void Print(const StatusOptions &options, const NodeReport &report, const NodeChange *change) {
    const std::string text = options.json ? ReportJson(report, change) : ReportTable(report, change);
    const bool redraws = options.watch && !options.json && isatty(STDOUT_FILENO);
    std::printf("%s%s%s", redraws ? CLEAR_SCREEN : "", text.c_str(),
                options.watch && !options.json && !redraws ? "\n" : "");
    std::fflush(stdout);
}

void Watch(const StatusOptions &options, Conversation &service) {
    NodeReport before = AskForReport(service);
    auto beforeTime = Clock::now();
    Print(options, before, nullptr);
    for (unsigned shown = 1; options.count == 0 || shown < options.count; ++shown) {
        zr_ctl_pause(WATCH_MS);
        if (zr_stop_wished() || std::ferror(stdout))
            return;
        const NodeReport now = AskForReport(service);
        const auto nowTime = Clock::now();
        const NodeChange change =
            CompareReports(before, now, std::chrono::duration<double>(nowTime - beforeTime).count());
        Print(options, now, &change);
        before = now;
        beforeTime = nowTime;
    }
}

void ShowStatus(const StatusOptions &options) {
    Conversation service(options.common.log, options.common.TimeoutMs());
    if (options.watch)
        Watch(options, service);
    else
        Print(options, AskForReport(service), nullptr);
}

} // namespace

void AddStatus(CLI::App &program, const CtlOptions &common) {
    const auto options = std::make_shared<StatusOptions>(StatusOptions{common});
    CLI::App *command = program.add_subcommand("status", "Show the counters of every part of the service");
    CLI::Option *watch = command->add_flag("--watch", options->watch, "Every second, with differences and rates");
    command->add_flag("--json", options->json, "One line of JSON for each report");
    command->add_option("--count", options->count, "With --watch: end after N reports (without: at Ctrl-C)")
        ->type_name("N")
        ->check(CLI::Range(1U, 1000000000U))
        ->needs(watch);
    SetRun(*command, options, ShowStatus);
}
