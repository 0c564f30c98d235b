// Capture runs free: what is not read in time is gone, the signal goes on. A period is
// made when its first frame is fetched, which is the same as having it in a buffer,
// because the source is a function of the frame number.
#include "CaptureStream.h"

#include <algorithm>

#include "CardTagger.h"
#include "CardTap.h"

int64_t CaptureStream::_Available(uint64_t position, uint64_t applied) const {
    return static_cast<int64_t>(position) - static_cast<int64_t>(applied);
}

void CaptureStream::_OnPrepare() {
    m_period = NO_PERIOD;
}

// The first start of all is the signal's frame 0; later starts skip what was missed.
void CaptureStream::_OnStart(uint64_t /*applied*/) {
    uint64_t origin = 0;
    if (m_shared.origin.compare_exchange_strong(origin, m_startCardNs + 1, std::memory_order_acq_rel))
        origin = m_startCardNs + 1;
    m_firstFrame = (m_startCardNs - (origin - 1)) / CARD_PERIOD_NS * CARD_PERIOD_FRAMES;
}

uint64_t CaptureStream::_Move(uint64_t applied, uint32_t *words, uint64_t frames) {
    for (uint64_t done = 0; done < frames;) {
        const uint64_t frame = applied + done;
        const uint64_t offset = frame % CARD_PERIOD_FRAMES;
        const uint64_t piece = std::min<uint64_t>(frames - done, CARD_PERIOD_FRAMES - offset);
        _MakePeriod(frame / CARD_PERIOD_FRAMES);
        std::copy_n(&m_words[offset * CARD_CHANNELS], piece * CARD_CHANNELS, words + done * CARD_CHANNELS);
        done += piece;
        if (offset + piece == CARD_PERIOD_FRAMES)
            _HandOver();
    }
    return frames;
}

void CaptureStream::_MakePeriod(uint64_t number) {
    if (number == m_period)
        return;
    m_period = number;
    m_source.Fill(m_firstFrame + number * CARD_PERIOD_FRAMES, m_words.data());
    zr_card_apply_tags(zr_card_next_tags(m_shared.tags), m_words.data());
}

void CaptureStream::_HandOver() {
    const uint64_t now = zr_card_now_ns();
    m_side.lastNs.store(now, std::memory_order_relaxed);
    zr_card_tap_append(m_side, m_words.data(), now, _MomentOfFrame((m_period + 1) * CARD_PERIOD_FRAMES));
}
