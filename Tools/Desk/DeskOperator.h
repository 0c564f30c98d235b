// The operator's side of a run: asks the running service through zrctl and shows the
// answers. Main thread.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Desk/DeskChild.h"

class DeskOperator {
  public:
    // `program`: zrctl; `busAddress`: the run's bus; `out`: folder of the run.
    DeskOperator(std::string program, std::string busAddress, std::string out);

    // Starts recording both streams for `seconds` and returns at once.
    void StartRecording(int seconds);

    // Waits until a started recording has ended, puts its files into the run's folder and
    // tells their levels. Empty without a recording.
    std::string RecordingLevels();

    // The node report of the service as it stands now, or why there is none.
    std::string NodeReport();

  private:
    std::string _Ask(const std::vector<std::string> &arguments);
    bool _Start(DeskChild &child, const std::vector<std::string> &arguments, const std::string &outputPath) const;

    std::string m_program;
    std::string m_busAddress;
    std::string m_out;
    DeskChild m_recording{"zrctl record"};
    int m_seconds = 0;
    std::filesystem::file_time_type m_start;
};
