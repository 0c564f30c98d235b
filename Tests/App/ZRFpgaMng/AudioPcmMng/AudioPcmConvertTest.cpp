// The conversions as the bridge offers them: period size, counting, swapping of channels.
#include <array>
#include <numeric>

#include <gmock/gmock.h>

#include "AudioPcmProbe.h"
#include "Simulation/CardSignal.h"
#include "Support/LogCapture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class AudioPcmConvert : public testing::Test {
  protected:
    // The log is there before the bridge, as in the service.
    AudioPcmConvert() { zr_card_period(0, m_words.data()); }

    int ToPlanar() {
        return m_pcm._ProcessRdAudioData(reinterpret_cast<uint8_t *>(m_words.data()),
                                         reinterpret_cast<uint8_t *>(m_samples.data()));
    }

    LogCapture m_log;
    AudioPcm &m_pcm = *AudioPcm::instance();
    std::array<uint32_t, 768> m_words{};
    std::array<int16_t, 1536> m_samples{}; // a whole card period, as repeated tags need
};

TEST_F(AudioPcmConvert, APeriodGoesToPlanarAndBack) {
    EXPECT_EQ(ToPlanar(), 1536);
    std::array<int16_t, 768> expected;
    zr_card_planar(0, expected.data());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), m_samples.begin()));
    std::array<uint32_t, 768> back{};
    EXPECT_EQ(m_pcm._ProcessWrAudioData(reinterpret_cast<uint8_t *>(m_samples.data()),
                                        reinterpret_cast<uint8_t *>(back.data())),
              3072);
    EXPECT_EQ(back, m_words);
    EXPECT_EQ(AudioPcmProbe::BadPeriods(), 0u);
}

TEST_F(AudioPcmConvert, ABadTagIsCountedOncePerPeriodAndNotLogged) {
    m_log.Clear();
    m_words[0] = 25U << 16;
    m_words[5] = 0;
    EXPECT_EQ(ToPlanar(), 0);
    EXPECT_EQ(AudioPcmProbe::BadPeriods(), 1u);
    m_words[0] = 0x0000FFFF;
    EXPECT_EQ(ToPlanar(), 0);
    EXPECT_EQ(AudioPcmProbe::BadPeriods(), 2u);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(AudioPcmConvert, ThePeriodSizeIsTheBridges) {
    AudioPcmProbe::SetPeriodSamples(16);
    EXPECT_EQ(ToPlanar(), 768);
    EXPECT_EQ(m_samples[16], static_cast<int16_t>(m_words[1]));
    AudioPcmProbe::SetPeriodSamples(0);
    EXPECT_EQ(ToPlanar(), 2);
    std::array<uint32_t, 768> back{};
    EXPECT_EQ(m_pcm._ProcessWrAudioData(reinterpret_cast<uint8_t *>(m_samples.data()),
                                        reinterpret_cast<uint8_t *>(back.data())),
              4);
    EXPECT_EQ(back[0], 0u);
}

TEST_F(AudioPcmConvert, SwappingExchangesTwoBlocks) {
    std::array<int16_t, 12> blocks;
    std::iota(blocks.begin(), blocks.end(), int16_t{100});
    m_pcm._SwapChannels(reinterpret_cast<uint8_t *>(blocks.data()), 3, 0, 3, 4);
    EXPECT_THAT(blocks, ElementsAre(109, 110, 111, 103, 104, 105, 106, 107, 108, 100, 101, 102));
    m_pcm._SwapChannels(reinterpret_cast<uint8_t *>(blocks.data()), 3, 2, 2, 4);
    m_pcm._SwapChannels(reinterpret_cast<uint8_t *>(blocks.data()), 0, 1, 2, 4);
    m_pcm._SwapChannels(reinterpret_cast<uint8_t *>(blocks.data()), -3, 1, 2, 4);
    EXPECT_THAT(blocks, ElementsAre(109, 110, 111, 103, 104, 105, 106, 107, 108, 100, 101, 102));
}

TEST_F(AudioPcmConvert, SwappingRefusesWhatIsNoChannelOrNoBuffer) {
    std::array<int16_t, 4> blocks{1, 2, 3, 4};
    auto *bytes = reinterpret_cast<uint8_t *>(blocks.data());
    m_log.Clear();
    m_pcm._SwapChannels(nullptr, 2, 0, 1, 2);
    m_pcm._SwapChannels(bytes, 2, -1, 1, 2);
    m_pcm._SwapChannels(bytes, 2, 0, 2, 2);
    m_pcm._SwapChannels(bytes, 2, 2, 0, 2);
    m_pcm._SwapChannels(bytes, 2, 0, 0, 0);
    const std::string refused = "E Invalid parameters for SwapChannels";
    EXPECT_THAT(m_log.Texts(), ElementsAre(refused, refused, refused, refused, refused));
    EXPECT_THAT(blocks, ElementsAre(1, 2, 3, 4));
}

} // namespace
