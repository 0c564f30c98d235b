// See Levels.h.
#include "Ctl/Levels.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr double FULL_SCALE = 32768;
constexpr int BAR_CELLS = 40;
constexpr double BAR_FLOOR_DB = -80; // the bar's left end

int CellsOf(double db) {
    const double part = (db - BAR_FLOOR_DB) / -BAR_FLOOR_DB;
    return static_cast<int>(std::lround(std::clamp(part, 0.0, 1.0) * BAR_CELLS));
}

// '#' up to the RMS level, '-' from there to the peak.
std::string Bar(const ChannelLevel &level) {
    const auto rms = static_cast<std::size_t>(CellsOf(level.RmsDb()));
    const auto peak = static_cast<std::size_t>(CellsOf(level.PeakDb()));
    std::string bar(BAR_CELLS, ' ');
    std::fill_n(bar.begin(), peak, '-');
    std::fill_n(bar.begin(), rms, '#');
    return bar;
}

std::string DbText(double db) {
    char text[16];
    std::snprintf(text, sizeof text, "%.1f", db > -0.05 ? 0.0 : db); // no "-0.0"
    return text;
}

// "Silent channels: 3 7", or "... none".
template <typename Predicate>
std::string ChannelList(const char *title, const std::array<ChannelLevel, PCM_CHANNELS> &channels, Predicate isListed) {
    std::string list;
    for (std::size_t i = 0; i < channels.size(); ++i)
        if (isListed(channels[i]))
            list += " " + std::to_string(i + 1);
    return std::string(title) + (list.empty() ? " none" : list) + "\n";
}

} // namespace

double LevelDb(double amplitude) {
    return 20 * std::log10(amplitude / FULL_SCALE);
}

double ChannelLevel::RmsDb() const {
    return samples ? LevelDb(std::sqrt(squares / static_cast<double>(samples))) : LevelDb(0);
}

void LevelMeter::Add(const std::vector<std::int16_t> &interleaved) {
    for (std::size_t i = 0; i < interleaved.size(); ++i) {
        ChannelLevel &level = m_channels[i % PCM_CHANNELS];
        const int sample = interleaved[i];
        level.peak = std::max(level.peak, std::abs(sample));
        level.clipped += sample == INT16_MAX || sample == INT16_MIN;
        level.squares += static_cast<double>(sample) * sample;
        ++level.samples;
    }
}

std::string LevelMeter::Text() const {
    std::string text = "channel   peak    rms  dBFS (bar from -80 to 0: # rms, - peak)\n";
    for (std::size_t i = 0; i < m_channels.size(); ++i) {
        const ChannelLevel &level = m_channels[i];
        char row[128];
        std::snprintf(row, sizeof row, "%7zu %6s %6s  |%s|%s\n", i + 1, DbText(level.PeakDb()).c_str(),
                      DbText(level.RmsDb()).c_str(), Bar(level).c_str(),
                      level.IsSilent() ? " silent" : (level.clipped ? " clipped" : ""));
        text += row;
    }
    text += ChannelList("Silent channels:", m_channels, [](const ChannelLevel &l) { return l.IsSilent(); });
    return text + ChannelList("Clipped channels:", m_channels, [](const ChannelLevel &l) { return l.clipped > 0; });
}
