// See BlockFiles.h.
#include "PeerTool/BlockFiles.h"

#include <filesystem>
#include <system_error>
#include <utility>

namespace {

constexpr std::size_t PIECE_BLOCKS = 100; // written at once

// Channel after channel, each in one run: the form of one file per channel.
void Gather(const std::vector<zrpeer::AudioBlock> &blocks, std::size_t channel, Samples &samples) {
    samples.clear();
    for (const zrpeer::AudioBlock &block : blocks)
        samples.insert(samples.end(), block[channel].begin(), block[channel].end());
}

void Interleave(const std::vector<zrpeer::AudioBlock> &blocks, Samples &samples) {
    samples.clear();
    for (const zrpeer::AudioBlock &block : blocks)
        for (std::size_t frame = 0; frame < zrpeer::BLOCK_FRAMES; ++frame)
            for (const zrpeer::ChannelBlock &channel : block)
                samples.push_back(channel[frame]);
}

} // namespace

bool BlockFiles::OpenAll(const std::string &path, std::string &error) {
    m_files.resize(1);
    if (!m_files[0].Open(path, zrpeer::CHANNELS, error))
        return false;
    _Start();
    return true;
}

bool BlockFiles::OpenEach(const std::string &folder, std::string &error) {
    std::error_code failure;
    std::filesystem::create_directory(folder, failure);
    if (failure) {
        error = folder + ": " + failure.message();
        return false;
    }
    m_files.resize(zrpeer::CHANNELS);
    for (std::size_t channel = 0; channel < m_files.size(); ++channel) {
        const std::string number = (channel < 9 ? "0" : "") + std::to_string(channel + 1);
        if (!m_files[channel].Open(folder + "/channel_" + number + ".wav", 1, error))
            return false;
    }
    _Start();
    return true;
}

void BlockFiles::_Start() {
    m_thread = std::thread(&BlockFiles::_WriteThread, this);
}

void BlockFiles::Add(const zrpeer::AudioBlock &block) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_waiting.push_back(block);
    if (m_waiting.size() >= PIECE_BLOCKS)
        m_changed.notify_one();
}

bool BlockFiles::_Write(const std::vector<zrpeer::AudioBlock> &blocks) {
    const std::size_t frames = blocks.size() * zrpeer::BLOCK_FRAMES;
    Samples samples;
    bool isWritten = true;
    for (std::size_t file = 0; file < m_files.size(); ++file) {
        if (m_files.size() == 1)
            Interleave(blocks, samples);
        else
            Gather(blocks, file, samples);
        isWritten = m_files[file].Write(samples.data(), frames) && isWritten;
    }
    return isWritten;
}

void BlockFiles::_WriteThread() {
    std::unique_lock<std::mutex> lock(m_mutex);
    for (bool isLast = false; !isLast;) {
        m_changed.wait(lock, [this] { return m_isClosing || m_waiting.size() >= PIECE_BLOCKS; });
        isLast = m_isClosing;
        std::vector<zrpeer::AudioBlock> blocks;
        blocks.swap(m_waiting);
        lock.unlock();
        m_hasFailed = !_Write(blocks) || m_hasFailed;
        lock.lock();
    }
}

bool BlockFiles::Close() {
    if (m_thread.joinable()) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_isClosing = true;
        }
        m_changed.notify_one();
        m_thread.join();
    }
    for (WavWriter &file : m_files)
        m_hasFailed = !file.Close() || m_hasFailed;
    m_files.clear();
    return !m_hasFailed;
}
