// Starting programs of this build from a program that itself runs under an emulator.
#pragma once

#include <string>
#include <vector>

// The words that start `argv`: as they are, except under an emulator (its command is in
// ZR_EMULATOR of the environment), where a program for this one's own processor gets that command
// in front, since the machine cannot start it by itself. Programs looked up in PATH are the
// machine's. Any thread.
std::vector<std::string> zr_startable(std::vector<std::string> argv);

// The same for a shell: the beginning of a command that starts `program`.
std::string zr_startable_text(const std::string &program);
