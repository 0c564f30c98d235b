// What the tests of the deployment share: commands with their output, and the files that
// the install rules give.
#pragma once

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Support/ScratchDir.h"

struct CommandEnd {
    int status = -1; // exit status, -1 when it did not exit by itself
    std::string output;
    std::string errors;
};

// Runs a program in the working directory, for a minute at most.
CommandEnd RunProgram(const std::vector<std::string> &arguments);

// Runs a shell command likewise; it cannot start programs of this build where they are the board's.
CommandEnd RunShell(const std::string &command);

// True when the program is found in PATH.
bool HasProgram(const std::string &name);

class Deploy : public testing::Test {
  protected:
    // Installs a component, or everything, with the prefix "stage" and returns the names of the
    // files below it.
    static std::set<std::string> Install(const std::string &component = "");

    // A file of the source tree.
    static std::string Source(const std::string &name) { return ZR_SOURCE_DIR "/" + name; }

    ScratchDir m_directory;
};
