// See CommandList.h.
#include "Ctl/CommandList.h"

#include <algorithm>
#include <sstream>

namespace {

constexpr const char *TITLE = "support cmd list : ";
constexpr const char *NAME = "cmd: ";
constexpr const char *USAGE = "  Usage: ";

std::string WithoutEndBlanks(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

} // namespace

std::vector<ServiceCommand> ParseCommandList(const std::string &text) {
    std::vector<ServiceCommand> commands;
    std::istringstream lines(text);
    std::string line;
    if (!std::getline(lines, line) || line != TITLE)
        return commands;
    while (std::getline(lines, line)) {
        const std::size_t usage = line.find(USAGE);
        if (!line.starts_with(NAME) || usage == line.npos)
            continue;
        const std::size_t name = std::string(NAME).size();
        commands.push_back({WithoutEndBlanks(line.substr(name, usage - name)),
                            WithoutEndBlanks(line.substr(usage + std::string(USAGE).size()))});
    }
    std::sort(commands.begin(), commands.end(), [](const auto &a, const auto &b) { return a.name < b.name; });
    return commands;
}
