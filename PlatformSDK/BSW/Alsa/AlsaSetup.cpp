// Hardware and software parameters of one side of the sound device. Owner's thread.
#include <cstdlib>

#include "BSW/Alsa/AlsaSound.h"
#include "BSW/Log/Log.h"

namespace {

// Stream parameters as the card grants them; a value it does not tell stays 0.
struct GrantedParams {
    unsigned int channels = 0;
    snd_pcm_uframes_t periodFrames = 0;
    unsigned int periodTime = 0; // microseconds
    unsigned int rate = 0;       // Hz
    snd_pcm_uframes_t bufferFrames = 0;
};

GrantedParams ReadGranted(snd_pcm_hw_params_t *params) {
    GrantedParams granted;
    snd_pcm_hw_params_get_channels(params, &granted.channels);
    snd_pcm_hw_params_get_period_size(params, &granted.periodFrames, nullptr);
    snd_pcm_hw_params_get_period_time(params, &granted.periodTime, nullptr);
    snd_pcm_hw_params_get_rate(params, &granted.rate, nullptr);
    snd_pcm_hw_params_get_buffer_size(params, &granted.bufferFrames);
    return granted;
}

// What the set-up of both sides has in common, step by step. Each step logs its own
// failure and returns 0 or a negative value: the ALSA error, or -1 for a refusal.
struct SideSetup {
    snd_pcm_t *handle;
    snd_pcm_hw_params_t *params;
    const char *side;                // "play" or "capture", as the log lines have it
    const char *sideTitle;           // "Play" or "Capture"
    const char *failureMark;         // what ends the line of a failed installation
    snd_pcm_uframes_t chunkSize = 0; // frames of one period
    snd_pcm_uframes_t bufferSize = 0;

