// The capture side: hands out the source's audio as the clock brings it, tagged as asked.
#pragma once

#include <array>

#include "CardSource.h"
#include "CardStream.h"

class CaptureStream : public CardStream {
  public:
    CaptureStream(CardShared &shared, const CardSource &source)
        : CardStream(shared, CardSide::Capture), m_source(source) {}

  private:
    int64_t _Available(uint64_t position, uint64_t applied) const override;
    uint64_t _Move(uint64_t applied, uint32_t *words, uint64_t frames) override;
    void _OnPrepare() override;
    void _OnStart(uint64_t applied) override;

    void _MakePeriod(uint64_t number);
    void _HandOver();

    static constexpr uint64_t NO_PERIOD = UINT64_MAX;

    const CardSource &m_source;
    uint64_t m_firstFrame = 0;     // the signal's frame at the stream's frame 0
    uint64_t m_period = NO_PERIOD; // number of the period in m_words
    std::array<uint32_t, CARD_PERIOD_WORDS> m_words{};
};
