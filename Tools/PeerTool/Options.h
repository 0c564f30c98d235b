// Options that several commands share. Main thread.
#pragma once

#include <memory>
#include <string>

#include <CLI/CLI.hpp>

// Refuses (with a text) what is not a number above 0.
inline std::string CheckPositive(const std::string &text) {
    double number = 0;
    return CLI::detail::lexical_cast(text, number) && number > 0 ? "" : "'" + text + "' is not a number above 0";
}

// Declares `--seconds N` on a command.
inline void AddSeconds(CLI::App &command, double &seconds) {
    command.add_option("--seconds", seconds, "End after N seconds of audio (without: at Ctrl-C)")
        ->type_name("N")
        ->check(CheckPositive);
}

// Lets `command` run as run(options) and keeps the options alive as long as the command.
template <typename Options, typename Run>
void SetCallback(CLI::App &command, const std::shared_ptr<Options> &options, int &status, Run run) {
    command.callback([options, &status, run] { status = run(*options); });
}
