// See BlockSource.h.
#include "PeerTool/BlockSource.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Simulation/CardSignal.h"

namespace {

constexpr double TONE_AMPLITUDE = 8192;

std::int16_t Tone(double hertz, std::uint64_t frame) {
    const double turns = std::fmod(hertz * static_cast<double>(frame) / zrpeer::SAMPLE_RATE, 1.0);
    return static_cast<std::int16_t>(std::lrint(TONE_AMPLITUDE * std::sin(2 * M_PI * turns)));
}

} // namespace

void BlockSource::SetSamples(int channel, Samples samples) {
    _At(channel) = {Kind::Recorded, std::move(samples), 0};
}

void BlockSource::SetTone(int channel, double hertz) {
    _At(channel) = {Kind::Tone, {}, hertz};
}

void BlockSource::SetTestSignal(int channel) {
    _At(channel) = {Kind::TestSignal, {}, 0};
}

bool BlockSource::IsEndless() const {
    return std::any_of(m_channels.begin(), m_channels.end(), [this](const Channel &channel) {
        return channel.kind == Kind::Tone || channel.kind == Kind::TestSignal ||
               (m_repeat && channel.kind == Kind::Recorded);
    });
}

bool BlockSource::IsAtEnd() const {
    return !IsEndless() && std::all_of(m_channels.begin(), m_channels.end(),
                                       [this](const Channel &channel) { return m_frame >= channel.samples.size(); });
}

std::int16_t BlockSource::_Recorded(const Samples &samples, std::uint64_t frame) const {
    if (m_repeat && !samples.empty())
        return samples[frame % samples.size()];
    return frame < samples.size() ? samples[frame] : std::int16_t{0};
}

std::int16_t BlockSource::_Sample(const Channel &channel, int number, std::uint64_t frame) const {
    switch (channel.kind) {
    case Kind::Recorded:
        return _Recorded(channel.samples, frame);
    case Kind::Tone:
        return Tone(channel.hertz, frame);
    case Kind::TestSignal:
        return zr_card_sample(static_cast<std::uint32_t>(number), frame);
    case Kind::Silence:
        break;
    }
    return 0;
}

zrpeer::AudioBlock BlockSource::Next() {
    zrpeer::AudioBlock block;
    for (int number = 1; number <= zrpeer::CHANNELS; ++number)
        for (std::uint64_t frame = 0; frame < zrpeer::BLOCK_FRAMES; ++frame)
            block[static_cast<std::size_t>(number - 1)][frame] = _Sample(_At(number), number, m_frame + frame);
    m_frame += zrpeer::BLOCK_FRAMES;
    return block;
}
