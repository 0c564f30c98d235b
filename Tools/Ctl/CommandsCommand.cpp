// zrctl commands: what the running service understands. Main thread.
#include <cstdio>

#include "Ctl/CommandList.h"
#include "Ctl/CommandSetup.h"
#include "Ctl/Commands.h"
#include "Ctl/Conversation.h"

namespace {

void ListCommands(const CtlOptions &common) {
    Conversation service(common.log, common.TimeoutMs());
    std::vector<ServiceCommand> commands;
    service.Ask("help", [&commands](const std::vector<LogRecord> &records) {
        for (const LogRecord &record : records)
            if (auto listed = ParseCommandList(record.text); !listed.empty())
                commands = std::move(listed);
        return !commands.empty();
    });
    for (const ServiceCommand &command : commands)
        std::printf("%-12s %s\n", command.name.c_str(), command.description.c_str());
}

} // namespace

void AddCommands(CLI::App &program, const CtlOptions &common) {
    program.add_subcommand("commands", "List the debug commands of the service")->callback([&common] {
        ListCommands(common);
    });
}
