// The write thread "PcmWrite": takes frames from DIRECT_OUT, trims a lasting backlog and
// plays them on the card. Everything here runs on that thread.
#include <pthread.h>
#include <unistd.h>

#include "BSW/Log/Log.h"
#include "ZRFpgaMng/AudioPcmMng/AudioPcm.h"
#include "ZRFpgaMng/AudioPcmMng/PcmFrameBuffers.h"
#include "ZRFpgaMng/ZRBuffer/ZRBuffer.h"

namespace {

constexpr useconds_t EMPTY_WAIT_US = 1200;     // until the next look into an empty channel
constexpr uint64_t BACKLOG_CHECKS_KEPT = 2999; // checks in a row with a backlog that pass

// Reads one frame of DIRECT_OUT without waiting.
bool ReadFrame(void *handle, iovec *vec) {
    return CZRBuffer::instance()->Read(handle, vec, 2, 0) >= 1;
}

} // namespace

void AudioPcm::AudioPcmWrThread() {
    {
        PcmFrameBuffers buffers;
        if (buffers.Allocated()) {
            pthread_setname_np(pthread_self(), "PcmWrite");
            if (AlsaSound *device = Observe(m_pAlsaHdl))
                _PrimePlayback(*device, buffers.u8Buffer.get());
            while (AlsaSound *device = Observe(m_pAlsaHdl))
                _PlayOneFrame(*device, buffers);
        }
    }
    LOG_INF("Exit PcmWr Thread");
}

// One silent period ahead of the first frame.
void AudioPcm::_PrimePlayback(AlsaSound &device, uint8_t *u8Buffer) {
    std::memset(u8Buffer, 0, AUDIO_CARD_PERIOD_BYTES);
    const int ret = device.SoundWrite(u8Buffer, AUDIO_CARD_PERIOD_BYTES);
    if (ret < 1)
        LOG_ERR("Before write failed ret=%d", ret);
}

// One check of the channel; plays the frame it finds.
void AudioPcm::_PlayOneFrame(AlsaSound &device, PcmFrameBuffers &buffers) {
    buffers.Clear();
    iovec vec[2] = {{&buffers.u16Len, sizeof buffers.u16Len}, {buffers.u8MsgPag.get(), AUDIO_PAYLOAD_BYTES}};
    int s32Cnt = 0;
    CZRBuffer::instance()->BufferCount(m_BufferHdlMap[DIRECT_OUT], &s32Cnt);
    if (s32Cnt <= 0) {
        usleep(EMPTY_WAIT_US);
        RelaxedAdd(m_u64WrCnt1); // the backlog's run count stays
        return;
    }
    RelaxedAdd(m_u64WrCnt2);
    if (!_TrimBacklog(s32Cnt, vec))
        return;
    const uint32_t beg = _NowTimeUs();
    if (!ReadFrame(m_BufferHdlMap[DIRECT_OUT], vec)) {
        usleep(EMPTY_WAIT_US);
        return;
    }
    RelaxedAdd(m_u64RdBfCnt);
    if (buffers.u16Len != AUDIO_PAYLOAD_BYTES)
        LOG_ERR("Pcm write len=%d error!", buffers.u16Len);
    if (RelaxedLoad(m_s64WrSaveCnt) > 0)
        _CheckRecordAudio(buffers.u8MsgPag.get(), AUDIO_PAYLOAD_BYTES, DIRECT_OUT);
    _PlayPeriod(device, buffers, beg);
}

// Drops one frame after 3000 checks in a row that found at least two. False when the frame
// to drop could not be read: then the run count stays.
bool AudioPcm::_TrimBacklog(int s32Cnt, iovec *vec) {
    if (s32Cnt < 2) {
        RelaxedStore(m_u64WrConCnt, 0);
        return true;
    }
    RelaxedAdd(m_u64WrConCnt);
    if (m_u64WrConCnt <= BACKLOG_CHECKS_KEPT)
        return true;
    if (!ReadFrame(m_BufferHdlMap[DIRECT_OUT], vec)) {
        usleep(EMPTY_WAIT_US);
        return false;
    }
    RelaxedAdd(m_u64WrDropCnt);
    LOG_DBG("should drop one frame");
    RelaxedStore(m_u64WrConCnt, 0);
    return true;
}

// Converts and plays the frame just read; `beg` is the time before the read.
void AudioPcm::_PlayPeriod(AlsaSound &device, const PcmFrameBuffers &buffers, uint32_t beg) {
    if (_ProcessWrAudioData(buffers.u8MsgPag.get(), buffers.u8Buffer.get()) == 0)
        return;
    const uint32_t mid = _NowTimeUs();
    const int ret = device.SoundWrite(buffers.u8Buffer.get(), AUDIO_CARD_PERIOD_BYTES);
    if (ret > 0) {
        RelaxedAdd(m_u64WrSucCnt);
    } else {
        LOG_ERR("Send IpcMsg failed!!! ret=%d", ret); // the text of a failed card write
        RelaxedAdd(m_u64WrErrCnt);
    }
    const uint32_t now = _NowTimeUs();
    const uint32_t cardTime = now - mid;
    RelaxedStore(m_u64WrTime1, static_cast<uint32_t>(now - beg));
    RelaxedStore(m_u64WrTime2, cardTime);
    RelaxedRaise(m_u64WrMaxTime, cardTime);
}
