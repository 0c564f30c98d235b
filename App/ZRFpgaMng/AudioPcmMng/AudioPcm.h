// The PCM bridge: moves audio between the sound card and the stream buffers, one period
// (2 ms) at a time, and converts between the card's tagged words and planar samples.
//
// The owner's thread runs Init and UnInit (AudioPcm.cpp). "PcmRead" brings captured
// periods into DIRECT_IN (AudioPcmRead.cpp), "PcmWrite" plays the frames of DIRECT_OUT
// (AudioPcmWrite.cpp). Each counter is written by one thread and read by any. The D-Bus
// handler's thread asks for reports and the dump (AudioPcmDiag.cpp) and for recordings,
// which the two threads feed (AudioPcmRecord.cpp).
#pragma once

#include <cstdint>
#include <cstdio>
#include <thread>

#include <sys/uio.h>

#include "BSW/Alsa/AlsaSound.h"
#include "ZRFpgaMng/Include/FpgaMngDef.h"
#include "common/Singleton.h"

struct PcmFrameBuffers;

class AudioPcm : public Singleton<AudioPcm> {
    friend class Singleton<AudioPcm>;
    friend class AudioPcmProbe; // the tests look into a running bridge through it

  public:
    // Takes the stream buffer handles, opens the card and starts both threads. 1 on
    // success or when already initialised, 0 on failure; what a failed call took stays,
    // and the next call starts over with a device of its own. After CZRBuffer::Open.
    int Init();

    // Waits for both threads to end, then closes the card. They end by themselves only
    // when they could not allocate their buffers: on a running bridge this blocks.
    void UnInit();

    // Microseconds of the monotonic clock, cut to 32 bits: differences are taken in 32-bit
    // unsigned arithmetic, so the wrap after 71.6 minutes does no harm. Any thread.
    uint32_t _NowTimeUs();

    // Planar payload (1536 bytes) into a card period (3072 bytes). Bytes produced.
    // Playback thread.
    int _ProcessWrAudioData(const uint8_t *puInBuf, uint8_t *puOutBuf);

    // Card period into a planar payload; each word goes to the channel of its tag. Repeated
    // tags go past the payload: `puOutBuf` holds a full period of 3072 bytes. Bytes up to
    // the last sample placed, or 0, and counted, at a tag that is no channel; what was
    // placed before stays. Capture thread.
    int _ProcessRdAudioData(const uint8_t *pu8InBuf, uint8_t *puOutBuf);

    // Swaps the blocks of two channels (0 to totalChannels - 1) of a planar 16-bit buffer.
    // Refused, and logged, for a null buffer or a channel out of range. Any thread.
    void _SwapChannels(uint8_t *u8Buffer, int32_t samplesPerChannel, int channel1, int channel2, int totalChannels);

    // Body of "PcmWrite": DIRECT_OUT to the card.
    void AudioPcmWrThread();

    // Body of "PcmRead": the card to DIRECT_IN.
    void AudioPcmRdThread();

    // Switches the read thread's periodic hex dump. Any thread.
    void PrintSwitch(bool flag);

    // Logs the counters and times of both threads in five lines. Any thread.
    void PrintNodeInfo();

    // Starts a recording of `u16Sec` seconds (500 frames each) of both streams into two new
    // files below /firmware/audio. Each ends by itself with its last frame; the playback
    // file grows only with the peers' frames. Refused, and logged, until both have ended;
    // a file that cannot be opened is logged and not recorded. D-Bus handler's thread.
    void SaveAudioToFile(uint16_t u16Sec);

    // Adds a planar payload (always 1536 bytes of 16-bit samples) to the direction's
    // recording as `iLen` bytes of interleaved samples, and ends the recording with its last
    // frame. `iLen` is 1536; from 1 to 3072 the frame is cut or filled up with zeros, beyond
    // that it is refused and logged. 1 when a frame was written, 0 when not; a failed write
    // is logged and leaves the recording active. The direction's PCM thread.
    int _CheckRecordAudio(const uint8_t *pu8Data, int32_t iLen, Direct direct);

  private:
    AudioPcm();
    virtual ~AudioPcm();

    int _TakeBufferHandles();
    int _OpenDevice();
    int _StartThreads();
    void _ReleaseDevice(AlsaSound *device);

    void _PrimePlayback(AlsaSound &device, uint8_t *u8Buffer);
    bool _TrimBacklog(int s32Cnt, iovec *vec);
    void _PlayOneFrame(AlsaSound &device, PcmFrameBuffers &buffers);
    void _PlayPeriod(AlsaSound &device, const PcmFrameBuffers &buffers, uint32_t beg);

    void _CaptureOneFrame(AlsaSound &device, PcmFrameBuffers &buffers, uint32_t &u32DumpCnt);
    void _DumpFrame(const PcmFrameBuffers &buffers, uint32_t &u32DumpCnt);

    void _PrintReadInfo() const;
    void _PrintWriteInfo() const;
    void _OpenRecording(const char *name, int64_t frames, FILE *&file, int64_t &count);
    int _RecordFrame(const uint8_t *pu8Data, int32_t iLen, Direct direct, FILE *&file, int64_t &count);

    bool m_bInit = false;
    int32_t m_s32AudDataOffset = 16; // read by no operation
    int32_t m_s32PeriodSamples = AUDIO_PERIOD_FRAMES;
    bool m_bDebug = false;                 // periodic hex dump of the read thread
    void *m_BufferHdlMap[DIRECT_MAX] = {}; // DIRECT_IN: writer, DIRECT_OUT: reader
    AlsaSound *m_pAlsaHdl = nullptr;       // owned; the threads run while it is set
    std::thread m_ptPcmWr;
    std::thread m_ptPcmRd;
    uint64_t m_u64RdBfCnt = 0;  // frames taken from DIRECT_OUT
    uint64_t m_u64WrBfCnt = 0;  // frames written to DIRECT_IN
    uint64_t m_u64RdSucCnt = 0; // card reads
    uint64_t m_u64RdErrCnt = 0;
    uint64_t m_u64WrSucCnt = 0; // card writes
    uint64_t m_u64WrErrCnt = 0;
    uint64_t m_u64WrDropCnt = 0; // frames dropped by the backlog rule
    uint64_t m_u64WrConCnt = 0;  // checks in a row that found two or more frames
    FILE *m_fpRd = nullptr;      // recordings of both directions
    FILE *m_fpWr = nullptr;
    int64_t m_s64RdSaveCnt = 0; // frames still to record
    int64_t m_s64WrSaveCnt = 0;
    uint64_t m_u64WrCnt1 = 0;    // checks that found no frame waiting
    uint64_t m_u64WrCnt2 = 0;    // checks that found at least one
    uint64_t m_u64WrTime1 = 0;   // last write iteration: from before the channel read, us
    uint64_t m_u64WrTime2 = 0;   // and its card write alone, us
    uint64_t m_u64WrMaxTime = 0; // largest m_u64WrTime2
    uint64_t m_u64RdCnt1 = 0;    // reported, never counted
    uint64_t m_u64RdCnt2 = 0;
    uint64_t m_u64RdTime1 = 0;      // last read iteration, us
    uint64_t m_u64RdTime2 = 0;      // and its card read alone, us
    uint64_t m_u64ProRdFailCnt = 0; // captured periods with a tag that is no channel
    uint64_t m_u64RdMaxTime1 = 0;   // largest m_u64RdTime1 and m_u64RdTime2
    uint64_t m_u64RdMaxTime2 = 0;
};
