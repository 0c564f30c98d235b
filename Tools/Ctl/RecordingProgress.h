// A running recording, watched by the growth of its two files. Main thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

// A bar of a recording of which `part` (0 to 1) is done.
std::string ProgressBar(double part);

class RecordingProgress {
  public:
    using Clock = std::chrono::steady_clock;

    RecordingProgress(const std::string &capturePath, const std::string &playbackPath, unsigned seconds);

    // Looks at the files again; `now` is the present.
    void Update(Clock::time_point now);

    // Recorded seconds of each stream.
    double CaptureSeconds() const { return _Seconds(m_captureBytes); }
    double PlaybackSeconds() const { return _Seconds(m_playbackBytes); }

    bool IsCaptureDone() const { return m_captureBytes >= m_target; }
    bool IsPlaybackDone() const { return m_playbackBytes >= m_target; }

    // The capture stream has not grown for so long that it will not.
    bool IsCaptureStalled(Clock::time_point now) const;

    // Nothing more is to be waited for: both are done, or the capture is and the playback
    // does not grow, or has had the time that its rest takes.
    bool IsOver(Clock::time_point now) const;

    // "[#####     ] capture 1.2 of 5 s, playback 0.0 of 5 s"
    std::string Line() const;

  private:
    static double _Seconds(std::uint64_t bytes);

    std::string m_capturePath;
    std::string m_playbackPath;
    unsigned m_seconds;
    std::uint64_t m_target; // bytes of each file
    std::uint64_t m_captureBytes = 0;
    std::uint64_t m_playbackBytes = 0;
    Clock::time_point m_captureGrowth; // last time that it grew
    Clock::time_point m_playbackGrowth;
    Clock::time_point m_playbackLimit; // known once the capture is done
    bool m_hasLimit = false;
};
