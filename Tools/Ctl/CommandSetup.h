// What the commands' declarations share. Main thread.
#pragma once

#include <memory>

#include <CLI/CLI.hpp>

// Lets `command` run as run(options) and keeps the options alive as long as the command.
template <typename Options, typename Run>
void SetRun(CLI::App &command, const std::shared_ptr<Options> &options, Run run) {
    command.callback([options, run] { run(*options); });
}
