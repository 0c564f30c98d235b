// Period reads and writes of the sound device, with recovery from overruns and
// underruns, and the two diagnostics of the ALSA ring. The capture thread reads, the
// playback thread writes.
#include <algorithm>
#include <cstring>

#include "BSW/Alsa/AlsaSound.h"
#include "BSW/Log/Log.h"

namespace {

// Frames in `bytes`.
int32_t FramesOf(int32_t bytes, int32_t bitsPerFrame) {
    return static_cast<int32_t>(static_cast<int64_t>(bytes) * 8 / bitsPerFrame);
}

// Offset of frame number `frames` in bytes.
std::ptrdiff_t BytesOf(snd_pcm_sframes_t frames, int32_t bitsPerFrame) {
    return frames * bitsPerFrame / 8;
}

// A transfer that moved less than asked for, or nothing for now: simply called again.
bool IsShort(snd_pcm_sframes_t r, int32_t remaining) {
    return r == -EAGAIN || (r >= 0 && r < remaining);
}

// Logs what one readi reported. True to go on, false on a hard error.
bool GoOnReading(snd_pcm_t *handle, snd_pcm_sframes_t r, int32_t remaining, const char *name) {
    if (IsShort(r, remaining)) {
        LOG_ERR("card:%s, <readi> EAGAIN!", name);
    } else if (r == -EPIPE) {
        LOG_ERR("card:%s, <readi> overrun occurred.-->snd_pcm_prepare()", name);
        snd_pcm_prepare(handle);
    } else if (r == -ESTRPIPE) {
        LOG_ERR("card:%s, <readi> ESTRPIPE!", name); // no resume: the next call tries again at once
    } else if (r < 0) {
        LOG_ERR("card:%s,read %d error:%s", name, static_cast<int>(r), snd_strerror(static_cast<int>(r)));
        return false;
    }
    return true;
}

// The same for one writei.
bool GoOnWriting(snd_pcm_t *handle, snd_pcm_sframes_t r, int32_t remaining, const char *name) {
    if (IsShort(r, remaining)) {
        LOG_ERR("card:%s, <writei> EAGAIN", name);
    } else if (r == -EPIPE) {
        LOG_ERR("card:%s <writei>XRUN. -->snd_pcm_prepare()", name);
        snd_pcm_prepare(handle);
    } else if (r == -ESTRPIPE) {
        LOG_ERR("card:%s,<writei>ESTRPIP.", name); // spelled without its last letter
    } else if (r < 0) {
        LOG_ERR("card:%s,write error: %s", name, snd_strerror(static_cast<int>(r)));
        return false;
    }
    return true;
}

} // namespace

int AlsaSound::_PcmRead(char *data, int32_t rcount) {
    if (!data || !m_capOpen) {
        LOG_ERR("ptr is nullptr! m_capHandle:%p", static_cast<void *>(m_capHandle));
        return 0;
    }
    int32_t remaining = rcount;
    while (remaining > 0) {
        const snd_pcm_sframes_t r = snd_pcm_readi(m_capHandle, data, static_cast<snd_pcm_uframes_t>(remaining));
        if (!GoOnReading(m_capHandle, r, remaining, m_stDevName.c_str()))
            return 0; // what was already read is not counted
        if (r > 0) {
            remaining -= static_cast<int32_t>(r);
            data += BytesOf(r, m_capBitsPerFrame);
        }
    }
    return rcount;
}

int AlsaSound::_PcmWrite(uint8_t *data, int32_t count) {
    if (!data || !m_playOpen) {
        LOG_ERR("ptr is nullptr! m_playHandle:%p", static_cast<void *>(m_playHandle));
        return 0;
    }
    int32_t written = 0;
    while (count > 0) {
        const snd_pcm_sframes_t r = snd_pcm_writei(m_playHandle, data, static_cast<snd_pcm_uframes_t>(count));
        if (!GoOnWriting(m_playHandle, r, count, m_stDevName.c_str()))
            return 0; // what was already written is not counted
        if (r > 0) {
            count -= static_cast<int32_t>(r);
            written += static_cast<int32_t>(r);
            data += BytesOf(r, m_playBitsPerFrame);
        }
    }
    return written;
}

int AlsaSound::SoundRead(uint8_t *pBuffer, int32_t s32Len) {
    if (!m_capPeriodBuf) {
        LOG_ERR("ERROR!m_periodBuf is NULL");
        return -1;
    }
    const int32_t frames = FramesOf(m_capChunkBytes, m_capBitsPerFrame);
    if (_PcmRead(reinterpret_cast<char *>(m_capPeriodBuf), frames) != frames) {
        LOG_ERR("Read error!");
        return -1;
    }
    if (s32Len >= m_capChunkBytes) {
        std::memcpy(pBuffer, m_capPeriodBuf, static_cast<size_t>(m_capChunkBytes));
        return m_capChunkBytes;
    }
    LOG_ERR("SoundRead error!lost data.chunk_bytes:%d, Buffer len:%d", m_capChunkBytes, s32Len);
    if (s32Len > 0)
        std::memcpy(pBuffer, m_capPeriodBuf, static_cast<size_t>(s32Len));
    return s32Len;
}

int AlsaSound::SoundWrite(uint8_t *pBuffer, int32_t s32Len) {
    if (!m_playPeriodBuf) {
        LOG_ERR("ERROR!m_periodBuf is NULL.");
        return -1;
    }
    int32_t l = s32Len;
    int32_t offset = 0;
    while (l > 0) {
        const bool last = l <= m_playChunkBytes;
        const int32_t piece = last ? l : m_playChunkBytes;
        // The last piece is taken from the start of the source: the offset is not applied to it.
        std::memcpy(m_playPeriodBuf, last ? pBuffer : pBuffer + offset, static_cast<size_t>(piece));
        offset += piece;
        l -= piece;
        const int32_t frames = FramesOf(piece, m_playBitsPerFrame);
        const int r = _PcmWrite(m_playPeriodBuf, frames);
        if (r != frames)
            LOG_INF("_PcmWrite error!r:%d, l:%d", r, frames);
    }
    return s32Len;
}

int AlsaSound::GetBuffer() {
    const long capCnt = m_capOpen ? snd_pcm_avail_update(m_capHandle) : 0;
    const long plyCnt = m_playOpen ? snd_pcm_avail_update(m_playHandle) : 0;
    LOG_DBG("current alsa frame samples (cap:%ld, ply:%ld)", capCnt, plyCnt);
    return 1;
}

int AlsaSound::ClearBuffer() {
    long cnt = 0;
    if (m_capOpen) {
        cnt = snd_pcm_avail_update(m_capHandle);
        snd_pcm_prepare(m_capHandle);
        LOG_DBG("clear alsa frame:%ld", cnt);
    }
    LOG_DBG("clear %ld alsa buffer", cnt);
    return 1;
}
