// Life of the sound device object and the reordering of samples. Owner's thread.
#include "BSW/Alsa/AlsaSound.h"

#include <cstdlib>
#include <utility>

#include "BSW/Log/Log.h"

namespace {

// Opens one side of the device in blocking mode. `handle` changes only on success, and
// `open` says whether it means a device: one left from an earlier try is closed then.
int OpenSide(snd_pcm_t *&handle, bool &open, const std::string &name, snd_pcm_stream_t stream) {
    snd_pcm_t *opened = nullptr;
    const int result = snd_pcm_open(&opened, name.c_str(), stream, 0);
    if (result < 0) {
        LOG_INF("Couldn't open '%s' device: %s", name.c_str(), snd_strerror(result));
        return result;
    }
    if (open)
        snd_pcm_close(handle);
    handle = opened;
    open = true;
    LOG_INF("HW Params of device \"%s\":", snd_pcm_name(handle));
    return 0;
}

void CloseSide(snd_pcm_t *handle, bool &open) {
    if (!open)
        return;
    snd_pcm_drain(handle);
    snd_pcm_close(handle);
    open = false;
}

void FreePeriodBuffer(uint8_t *&buffer) {
    std::free(buffer);
    buffer = nullptr;
}

} // namespace

AlsaSound::AlsaSound(std::string name, int rate, int channels, int periodTime, snd_pcm_format_t format)
    : m_hwparams{format, static_cast<unsigned int>(channels), static_cast<unsigned int>(rate)},
      m_stDevName(std::move(name)), m_periodTime(periodTime) {}

int AlsaSound::Init(int s32Capture, int s32Play) {
    LOG_INF("AlsaSound Init Dev:%s", m_stDevName.c_str());
    const int result = _OpenCapture(s32Capture);
    return result < 0 ? result : _OpenPlay(s32Play);
}

int AlsaSound::_OpenCapture(int periods) {
    int result = OpenSide(m_capHandle, m_capOpen, m_stDevName, SND_PCM_STREAM_CAPTURE);
    if (result < 0)
        return result;
    result = _SetCaptureParams(periods);
    if (result < 0) {
        LOG_INF("_SetCaptureParams ERROR!");
        return result;
    }
    LOG_INF("card:%s, AlsaSound Init <<capture>> Success", m_stDevName.c_str());
    return 0;
}

int AlsaSound::_OpenPlay(int periods) {
    int result = OpenSide(m_playHandle, m_playOpen, m_stDevName, SND_PCM_STREAM_PLAYBACK);
    if (result < 0)
        return result;
    result = _SetPlayParams(periods);
    if (result < 0) {
        LOG_INF("_SetPlayParams ERROR!");
        return result;
    }
    LOG_INF("card:%s, AlsaSound Init <<playback>> Success", m_stDevName.c_str());
    return 0;
}

int AlsaSound::CleanUp() {
    CloseSide(m_playHandle, m_playOpen);
    CloseSide(m_capHandle, m_capOpen);
    FreePeriodBuffer(m_playPeriodBuf);
    FreePeriodBuffer(m_capPeriodBuf);
    LOG_DBG("card:%s,AlsaSound::Run exit", m_stDevName.c_str());
    return 0;
}

int AlsaSound::CombindAudioFrame(short *dest, const short *src, int chn, int period) {
    if (!dest || !src)
        return 0;
    for (int i = 0; i < chn; ++i)
        for (int j = 0; j < period; ++j)
            *dest++ = src[static_cast<std::ptrdiff_t>(j) * chn + i];
    return 1;
}

int AlsaSound::SplitAudioFrame(short *dest, const short *src, int chn, int period) {
    if (!dest || !src)
        return 0;
    for (int i = 0; i < period; ++i)
        for (int j = 0; j < chn; ++j)
            *dest++ = src[static_cast<std::ptrdiff_t>(j) * period + i];
    return 1;
}
