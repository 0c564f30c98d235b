// Life of the PCM bridge and its conversions. Init and UnInit run on the owner's thread.
#include "ZRFpgaMng/AudioPcmMng/AudioPcm.h"

#include <algorithm>
#include <exception>
#include <string>

#include <time.h>

#include "BSW/Log/Log.h"
#include "ZRFpgaMng/AudioPcmMng/PcmConvert.h"
#include "ZRFpgaMng/ZRBuffer/ZRBuffer.h"

namespace {

// What the bridge asks of the card.
constexpr const char *CARD_NAME = "hw:0,0";

} // namespace

AudioPcm::AudioPcm() {
    // The threads use the stream buffers: made first, they are destroyed after the bridge.
    CZRBuffer::instance();
    LOG_INF("#### AudioPcm ####");
}

// A running thread is not joined: its destruction ends the process.
AudioPcm::~AudioPcm() {
    LOG_INF("#### ~AudioPcm ####");
    if (!m_ptPcmRd.joinable() && !m_ptPcmWr.joinable())
        _ReleaseDevice(m_pAlsaHdl);
}

int AudioPcm::Init() {
    if (m_bInit) {
        LOG_WRN("module already init!!!!");
        return 1;
    }
    if (!_TakeBufferHandles() || !_OpenDevice() || !_StartThreads())
        return 0;
    m_bInit = true;
    return 1;
}

int AudioPcm::_TakeBufferHandles() {
    for (int d = DIRECT_IN; d < DIRECT_MAX; ++d) {
        m_BufferHdlMap[d] = CZRBuffer::instance()->GetBufferOpsHdl(static_cast<emDirect>(d), 1 - d);
        if (!m_BufferHdlMap[d]) {
            LOG_ERR("GetBufferOpsHdl error");
            return 0;
        }
        LOG_DBG("m_BufferHdlMap[%d]=%p", d, m_BufferHdlMap[d]);
    }
    return 1;
}

// Makes a new device object each time. One that an earlier, failed Init left behind is
// closed, unless a thread already runs on it.
int AudioPcm::_OpenDevice() {
    auto *device = new (std::nothrow)
        AlsaSound(CARD_NAME, AUDIO_SAMPLE_RATE, AUDIO_CHANNELS, AUDIO_PERIOD_TIME_US, SND_PCM_FORMAT_S32_LE);
    if (!device) {
        LOG_ERR("new AlsaSound failed!!!");
        return 0;
    }
    LOG_INF("new AlsaSound hdl=%p", static_cast<void *>(device));
    if (!m_ptPcmWr.joinable())
        _ReleaseDevice(m_pAlsaHdl);
    const int result = device->Init(AUDIO_PERIODS_PER_BUFFER, AUDIO_PERIODS_PER_BUFFER);
    Publish(m_pAlsaHdl, device); // kept also when it could not be opened
    if (result != 0) {
        LOG_ERR("pAlsaSnd  Init failed");
        return 0;
    }
    return 1;
}

// A thread that an earlier Init has started keeps running.
int AudioPcm::_StartThreads() {
    try {
        if (!m_ptPcmWr.joinable())
            m_ptPcmWr = std::thread(&AudioPcm::AudioPcmWrThread, this);
        m_ptPcmRd = std::thread(&AudioPcm::AudioPcmRdThread, this);
    } catch (const std::exception &exception) {
        const std::string error = std::string("create MergeThread exception: ") + exception.what();
        std::printf("error, %s\n", error.c_str());
        return 0;
    }
    return 1;
}

void AudioPcm::UnInit() {
    if (!m_bInit) {
        LOG_WRN("module not init !!!!");
        return;
    }
    if (m_ptPcmRd.joinable())
        m_ptPcmRd.join();
    if (m_ptPcmWr.joinable())
        m_ptPcmWr.join();
    _ReleaseDevice(m_pAlsaHdl);
    Publish(m_pAlsaHdl, nullptr);
    m_bInit = false;
}

void AudioPcm::_ReleaseDevice(AlsaSound *device) {
    if (!device)
        return;
    device->CleanUp();
    delete device;
}

uint32_t AudioPcm::_NowTimeUs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(static_cast<uint64_t>(now.tv_sec) * 1000000 +
                                 static_cast<uint64_t>(now.tv_nsec) / 1000);
}

int AudioPcm::_ProcessWrAudioData(const uint8_t *puInBuf, uint8_t *puOutBuf) {
    return PlanarToTagged(puInBuf, puOutBuf, m_s32PeriodSamples);
}

int AudioPcm::_ProcessRdAudioData(const uint8_t *pu8InBuf, uint8_t *puOutBuf) {
    const int bytes = TaggedToPlanar(pu8InBuf, puOutBuf, m_s32PeriodSamples);
    if (bytes == 0)
        RelaxedAdd(m_u64ProRdFailCnt);
    return bytes;
}

void AudioPcm::_SwapChannels(uint8_t *u8Buffer, int32_t samplesPerChannel, int channel1, int channel2,
                             int totalChannels) {
    const auto isChannel = [totalChannels](int channel) { return channel >= 0 && channel < totalChannels; };
    if (!u8Buffer || !isChannel(channel1) || !isChannel(channel2)) {
        LOG_ERR("Invalid parameters for SwapChannels");
        return;
    }
    const std::ptrdiff_t blockBytes = std::max<std::ptrdiff_t>(samplesPerChannel, 0) * 2;
    uint8_t *const block1 = u8Buffer + channel1 * blockBytes;
    if (channel1 != channel2)
        std::swap_ranges(block1, block1 + blockBytes, u8Buffer + channel2 * blockBytes);
}
