// A period is taken (shown in the tap) once it is complete and the stream runs, because
// from then on the clock alone decides when it leaves; the sink gets it when it has left.
#include "PlaybackStream.h"

#include <algorithm>

#include "CardTap.h"

void PlaybackStream::Configure(uint64_t bufferFrames) {
    CardStream::Configure(bufferFrames);
    m_ring.assign(bufferFrames * CARD_CHANNELS, 0);
    m_writtenNs.assign(bufferFrames / CARD_PERIOD_FRAMES, 0);
}

int64_t PlaybackStream::_Available(uint64_t position, uint64_t applied) const {
    return static_cast<int64_t>(m_bufferFrames + position) - static_cast<int64_t>(applied);
}

void PlaybackStream::_OnPrepare() {
    m_played = m_taken = 0;
}

void PlaybackStream::_OnStart(uint64_t applied) {
    m_side.written.store(applied, std::memory_order_relaxed);
    for (uint64_t period = 0; period < applied / CARD_PERIOD_FRAMES; period++)
        _Take(period);
}

uint64_t PlaybackStream::_Move(uint64_t applied, uint32_t *words, uint64_t frames) {
    frames = std::min(frames, m_bufferFrames);
    for (uint64_t done = 0; done < frames;) {
        const uint64_t frame = applied + done;
        const uint64_t piece = std::min<uint64_t>(frames - done, CARD_PERIOD_FRAMES - frame % CARD_PERIOD_FRAMES);
        _Store(frame, words + done * CARD_CHANNELS, piece);
        done += piece;
    }
    m_side.written.store(applied + frames, std::memory_order_relaxed);
    return frames;
}

// Stores a piece that lies within one period.
void PlaybackStream::_Store(uint64_t frame, const uint32_t *words, uint64_t frames) {
    std::copy_n(words, frames * CARD_CHANNELS, _Slot(frame));
    if ((frame + frames) % CARD_PERIOD_FRAMES != 0)
        return;
    const uint64_t period = frame / CARD_PERIOD_FRAMES;
    const uint64_t now = zr_card_now_ns();
    m_writtenNs[period % m_writtenNs.size()] = now;
    m_side.lastNs.store(now, std::memory_order_relaxed);
    if (m_running)
        _Take(period);
}

void PlaybackStream::_Take(uint64_t period) {
    const uint64_t frame = period * CARD_PERIOD_FRAMES;
    zr_card_tap_append(m_side, _Slot(frame), m_writtenNs[period % m_writtenNs.size()],
                       _MomentOfFrame(frame + CARD_PERIOD_FRAMES));
    m_taken = period + 1;
}

void PlaybackStream::_OnPosition(uint64_t position, uint64_t applied) {
    const uint64_t end = std::min(position, applied);
    while (m_played < end) {
        const uint64_t piece = std::min(end - m_played, m_bufferFrames - m_played % m_bufferFrames);
        m_sink.Play(_Slot(m_played), static_cast<uint32_t>(piece));
        m_played += piece;
    }
}

void PlaybackStream::_OnStop(uint64_t position, uint64_t /*applied*/) {
    const uint64_t played = position / CARD_PERIOD_FRAMES;
    const uint64_t count = m_side.tapCount.load(std::memory_order_relaxed);
    for (uint64_t period = played; period < m_taken; period++) {
        zr_card_tap_discard(m_side, count - (m_taken - period));
        m_side.discarded.fetch_add(1, std::memory_order_relaxed);
    }
    m_sink.Flush();
}