    int ChooseStream(snd_pcm_format_t format, unsigned int channels, unsigned int &rate);
    int ChooseTimes(int32_t periodTime, int periods);
    int Install();
    int ReadSizes();
    int LogGranted() const;
    int LogBufferTimes() const;
    void ComputeSizes(snd_pcm_format_t format, unsigned int channels, int32_t &bitsPerFrame, int32_t &chunkBytes) const;
    int AllocatePeriod(int32_t chunkBytes, uint8_t *&buffer) const;
};

// Access, format, channels and rate. `rate` is replaced by the granted one.
int SideSetup::ChooseStream(snd_pcm_format_t format, unsigned int channels, unsigned int &rate) {
    int result = snd_pcm_hw_params_any(handle, params);
    if (result < 0) {
        LOG_INF("Broken configuration for this PCM: no configurations available");
        return result;
    }
    result = snd_pcm_hw_params_set_access(handle, params, SND_PCM_ACCESS_RW_INTERLEAVED);
    if (result < 0) {
        LOG_INF("Access type not available");
        return result;
    }
    result = snd_pcm_hw_params_set_format(handle, params, format);
    if (result < 0) {
        LOG_INF("Sample format non available");
        return result;
    }
    result = snd_pcm_hw_params_set_channels(handle, params, channels);
    if (result < 0) {
        LOG_INF("Channels count non available");
        return result;
    }
    result = snd_pcm_hw_params_set_rate_near(handle, params, &rate, nullptr);
    if (result < 0)
        LOG_INF("Channels rate non available");
    return result;
}

// Period and buffer time in microseconds; the buffer time is a multiple of the requested
// period time, not of the granted one.
int SideSetup::ChooseTimes(int32_t periodTime, int periods) {
    if (periodTime <= 0) {
        LOG_INF("%s m_periodTime=%d error!", sideTitle, periodTime);
        return -1;
    }
    auto time = static_cast<unsigned int>(periodTime);
    int result = snd_pcm_hw_params_set_period_time_near(handle, params, &time, nullptr);
    if (result < 0) {
        LOG_INF("snd_pcm_hw_params_set_period_time_near error!");
        return result;
    }
    LOG_INF("\t<%s> hardware period_time: %u us", side, time);

    time = static_cast<unsigned int>(periodTime) * static_cast<unsigned int>(periods);
    result = snd_pcm_hw_params_set_buffer_time_near(handle, params, &time, nullptr);
    if (result < 0) {
        LOG_INF("snd_pcm_hw_params_set_period_time_near error!"); // the period's text, also for the buffer
        return result;
    }
    LOG_INF("\t<%s> hardware buffer_time: %u", side, time);
    return 0;
}

int SideSetup::Install() {
    const int result = snd_pcm_hw_params(handle, params);
    if (result < 0)
        LOG_INF("Unable to install hw params%s", failureMark);
    return result;
}

// Periods of the whole buffer are refused: the card would have nowhere to work ahead.
int SideSetup::ReadSizes() {
    const GrantedParams granted = ReadGranted(params);
    chunkSize = granted.periodFrames;
    bufferSize = granted.bufferFrames;
    if (chunkSize == bufferSize) {
        LOG_INF("Can't use period equal to buffer size (%lu == %lu)", chunkSize, bufferSize);
        return -1;
    }
    LOG_INF("\t<%s> period_size: %lu, buffer_size:%lu", side, chunkSize, bufferSize);
    return 0;
}

// What the card reports after the installation.
int SideSetup::LogGranted() const {
    const GrantedParams granted = ReadGranted(params);
    LOG_INF("\t<%s> Number of channels: %u", side, granted.channels);
    LOG_INF("\t<%s> Number of frames in 1 period: %lu", side, granted.periodFrames);
    LOG_INF("\t<%s> Period time: %u", side, granted.periodTime);
    LOG_INF("\t<%s> Sample rate: %u Hz", side, granted.rate);
    LOG_INF("\t<%s> Buffer Size: %lu", side, granted.bufferFrames);
    return LogBufferTimes();
}

int SideSetup::LogBufferTimes() const {
    unsigned int time = 0;
    int result = snd_pcm_hw_params_get_buffer_time_max(params, &time, nullptr);
    if (result < 0) {
        LOG_INF("snd_pcm_hw_params_get_buffer_time_max error!");
        return result;
    }
    LOG_INF("\t<%s> Buffer time max: %u", side, time);
    result = snd_pcm_hw_params_get_buffer_time_min(params, &time, nullptr);
    if (result < 0) {
        LOG_INF("snd_pcm_hw_params_get_buffer_time_min error!");
        return result;
    }
    LOG_INF("\t<%s> Buffer time min: %u us", side, time);
    return 0;
}

// Bits of one frame and bytes of one period.
void SideSetup::ComputeSizes(snd_pcm_format_t format, unsigned int channels, int32_t &bitsPerFrame,
                             int32_t &chunkBytes) const {
    bitsPerFrame = static_cast<int32_t>(channels) * snd_pcm_format_physical_width(format);
    chunkBytes = static_cast<int32_t>(static_cast<int64_t>(chunkSize) * bitsPerFrame / 8);
    LOG_INF("\t<%s> ChunkBytes:%d", side, chunkBytes);
    LOG_INF("\t<%s> BitsPerFrame:%d", side, bitsPerFrame);
}

// Replaces the period buffer of an earlier set-up.
int SideSetup::AllocatePeriod(int32_t chunkBytes, uint8_t *&buffer) const {
    std::free(buffer);
    buffer = static_cast<uint8_t *>(std::malloc(static_cast<size_t>(chunkBytes)));
    if (!buffer) {
        LOG_INF("not enough memory");
        return -1;
    }
    return 0;
}

// Playback starts once the whole buffer is full and stops when it has run dry.
int SetSoftwareParams(const SideSetup &setup, snd_pcm_sw_params_t *swparams) {
    snd_pcm_sw_params_current(setup.handle, swparams);
    snd_pcm_sw_params_set_avail_min(setup.handle, swparams, setup.chunkSize);
    int result = snd_pcm_sw_params_set_start_threshold(setup.handle, swparams, setup.bufferSize);
    if (result < 0) {
        LOG_INF("Unable to set sw_params start_threshold");
        return result;
    }
    result = snd_pcm_sw_params_set_stop_threshold(setup.handle, swparams, setup.bufferSize);
    if (result < 0) {
        LOG_INF("Unable to set sw_params stop_threshold");
        return result;
    }
    result = snd_pcm_sw_params(setup.handle, swparams);
    if (result < 0)
        LOG_INF("unable to install sw params:");
    return result;
}

// Runs the steps in turn up to the first that fails; that one's result, or 0.
template <typename... Steps> int InTurn(Steps... steps) {
    int result = 0;
    static_cast<void>(((result = steps(), result >= 0) && ...));
    return result < 0 ? result : 0;
}

} // namespace

