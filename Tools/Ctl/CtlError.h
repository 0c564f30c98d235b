// How zrctl ends: its exit statuses, and the error that carries one. Any thread.
#pragma once

#include <stdexcept>
#include <string>

enum class CtlExit : int {
    Done = 0,
    Failed = 1,        // what no other status tells: a file, a full disk
    WrongUse = 2,      // refused before anything was sent
    NoBus = 3,         // the system bus cannot be reached
    NoService = 4,     // nobody owns the service's name
    NoAnswer = 5,      // no reply in time
    Denied = 6,        // the bus's policy forbids the call
    NoLog = 7,         // the log is missing or may not be read
    NoRecordings = 8,  // the service cannot make its recording files
    Recording = 9,     // a recording runs already
    Refused = 10,      // the service's reply is not {"res":0}
    Silent = 11,       // replied, but the lines did not come in the log
    Stalled = 12,      // the capture recording stopped growing
    Interrupted = 130, // by a signal, before the end
};

// Ends the command: `what()` is the one line for stderr.
class CtlError : public std::runtime_error {
  public:
    CtlError(CtlExit exit, const std::string &line) : std::runtime_error(line), m_exit(exit) {}

    CtlExit Exit() const { return m_exit; }

  private:
    CtlExit m_exit;
};

// The table of exit statuses for --help.
std::string zr_ctl_exit_table();
