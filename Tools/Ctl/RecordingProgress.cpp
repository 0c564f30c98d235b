// See RecordingProgress.h.
#include "Ctl/RecordingProgress.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "Ctl/PcmFile.h"

namespace {

constexpr std::chrono::milliseconds CAPTURE_STALL{5000};
constexpr std::chrono::milliseconds PLAYBACK_STALL{2000};
constexpr std::size_t BAR_CELLS = 30;
constexpr double BYTES_PER_SECOND = static_cast<double>(PCM_RATE) * PCM_FRAME_BYTES;

std::uint64_t SizeOf(const std::string &path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    return error ? 0 : size;
}

} // namespace

std::string ProgressBar(double part) {
    const double filled = std::clamp(part, 0.0, 1.0) * static_cast<double>(BAR_CELLS);
    std::string bar(static_cast<std::size_t>(filled), '#');
    bar.resize(BAR_CELLS, ' ');
    return "[" + bar + "]";
}

RecordingProgress::RecordingProgress(const std::string &capturePath, const std::string &playbackPath, unsigned seconds)
    : m_capturePath(capturePath), m_playbackPath(playbackPath), m_seconds(seconds),
      m_target(std::uint64_t{seconds} * PCM_RATE * PCM_FRAME_BYTES), m_captureGrowth(Clock::now()),
      m_playbackGrowth(m_captureGrowth) {}

double RecordingProgress::_Seconds(std::uint64_t bytes) {
    return static_cast<double>(bytes) / BYTES_PER_SECOND;
}

void RecordingProgress::Update(Clock::time_point now) {
    const std::uint64_t capture = SizeOf(m_capturePath);
    const std::uint64_t playback = SizeOf(m_playbackPath);
    if (capture != m_captureBytes)
        m_captureGrowth = now;
    if (playback != m_playbackBytes)
        m_playbackGrowth = now;
    m_captureBytes = capture;
    m_playbackBytes = playback;
    if (IsCaptureDone() && !m_hasLimit) {
        m_hasLimit = true;
        const double rest = std::max(0.0, m_seconds - PlaybackSeconds());
        m_playbackLimit = now + PLAYBACK_STALL + std::chrono::milliseconds(static_cast<long>(rest * 1000));
    }
}

bool RecordingProgress::IsCaptureStalled(Clock::time_point now) const {
    return !IsCaptureDone() && now - m_captureGrowth >= CAPTURE_STALL;
}

bool RecordingProgress::IsOver(Clock::time_point now) const {
    return IsCaptureDone() && (IsPlaybackDone() || now - m_playbackGrowth >= PLAYBACK_STALL || now >= m_playbackLimit);
}

std::string RecordingProgress::Line() const {
    char text[160];
    std::snprintf(text, sizeof text, "%s capture %.1f of %u s, playback %.1f of %u s",
                  ProgressBar(CaptureSeconds() / m_seconds).c_str(), CaptureSeconds(), m_seconds, PlaybackSeconds(),
                  m_seconds);
    return text;
}
