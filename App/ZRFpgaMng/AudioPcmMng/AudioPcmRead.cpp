// The read thread "PcmRead": captures periods from the card and writes them as frames into
// DIRECT_IN, with an optional hex dump now and then. Everything here runs on that thread;
// the blocking card read paces it.
#include <string>

#include <pthread.h>

#include "BSW/Log/Log.h"
#include "ZRFpgaMng/AudioPcmMng/AudioPcm.h"
#include "ZRFpgaMng/AudioPcmMng/PcmFrameBuffers.h"
#include "ZRFpgaMng/ZRBuffer/ZRBuffer.h"

namespace {

constexpr uint32_t DUMP_COUNT_AT_START = 2000;
constexpr uint32_t DUMP_COUNT_MAX = 3000; // a dump when the count exceeds it
constexpr int DUMP_CARD_BYTES = 96;       // the first frame

// Appends two lower-case hex digits and a blank.
void AppendHex(std::string &text, uint8_t byte) {
    const char *const digits = "0123456789abcdef";
    text += {digits[byte >> 4], digits[byte & 0xF], ' '};
}

// The first frame of a card period: 8 words in a line.
std::string DumpCardPeriod(const uint8_t *period) {
    std::string text;
    for (int i = 0; i < DUMP_CARD_BYTES; ++i) {
        if (i % 32 == 0)
            text += '\n';
        if (i % 4 == 0)
            text += ' ';
        AppendHex(text, period[i]);
    }
    return text;
}

// The first sample of each channel block of a payload, in memory order: 8 channels in a line.
std::string DumpPayload(const uint8_t *payload, int32_t samples) {
    std::string text;
    for (int channel = 0; channel < AUDIO_CHANNELS; ++channel) {
        if (channel % 8 == 0)
            text += '\n';
        const uint8_t *const sample = payload + channel * samples * 2;
        text += ' ';
        AppendHex(text, sample[0]);
        AppendHex(text, sample[1]);
        text += "      ";
    }
    return text;
}

} // namespace

void AudioPcm::AudioPcmRdThread() {
    {
        PcmFrameBuffers buffers;
        if (buffers.Allocated()) {
            buffers.u16Len = AUDIO_PAYLOAD_BYTES;
            uint32_t u32DumpCnt = DUMP_COUNT_AT_START;
            pthread_setname_np(pthread_self(), "PcmRead");
            while (AlsaSound *device = Observe(m_pAlsaHdl))
                _CaptureOneFrame(*device, buffers, u32DumpCnt);
        }
    }
    LOG_INF("Exit PcmRd Thread");
}

// One period from the card to DIRECT_IN; a failed read still sends a silent frame.
void AudioPcm::_CaptureOneFrame(AlsaSound &device, PcmFrameBuffers &buffers, uint32_t &u32DumpCnt) {
    const uint32_t beg = _NowTimeUs();
    buffers.Clear();
    if (device.SoundRead(buffers.u8MsgPag.get(), AUDIO_CARD_PERIOD_BYTES) >= 0) {
        RelaxedAdd(m_u64RdSucCnt);
    } else {
        LOG_ERR("alsa read failed");
        RelaxedAdd(m_u64RdErrCnt);
    }
    const uint32_t mid = _NowTimeUs();
    _ProcessRdAudioData(buffers.u8MsgPag.get(), buffers.u8Buffer.get());
    if (RelaxedLoad(m_bDebug))
        _DumpFrame(buffers, u32DumpCnt);
    if (RelaxedLoad(m_s64RdSaveCnt) > 0)
        _CheckRecordAudio(buffers.u8Buffer.get(), AUDIO_PAYLOAD_BYTES, DIRECT_IN);
    iovec vec[2] = {{&buffers.u16Len, sizeof buffers.u16Len}, {buffers.u8Buffer.get(), AUDIO_PAYLOAD_BYTES}};
    const int ret = CZRBuffer::instance()->Write(m_BufferHdlMap[DIRECT_IN], vec, 2);
    if (ret > 0)
        RelaxedAdd(m_u64WrBfCnt);
    else
        LOG_ERR("write error,ret=%d", ret);
    const uint32_t now = _NowTimeUs();
    const uint32_t wholeTime = now - beg;
    const uint32_t cardTime = mid - beg;
    RelaxedStore(m_u64RdTime1, wholeTime);
    RelaxedStore(m_u64RdTime2, cardTime);
    RelaxedRaise(m_u64RdMaxTime2, cardTime);
    RelaxedRaise(m_u64RdMaxTime1, wholeTime);
}

// Logs the first frame of every 3001st period, before and after the conversion.
void AudioPcm::_DumpFrame(const PcmFrameBuffers &buffers, uint32_t &u32DumpCnt) {
    if (++u32DumpCnt <= DUMP_COUNT_MAX)
        return;
    u32DumpCnt = 0;
    const std::string card = DumpCardPeriod(buffers.u8MsgPag.get());
    LOG_DBG("FPGA PcmRdData0:%s", card.c_str());
    const std::string payload = DumpPayload(buffers.u8Buffer.get(), m_s32PeriodSamples);
    LOG_DBG("FPGA PcmRdData1:%s ", payload.c_str());
    LOG_DBG("");
}
