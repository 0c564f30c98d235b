// The commands of zrpeer. Each Add function declares one command with its options on the
// program; its callback runs the command and leaves the exit status in `status`: 0 done,
// 1 it could not be done (told in one line on stderr). Main thread.
#pragma once

namespace CLI {
class App;
}

void AddReceive(CLI::App &program, int &status);
void AddSend(CLI::App &program, int &status);
void AddLoop(CLI::App &program, int &status);
void AddControl(CLI::App &program, int &status);
void AddDebug(CLI::App &program, int &status);
void AddRates(CLI::App &program, int &status);

// Declares all of them and runs what the arguments say. Returns the exit status of the
// program; 2 for wrong use (told in one line on stderr).
int zr_run_peer_tool(int argc, char **argv);
