// /firmware/audio, empty for one test: what was there before comes back at the end. And
// what recordings must hold.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

constexpr char AUDIO_DIRECTORY[] = "/firmware/audio";
constexpr std::size_t RECORDED_FRAME_BYTES = 1536; // one period

class RecordingDirectory {
  public:
    // Makes the directory; without `present` there is none until Make.
    explicit RecordingDirectory(bool present = true);
    ~RecordingDirectory();

    RecordingDirectory(const RecordingDirectory &) = delete;
    RecordingDirectory &operator=(const RecordingDirectory &) = delete;

    void Make();

    // Paths of the recordings of "PcmRd" or "PcmWr", the oldest name first.
    std::vector<std::string> Recordings(const std::string &stream) const;

    // Content of the only recording of that stream; empty when there is not exactly one.
    std::string Content(const std::string &stream) const;

  private:
    bool m_movedAside = false;
};

// Periods `first` to `first` + `count` - 1 of the card's signal as a recording holds them:
// every frame's samples of channel 1 to 24, low byte first.
std::string RecordedSignal(std::uint64_t first, std::uint64_t count);
