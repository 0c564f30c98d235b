// Writes periods to 24 sound files, one per channel, on a thread of its own, so that a
// slow disk never holds up audio. Keeps the first minute.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Peer/ZRPeer.h"
#include "Sound/SoundFile.h"

class SoundRecorder {
  public:
    static constexpr std::size_t KEPT_BLOCKS = 60 * zrpeer::BLOCKS_PER_SECOND;

    SoundRecorder() = default;
    ~SoundRecorder(); // as Close

    SoundRecorder(const SoundRecorder &) = delete;
    SoundRecorder &operator=(const SoundRecorder &) = delete;

    // Creates `directory` and ch01.wav to ch24.wav in it. False, and `error` says why, on failure.
    bool Open(const std::string &directory, std::string &error);

    // Appends a period; never waits for the disk. False when it could not be kept because
    // the disk is more than four seconds behind; beyond the first minute true, and nothing is kept.
    bool Add(const zrpeer::AudioBlock &block);

    // Writes the rest and completes the files. False when not all could be written.
    bool Close();

  private:
    using Chunk = std::vector<zrpeer::AudioBlock>;

    void _Hand();
    void _Work();
    void _Write(const Chunk &chunk);

    Chunk m_filling;
    std::size_t m_blocks = 0;

    std::mutex m_mutex; // guards the three below
    std::condition_variable m_changed;
    std::deque<Chunk> m_waiting;
    bool m_closing = false;

    std::thread m_thread;
    std::vector<WavWriter> m_files; // the thread's
    bool m_written = true;
};
