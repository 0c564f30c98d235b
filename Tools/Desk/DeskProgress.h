// What the run says while it works: one changing line on a terminal, lines elsewhere.
// Main thread. When nobody reads any more the run is asked to stop.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

class DeskProgress {
  public:
    DeskProgress();

    // A line that stays.
    void Say(const std::string &line);

    // Shows `line()` as the progress when it is time again; to be called often.
    void Tick(const std::function<std::string()> &line);

  private:
    void _Print(const std::string &text);

    bool m_terminal;
    bool m_lineOpen = false; // the cursor stands behind progress
    int64_t m_nextNs = 0;
    int m_shown = 0;
};
