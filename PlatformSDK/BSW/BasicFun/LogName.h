// File names and other foreign texts in log lines. Internal to the basic functions; any
// thread.
#pragma once

#include <string>

// A text that a log line shows as it is, whatever is in it ("%" too). A LOG_ macro
// evaluates its arguments twice: for the console, which expands a line once, and then for
// system.log, which expands it once more and so needs every "%" doubled. Give Next() to
// one argument of a LOG_ macro, once for each line.
class LogName {
  public:
    // Null stands for "(null)".
    explicit LogName(const char *text);
    explicit LogName(const std::string &text) : LogName(text.c_str()) {}

    // The text for the console, then the text for system.log, and so on in turn.
    const char *Next();

    // The text for a line that goes to a log file only.
    const char *ForFile() const { return m_doubled.c_str(); }

  private:
    std::string m_plain;
    std::string m_doubled;
    bool m_forFile = true;
};
