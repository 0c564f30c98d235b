// What the service logs when it is asked to record: the two files, or why not. Any thread.
#pragma once

#include <string>
#include <vector>

#include "Ctl/LogRecord.h"

class RecordingStart {
  public:
    explicit RecordingStart(unsigned seconds) : m_seconds(seconds) {}

    // Takes the next records. True once the service has said that it records or that it
    // does not; for use with Conversation::Ask.
    bool Add(const std::vector<LogRecord> &records);

    // Throws CtlError when the recording did not start: Recording (another one runs) or
    // NoRecordings (a file could not be made; what the service said about it).
    void Check() const;

    const std::string &CapturePath() const { return m_capture; }
    const std::string &PlaybackPath() const { return m_playback; }

  private:
    void _Add(const std::string &text);

    unsigned m_seconds;
    bool m_hasStarted = false;
    bool m_isRefused = false;
    std::string m_failure;
    std::string m_capture;
    std::string m_playback;
};
