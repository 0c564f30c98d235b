// A raw recording of the service: signed 16-bit little-endian samples, 24 channels
// interleaved, 16000 Hz, no header. Main thread.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

constexpr int PCM_CHANNELS = 24;
constexpr int PCM_RATE = 16000;                   // Hz
constexpr int PCM_FRAME_BYTES = PCM_CHANNELS * 2; // one sample of every channel

class PcmFile {
  public:
    // Opens `path`. Throws CtlError (Failed) when it cannot be read or holds no whole frame.
    explicit PcmFile(const std::string &path);

    // The next frames, interleaved; empty at the end. Throws CtlError (Failed).
    const std::vector<std::int16_t> &Read();

    // Whole frames in the file, and their length.
    std::uint64_t Frames() const { return m_bytes / PCM_FRAME_BYTES; }
    double Seconds() const { return static_cast<double>(Frames()) / PCM_RATE; }

    // Tells on stderr when bytes stand behind the last whole frame.
    void WarnOfSpareBytes() const;

  private:
    std::string m_path;
    std::unique_ptr<std::FILE, int (*)(std::FILE *)> m_file;
    std::uint64_t m_bytes = 0;
    std::vector<std::int16_t> m_samples;
};
