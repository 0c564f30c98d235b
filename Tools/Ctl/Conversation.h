// A command sent to the service together with the lines it answers with in its log. Main
// thread.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Ctl/LogFiles.h"

class Conversation {
  public:
    // Follows the log at `logPath` from now on. Waits at most `timeoutMs` for a reply, and
    // as long again for the lines. Throws CtlError: NoLog, or NoBus or NoService when that
    // is why there is no log.
    Conversation(const std::string &logPath, int timeoutMs);

    // Sends `text`, then hands the records written since to `isComplete` as they come,
    // until it returns true. Throws what zr_ctl_command throws; CtlError (Silent) when the
    // lines do not come in time.
    void Ask(const std::string &text, const std::function<bool(const std::vector<LogRecord> &)> &isComplete);

    // The records written since they were last asked for; does not wait.
    std::vector<LogRecord> Poll() { return m_log->Poll(); }

  private:
    std::unique_ptr<LogFollower> m_log;
    int m_timeoutMs;
};

// Sleeps until `ms` are over or a signal wishes the end.
void zr_ctl_pause(int ms);
