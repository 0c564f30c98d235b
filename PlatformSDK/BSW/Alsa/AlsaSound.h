// One ALSA PCM device, opened twice: for capture and for playback, with the same
// sample format, channel count, rate and period time on both sides. Set-up and
// clean-up run on the owner's thread; afterwards one thread reads and another writes,
// each on its own side and without a lock.
//
// AlsaSound.cpp holds the life of the object and the reordering of samples,
// AlsaSetup.cpp the parameters of a side, AlsaTransfer.cpp the period reads and writes.
#pragma once

#include <cstdint>
#include <string>

#include <alsa/asoundlib.h>

class AlsaSound {
  public:
    // Keeps the values and opens nothing. `rate` in Hz, `periodTime` in microseconds.
    AlsaSound(std::string name, int rate, int channels, int periodTime, snd_pcm_format_t format);

    // Releases only the name: the owner calls CleanUp first.
    ~AlsaSound() = default;

    AlsaSound(const AlsaSound &) = delete;
    AlsaSound &operator=(const AlsaSound &) = delete;

    // Opens (blocking mode) and configures capture, then playback, with that many periods
    // in each buffer. 0, or a negative value: the ALSA error of a failed open or of the
    // capture set-up, -1 for the capture set-up's own refusals and for whatever fails in
    // the playback set-up. A failure leaves open what it opened, until CleanUp.
    int Init(int s32Capture, int s32Play);

    // Drains and closes both handles and frees both period buffers. Blocks while the
    // drain plays what is buffered. No thread may be in a read or write. Always 0.
    int CleanUp();

    // Reads one capture period into `pBuffer` of `s32Len` bytes; blocks until it is
    // there. Bytes delivered: one period, or `s32Len` if that is smaller (the rest of
    // the period is lost). -1 on failure. Capture thread.
    int SoundRead(uint8_t *pBuffer, int32_t s32Len);

    // Plays `s32Len` bytes, period by period; blocks while the device is full. A last
    // piece of at most one period is taken from the start of `pBuffer` again. `s32Len`,
    // also when a piece failed, or -1 without a period buffer. Playback thread.
    int SoundWrite(uint8_t *pBuffer, int32_t s32Len);

    // Reads `rcount` frames into `data`, recovering from overruns. `rcount`, or 0 on a
    // hard error, a null `data` or without an open device. Capture thread.
    int _PcmRead(char *data, int32_t rcount);

    // Writes `count` frames from `data`, recovering from underruns. Frames written, or 0
    // on a hard error, a null `data` or without an open device. Playback thread.
    int _PcmWrite(uint8_t *data, int32_t count);

    // Logs the frames available on both sides of the ALSA ring. Always 1. Any thread.
    int GetBuffer();

    // Discards the captured frames; playback is never cleared. Always 1. Any thread.
    int ClearBuffer();

    // Turns `period` interleaved frames of `chn` 16-bit samples into `chn` blocks of
    // `period` samples. `dest` and `src` hold chn * period samples each and do not
    // overlap. 1, or 0 when a pointer is null. Any thread.
    static int CombindAudioFrame(short *dest, const short *src, int chn, int period);

    // The inverse of CombindAudioFrame: channel blocks into interleaved frames.
    static int SplitAudioFrame(short *dest, const short *src, int chn, int period);

  private:
    int _OpenCapture(int periods);
    int _OpenPlay(int periods);
    int _SetPlayParams(int size);
    int _SetCaptureParams(int size);

    // The requested stream parameters; each side's set-up replaces the rate by the rate
    // that the card grants.
    struct {
        snd_pcm_format_t format;
        unsigned int channels;
        unsigned int rate; // Hz
    } m_hwparams;
    std::string m_stDevName;
    int32_t m_periodTime; // requested, microseconds
    snd_pcm_t *m_playHandle = nullptr;
    uint8_t *m_playPeriodBuf = nullptr; // m_playChunkBytes bytes
    int32_t m_playBitsPerFrame = 0;
    int32_t m_playChunkBytes = 0; // one period
    snd_pcm_t *m_capHandle = nullptr;
    uint8_t *m_capPeriodBuf = nullptr; // m_capChunkBytes bytes
    int32_t m_capBitsPerFrame = 0;
    int32_t m_capChunkBytes = 0;
    // CleanUp leaves the handles' values behind; these tell whether they still mean a device.
    bool m_playOpen = false;
    bool m_capOpen = false;
};

// Logs the properties of an opened device: its name and state, and what `params` holds.
// `mode` non-zero: the line says capture, otherwise play. Any thread.
void get_alsa_hw_info(snd_pcm_t *pcm_handle, snd_pcm_hw_params_t *params, const std::string &strCardName, int mode);
