// Timed recordings of both PCM streams: raw files without a header, 24 channels
// interleaved, signed 16-bit little-endian samples.
//
// SaveAudioToFile runs on the D-Bus handler's thread, _CheckRecordAudio on "PcmRead" and
// "PcmWrite". A direction's file belongs to the D-Bus handler's thread while the count is
// 0 and to the PCM thread while it is not: each hands over by writing the count last.
#include <cerrno>
#include <cstring>
#include <ctime>

#include <stdio_ext.h>
#include <unistd.h>

#include "BSW/Log/Log.h"
#include "ZRFpgaMng/AudioPcmMng/AudioPcm.h"

namespace {

constexpr int64_t PERIODS_PER_SECOND = 1000000 / AUDIO_PERIOD_TIME_US;

// Name of a recording of stream "Wr" or "Rd" that starts at `time`.
struct RecordingName {
    char text[128];

    RecordingName(const char *stream, const tm &time) {
        // Month and day have no leading zeros: some dates share their digits.
        std::snprintf(text, sizeof text, "/firmware/audio/Pcm%s_%dchn_%d%d%d_%02d%02d%02d.pcm", stream, AUDIO_CHANNELS,
                      time.tm_year + 1900, time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec);
    }
};

tm LocalTime() {
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    return local;
}

// Brings one frame to the file at once, so that each frame that does not fit fails by
// itself. Takes back what a failed frame left: the file holds whole frames only, and
// each later one keeps its channels in place. 0, or the error number.
int WriteFrame(FILE *file, const void *frame, size_t bytes) {
    const off_t start = ftello(file);
    if (std::fwrite(frame, bytes, 1, file) == 1 && std::fflush(file) == 0)
        return 0;
    const int error = errno;
    __fpurge(file);
    clearerr(file);
    if (ftruncate(fileno(file), start) == 0)
        fseeko(file, start, SEEK_SET);
    return error;
}

} // namespace

void AudioPcm::SaveAudioToFile(uint16_t u16Sec) {
    if (Observe(m_s64RdSaveCnt) != 0 || Observe(m_s64WrSaveCnt) != 0) {
        LOG_ERR("Pcm Audio:Saving recording in progress");
        return;
    }
    const tm start = LocalTime();
    const int64_t frames = u16Sec * PERIODS_PER_SECOND; // 0 seconds: the files stay open until the next request
    _OpenRecording(RecordingName("Wr", start).text, frames, m_fpWr, m_s64WrSaveCnt);
    _OpenRecording(RecordingName("Rd", start).text, frames, m_fpRd, m_s64RdSaveCnt);
    LOG_DBG("Record AudioStream %dSec", u16Sec);
}

// Opens `name` and hands it to the direction's thread for `frames` frames.
void AudioPcm::_OpenRecording(const char *name, int64_t frames, FILE *&file, int64_t &count) {
    if (FILE *replaced = RelaxedLoad(file))
        std::fclose(replaced);
    FILE *opened = std::fopen(name, "wb");
    const int error = errno;
    RelaxedStore(file, opened);
    if (!opened) {
        LOG_ERR("fopen %s failed %s", name, std::strerror(error));
        return;
    }
    LOG_INF("fopen %s success ,file:%p", name, static_cast<void *>(opened));
    Publish(count, frames);
}

int AudioPcm::_CheckRecordAudio(const uint8_t *pu8Data, int32_t iLen, Direct direct) {
    if (!pu8Data)
        return 0;
    if (iLen <= 0 || iLen > AUDIO_CARD_PERIOD_BYTES) {
        LOG_ERR("Record len=%d", iLen);
        return 0;
    }
    if (direct == DIRECT_IN)
        return _RecordFrame(pu8Data, iLen, direct, m_fpRd, m_s64RdSaveCnt);
    if (direct == DIRECT_OUT)
        return _RecordFrame(pu8Data, iLen, direct, m_fpWr, m_s64WrSaveCnt);
    return 0;
}

// The card period's room also holds what a length beyond the payload asks for: zeros.
int AudioPcm::_RecordFrame(const uint8_t *pu8Data, int32_t iLen, Direct direct, FILE *&file, int64_t &count) {
    const int64_t remaining = Observe(count);
    FILE *const opened = RelaxedLoad(file);
    if (!opened || remaining == 0)
        return 0;
    short destination[AUDIO_CARD_PERIOD_BYTES / sizeof(short)] = {};
    AlsaSound::SplitAudioFrame(destination, reinterpret_cast<const short *>(pu8Data), AUDIO_CHANNELS,
                               AUDIO_PERIOD_FRAMES);
    if (const int error = WriteFrame(opened, destination, static_cast<size_t>(iLen))) {
        // "fread" is the text of a failed write.
        LOG_ERR("file:%p fread failed:%s", static_cast<void *>(opened), std::strerror(error));
        return 0;
    }
    if (remaining == 1) {
        LOG_INF("fclose Pcm%s.pcm %p success", direct == DIRECT_IN ? "Rd" : "Wr", static_cast<void *>(opened));
        std::fclose(opened);
        RelaxedStore(file, nullptr);
    }
    Publish(count, remaining - 1);
    return 1;
}
