// The service's list of its commands, as it stands in its log. Any thread.
#pragma once

#include <string>
#include <vector>

struct ServiceCommand {
    std::string name;
    std::string description;
};

// The commands in a log record's text, by name; empty when it is no such list.
std::vector<ServiceCommand> ParseCommandList(const std::string &text);
