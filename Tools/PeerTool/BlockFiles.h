// WAV files of the blocks that came in, one for all channels or one for each. The disk is
// written by a thread of its own, so that a slow one never holds up receiving.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Peer/ZRPeer.h"
#include "Sound/SoundFile.h"

class BlockFiles {
  public:
    BlockFiles() = default;
    ~BlockFiles() { Close(); }

    BlockFiles(const BlockFiles &) = delete;
    BlockFiles &operator=(const BlockFiles &) = delete;

    // Creates one file with 24 channels. False, and `error` says why, on failure.
    bool OpenAll(const std::string &path, std::string &error);

    // Creates the directory `folder` (not its parents) and in it the files "channel_01.wav" to
    // "channel_24.wav". False, and `error` says why, on failure.
    bool OpenEach(const std::string &folder, std::string &error);

    // Hands a block to the writing thread. Takes no time of the disk.
    void Add(const zrpeer::AudioBlock &block);

    // Writes what is left and completes the files. False when something could not be written.
    bool Close();

  private:
    void _Start();
    void _WriteThread();
    bool _Write(const std::vector<zrpeer::AudioBlock> &blocks);

    std::vector<WavWriter> m_files; // one, or one for each channel
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<zrpeer::AudioBlock> m_waiting; // guarded by m_mutex
    bool m_isClosing = false;                  // guarded by m_mutex
    bool m_hasFailed = false;                  // the thread's, read after its end
};
