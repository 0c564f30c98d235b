// The commands of zrctl. Each Add function declares one command with its options on the
// program; its callback runs the command and throws CtlError when it cannot be done. Main
// thread.
#pragma once

#include <string>

namespace CLI {
class App;
}

// Options that every command knows.
struct CtlOptions {
    std::string log = "/firmware/log/ZRFpgaMng/system.log";
    std::string recordings = "/firmware/audio";
    double timeoutSeconds = 5;

    int TimeoutMs() const { return static_cast<int>(timeoutSeconds * 1000); }
};

void AddCommands(CLI::App &program, const CtlOptions &common); // the command "commands"
void AddStatus(CLI::App &program, const CtlOptions &common);
void AddPrint(CLI::App &program, const CtlOptions &common);
void AddRecord(CLI::App &program, const CtlOptions &common);
void AddWav(CLI::App &program, const CtlOptions &common);
void AddLevels(CLI::App &program, const CtlOptions &common);
void AddLog(CLI::App &program, const CtlOptions &common);
void AddRaw(CLI::App &program, const CtlOptions &common);

// Runs what the arguments say. Returns the exit status of the program (CtlExit); every
// failure is told in one line on stderr.
int zr_run_ctl(int argc, char **argv);
