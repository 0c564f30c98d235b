// See SoundRecorder.h.
#include "Desk/SoundRecorder.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

namespace {

constexpr std::size_t CHUNK_BLOCKS = 250; // half a second
constexpr std::size_t WAITING_CHUNKS = 8;

} // namespace

SoundRecorder::~SoundRecorder() {
    Close();
}

bool SoundRecorder::Open(const std::string &directory, std::string &error) {
    std::error_code failure;
    std::filesystem::create_directories(directory, failure);
    for (int channel = 1; channel <= zrpeer::CHANNELS; ++channel) {
        char name[32];
        std::snprintf(name, sizeof name, "/ch%02d.wav", channel);
        m_files.emplace_back();
        if (!m_files.back().Open(directory + name, 1, error))
            return false;
    }
    m_filling.reserve(CHUNK_BLOCKS);
    m_thread = std::thread(&SoundRecorder::_Work, this);
    return true;
}

bool SoundRecorder::Add(const zrpeer::AudioBlock &block) {
    if (m_blocks == KEPT_BLOCKS || !m_thread.joinable())
        return true;
    if (m_filling.size() == CHUNK_BLOCKS)
        _Hand();
    if (m_filling.size() == CHUNK_BLOCKS)
        return false;
    m_filling.push_back(block);
    ++m_blocks;
    return true;
}

// Hands the filled chunk over unless too many wait already.
void SoundRecorder::_Hand() {
    const std::lock_guard lock(m_mutex);
    if (m_waiting.size() >= WAITING_CHUNKS)
        return;
    m_waiting.push_back(std::move(m_filling));
    m_filling = Chunk();
    m_filling.reserve(CHUNK_BLOCKS);
    m_changed.notify_one();
}

bool SoundRecorder::Close() {
    if (!m_thread.joinable())
        return m_written;
    {
        const std::lock_guard lock(m_mutex);
        m_waiting.push_back(std::move(m_filling));
        m_closing = true;
        m_changed.notify_one();
    }
    m_thread.join();
    for (WavWriter &file : m_files)
        m_written = file.Close() && m_written;
    return m_written;
}

void SoundRecorder::_Work() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_closing || !m_waiting.empty(); });
        if (m_waiting.empty())
            return;
        const Chunk chunk = std::move(m_waiting.front());
        m_waiting.pop_front();
        lock.unlock();
        _Write(chunk);
        lock.lock();
    }
}

void SoundRecorder::_Write(const Chunk &chunk) {
    Samples samples;
    for (std::size_t channel = 0; channel < m_files.size(); ++channel) {
        samples.clear();
        for (const zrpeer::AudioBlock &block : chunk)
            samples.insert(samples.end(), block[channel].begin(), block[channel].end());
        m_written = m_files[channel].Write(samples.data(), samples.size()) && m_written;
    }
}
