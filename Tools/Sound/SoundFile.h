// Sound files for the tools: any file libsndfile reads, brought to the device's rate, and
// WAV files of what the device sent. Any thread; one object belongs to one thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// Samples of one channel at 16000 Hz.
using Samples = std::vector<std::int16_t>;

constexpr int SOUND_RATE = 16000; // Hz

// Reads a whole sound file as one channel at 16000 Hz; several channels are averaged. 16-bit
// mono at 16000 Hz comes out sample for sample. Empty, and `error` says why, on failure.
Samples ReadMono16k(const std::string &path, std::string &error);

// Reads a whole sound file, each of its channels brought to 16000 Hz. Empty, and `error`
// says why, on failure.
std::vector<Samples> ReadChannels16k(const std::string &path, std::string &error);

// Brings samples of `rate` Hz (full scale 1.0) to 16000 Hz. Empty, and `error` says why, on failure.
std::vector<float> ResampleTo16k(const std::vector<float> &samples, int rate, std::string &error);

// Writes a 16-bit WAV file at 16000 Hz while the audio comes in.
class WavWriter {
  public:
    WavWriter();
    ~WavWriter(); // closes the file

    WavWriter(WavWriter &&) noexcept;
    WavWriter &operator=(WavWriter &&) noexcept;

    // Creates (or overwrites) the file. False, and `error` says why, on failure.
    bool Open(const std::string &path, int channels, std::string &error);

    // Appends `frames` frames of interleaved samples. False when they could not be written.
    bool Write(const std::int16_t *interleaved, std::size_t frames);

    // Completes the file. False when what was written could not all be stored.
    bool Close();

  private:
    struct File;
    std::unique_ptr<File> m_file;
};
