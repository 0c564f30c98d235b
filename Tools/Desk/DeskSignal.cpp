// See DeskSignal.h.
#include "Desk/DeskSignal.h"

#include "CardSignal.h"

namespace {

constexpr uint32_t FIRST_COUNTER = 23; // channels 23 and 24

} // namespace

const std::map<uint32_t, std::string> &DeskSignal::Voices(DeskSource source) {
    static const std::string folder = "/usr/share/sounds/alsa/";
    static const std::map<uint32_t, std::string> card = {{1, folder + "Front_Center.wav"},
                                                         {2, folder + "Front_Left.wav"},
                                                         {3, folder + "Front_Right.wav"},
                                                         {4, folder + "Rear_Center.wav"}};
    static const std::map<uint32_t, std::string> peer = {{5, folder + "Rear_Left.wav"},
                                                         {6, folder + "Rear_Right.wav"},
                                                         {7, folder + "Side_Left.wav"},
                                                         {8, folder + "Side_Right.wav"}};
    return source == DeskSource::Card ? card : peer;
}

std::string DeskSignal::VoicePath(const std::string &directory, uint32_t channel) {
    return directory + "/voice" + std::to_string(channel) + ".wav";
}

bool DeskSignal::PrepareVoices(const std::string &directory, std::string &error) {
    for (const DeskSource source : {DeskSource::Card, DeskSource::Peer})
        for (const auto &[channel, recording] : Voices(source)) {
            const Samples samples = ReadMono16k(recording, error);
            WavWriter writer;
            if (samples.empty() || !writer.Open(VoicePath(directory, channel), 1, error))
                return false;
            if (!writer.Write(samples.data(), samples.size()) || !writer.Close()) {
                error = VoicePath(directory, channel) + " could not be written";
                return false;
            }
        }
    return true;
}

bool DeskSignal::Load(DeskSource source, const std::string &directory, std::string &error) {
    m_source = source;
    for (const auto &[channel, recording] : Voices(source)) {
        m_voices[channel] = ReadMono16k(VoicePath(directory, channel), error);
        if (m_voices[channel].empty())
            return false;
    }
    return true;
}

int16_t DeskSignal::Sample(uint32_t channel, uint64_t frame) const {
    if (const auto voice = m_voices.find(channel); voice != m_voices.end())
        return voice->second[frame % voice->second.size()];
    if (m_source == DeskSource::Card || channel >= FIRST_COUNTER)
        return zr_card_sample(channel, frame);
    return static_cast<int16_t>(~zr_card_sample(FIRST_COUNTER - channel, frame));
}

zrpeer::AudioBlock DeskSignal::Block(uint64_t firstFrame) const {
    zrpeer::AudioBlock block;
    for (uint32_t channel = 1; channel <= block.size(); ++channel)
        for (uint32_t frame = 0; frame < zrpeer::BLOCK_FRAMES; ++frame)
            block[channel - 1][frame] = Sample(channel, firstFrame + frame);
    return block;
}

uint32_t zr_desk_frame_of(const zrpeer::AudioBlock &block) {
    return zr_card_frame_of_planar(block[0].data());
}