int AlsaSound::_SetPlayParams(int size) {
    snd_pcm_hw_params_t *params;
    snd_pcm_sw_params_t *swparams;
    snd_pcm_hw_params_alloca(&params);
    snd_pcm_sw_params_alloca(&swparams);
    SideSetup setup{m_playHandle, params, "play", "Play", ":"};
    const int result =
        InTurn([&] { return setup.ChooseStream(m_hwparams.format, m_hwparams.channels, m_hwparams.rate); },
               [&] { return setup.ChooseTimes(m_periodTime, size); }, [&] { return setup.Install(); },
               [&] { return setup.ReadSizes(); }, [&] { return SetSoftwareParams(setup, swparams); },
               [&] { return setup.LogGranted(); },
               [&] {
                   setup.ComputeSizes(m_hwparams.format, m_hwparams.channels, m_playBitsPerFrame, m_playChunkBytes);
                   return setup.AllocatePeriod(m_playChunkBytes, m_playPeriodBuf);
               });
    return result < 0 ? -1 : 0; // playback tells no failure from another
}

int AlsaSound::_SetCaptureParams(int size) {
    snd_pcm_hw_params_t *params;
    snd_pcm_hw_params_alloca(&params);
    SideSetup setup{m_capHandle, params, "capture", "Capture", ""};
    return InTurn([&] { return setup.ChooseStream(m_hwparams.format, m_hwparams.channels, m_hwparams.rate); },
                  [&] { return setup.ChooseTimes(m_periodTime, size); }, [&] { return setup.Install(); },
                  [&] { return setup.ReadSizes(); }, [&] { return setup.LogGranted(); },
                  [&] {
                      setup.ComputeSizes(m_hwparams.format, m_hwparams.channels, m_capBitsPerFrame, m_capChunkBytes);
                      LOG_INF("\t<capture> hwparams(%d, %u, %u)", m_hwparams.format, m_hwparams.channels,
                              m_hwparams.rate);
                      return setup.AllocatePeriod(m_capChunkBytes, m_capPeriodBuf);
                  });
}

void get_alsa_hw_info(snd_pcm_t *pcm_handle, snd_pcm_hw_params_t *params, const std::string &strCardName, int mode) {
    LOG_INF("END card:%s %s-->PCM properties:", strCardName.c_str(), mode ? "capture" : "play");
    LOG_INF("\tPCM name: %s", snd_pcm_name(pcm_handle));
    const char *state = snd_pcm_state_name(snd_pcm_state(pcm_handle));
    LOG_INF("\tPCM state: %s", state);
    const GrantedParams granted = ReadGranted(params);
    LOG_INF("\tNumber of channels: %u", granted.channels);
    LOG_INF("\tNumber of frames in 1 period: %lu", granted.periodFrames);
    LOG_INF("\tPeriod time: %u", granted.periodTime);
    LOG_INF("\tSample rate: %u Hz", granted.rate);
    LOG_INF("\tBuffer Size: %lu", granted.bufferFrames);
}
