// The playback side: holds what the service wrote until the clock has played it, then
// passes it to the sink.
#pragma once

#include <vector>

#include "CardSink.h"
#include "CardStream.h"

class PlaybackStream : public CardStream {
  public:
    PlaybackStream(CardShared &shared, CardSink &sink) : CardStream(shared, CardSide::Playback), m_sink(sink) {}

    void Configure(uint64_t bufferFrames) override;

  private:
    int64_t _Available(uint64_t position, uint64_t applied) const override;
    uint64_t _Move(uint64_t applied, uint32_t *words, uint64_t frames) override;
    void _OnPrepare() override;
    void _OnStart(uint64_t applied) override;
    void _OnPosition(uint64_t position, uint64_t applied) override;
    void _OnStop(uint64_t position, uint64_t applied) override;

    uint32_t *_Slot(uint64_t frame) { return &m_ring[frame % m_bufferFrames * CARD_CHANNELS]; }
    void _Store(uint64_t frame, const uint32_t *words, uint64_t frames);
    void _Take(uint64_t period);

    CardSink &m_sink;
    std::vector<uint32_t> m_ring;      // m_bufferFrames frames
    std::vector<uint64_t> m_writtenNs; // per period of the ring: when it was complete
    uint64_t m_played = 0;             // frames passed to the sink
    uint64_t m_taken = 0;              // periods in the tap since Prepare
};
