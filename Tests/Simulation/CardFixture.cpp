#include "CardFixture.h"

#include <cstdlib>

namespace {

// Keeps the first failure.
void Note(Granted &granted, int result) {
    if (granted.result == 0 && result < 0)
        granted.result = result;
}

} // namespace

Pcm::Pcm(snd_pcm_stream_t stream, const char *name) : m_stream(stream) {
    result = snd_pcm_open(&handle, name, stream, 0);
}

Granted Pcm::SetUp(unsigned int bufferTime) {
    Granted granted;
    granted.bufferTime = bufferTime;
    snd_pcm_hw_params_t *params;
    snd_pcm_hw_params_alloca(&params);
    Note(granted, snd_pcm_hw_params_any(handle, params));
    Note(granted, snd_pcm_hw_params_set_access(handle, params, SND_PCM_ACCESS_RW_INTERLEAVED));
    Note(granted, snd_pcm_hw_params_set_format(handle, params, SND_PCM_FORMAT_S32_LE));
    Note(granted, snd_pcm_hw_params_set_channels(handle, params, CARD_CHANNELS));
    Note(granted, snd_pcm_hw_params_set_rate_near(handle, params, &granted.rate, nullptr));
    Note(granted, snd_pcm_hw_params_set_period_time_near(handle, params, &granted.periodTime, nullptr));
    Note(granted, snd_pcm_hw_params_set_buffer_time_near(handle, params, &granted.bufferTime, nullptr));
    Note(granted, snd_pcm_hw_params(handle, params));
    Note(granted, snd_pcm_hw_params_get_period_size(params, &granted.periodFrames, nullptr));
    Note(granted, snd_pcm_hw_params_get_buffer_size(params, &granted.bufferFrames));
    if (m_stream == SND_PCM_STREAM_PLAYBACK)
        Note(granted, _SetSoftware(granted));
    return granted;
}

int Pcm::_SetSoftware(const Granted &granted) {
    snd_pcm_sw_params_t *params;
    snd_pcm_sw_params_alloca(&params);
    snd_pcm_sw_params_current(handle, params);
    snd_pcm_sw_params_set_avail_min(handle, params, granted.periodFrames);
    snd_pcm_sw_params_set_start_threshold(handle, params, granted.bufferFrames);
    snd_pcm_sw_params_set_stop_threshold(handle, params, granted.bufferFrames);
    return snd_pcm_sw_params(handle, params);
}

long Pcm::Read(Period &period, uint32_t frames) {
    return snd_pcm_readi(handle, period.data(), frames);
}

long Pcm::Write(const Period &period, uint32_t frames) {
    return snd_pcm_writei(handle, period.data(), frames);
}

void Pcm::Close() {
    if (handle)
        snd_pcm_close(handle);
    handle = nullptr;
}

void CardTest::Use() {
    const std::string path = config.Write(directory.Path());
    ASSERT_FALSE(path.empty());
    setenv("ALSA_CONFIG_PATH", path.c_str(), 1);
    ASSERT_TRUE(card.Open(config.ControlPath()));
}

void CardTest::UseManualClock() {
    config.clockRunning = false;
    Use();
}

std::unique_ptr<Pcm> CardTest::_Open(snd_pcm_stream_t stream) {
    auto pcm = std::make_unique<Pcm>(stream);
    EXPECT_EQ(pcm->result, 0);
    if (pcm->handle) {
        EXPECT_EQ(pcm->SetUp(bufferTime).result, 0);
    }
    return pcm;
}

std::unique_ptr<Pcm> CardTest::StartCapture() {
    auto pcm = OpenCapture();
    EXPECT_EQ(snd_pcm_start(pcm->handle), 0);
    return pcm;
}

std::unique_ptr<Pcm> CardTest::StartPlayback() {
    auto pcm = OpenPlayback();
    for (uint64_t number = 0; number < bufferTime / 2000; number++)
        EXPECT_EQ(pcm->Write(SignalPeriod(number)), 32);
    EXPECT_EQ(snd_pcm_state(pcm->handle), SND_PCM_STATE_RUNNING);
    return pcm;
}

Period SignalPeriod(uint64_t number) {
    Period period;
    zr_card_period(number * CARD_PERIOD_FRAMES, period.data());
    return period;
}

std::vector<TapPeriod> WholeTap(const CardControl &card, CardSide side) {
    std::vector<TapPeriod> periods(card.TapCount(side));
    for (uint64_t sequence = 0; sequence < periods.size(); sequence++)
        EXPECT_EQ(card.ReadTap(side, sequence, periods[sequence]), TapResult::Ready);
    return periods;
}
