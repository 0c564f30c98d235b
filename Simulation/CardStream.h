// One open side of the card: its position by the card's clock, overruns and underruns,
// and the faults asked for. CaptureStream and PlaybackStream move the audio.
//
// Opening, preparing and closing come from the owner of the PCM; everything else from
// the side's one audio thread, without locks and without allocating. Positions are
// frames since the last Prepare and grow without end; `applied` is the position up to
// which the service has read or written.
#pragma once

#include <cstdint>
#include <optional>

#include "CardClock.h"
#include "CardShared.h"

class CardStream {
  public:
    CardStream(CardShared &shared, CardSide side);
    virtual ~CardStream() = default;
    CardStream(const CardStream &) = delete;
    CardStream &operator=(const CardStream &) = delete;

    // Buffer size in frames, a multiple of 32; stop threshold = buffer, wake-up at one period.
    virtual void Configure(uint64_t bufferFrames);
    // At `stopThreshold` available frames (unread, or free) an xrun stops the stream.
    void SetThresholds(uint64_t stopThreshold, uint64_t availMin);

    void Prepare();
    void Start(uint64_t applied);
    // Ends the stream where it is.
    void Stop(uint64_t applied);

    // The card's position; -EPIPE when the stream is in an xrun, forced or real.
    int64_t Pointer(uint64_t applied);
    // Moves up to `frames` frames at position `applied`. Frames moved, or the negative
    // result of a fault.
    int64_t Transfer(uint64_t applied, uint32_t *words, uint64_t frames);

    // What a waiting transfer is to do now.
    enum class Wait { Go, On, TimedOut };
    Wait Check(uint64_t applied);

    // Draining: playback runs dry without an xrun.
    void SetDraining() { m_draining = true; }
    // Go once everything up to `applied` has been played.
    Wait CheckDrained(uint64_t applied);

    // CLOCK_MONOTONIC moment of the next period boundary, at most 2 ms ahead (1 ms while
    // the clock stands), so that changes of the clock are noticed.
    uint64_t NextWakeNs() const;

    // True from the moment the card is unplugged, for good.
    bool IsUnplugged() const;
    // The furthest position that Pointer has seen.
    uint64_t LastPosition() const { return m_position; }
    bool IsRunning() const { return m_running; }

  protected:
    // Available frames with the card at `position`: unread on capture, free on playback.
    virtual int64_t _Available(uint64_t position, uint64_t applied) const = 0;
    virtual uint64_t _Move(uint64_t applied, uint32_t *words, uint64_t frames) = 0;
    virtual void _OnPrepare() {}
    virtual void _OnStart(uint64_t /*applied*/) {}
    // The card has reached `position`.
    virtual void _OnPosition(uint64_t /*position*/, uint64_t /*applied*/) {}
    virtual void _OnStop(uint64_t /*position*/, uint64_t /*applied*/) {}

    // Moment at which the stream's frame number `frame` begins; 0: unknown.
    uint64_t _MomentOfFrame(uint64_t frame) const;

    CardShared &m_shared;
    CardSideShared &m_side;
    const CardFault m_xrunFault;
    uint64_t m_bufferFrames = 0;
    uint64_t m_startCardNs = 0;
    bool m_running = false;
    bool m_draining = false;

  private:
    uint64_t _HwPosition();
    int64_t _EndInXrun(uint64_t position, uint64_t applied);
    std::optional<uint32_t> _TakeFault(CardFault fault);
    bool _IsXrunPending() const;
    int64_t _FaultFor(uint64_t &frames);
    bool _IsWaitOver(uint64_t position);

    const uint32_t m_unplugs; // of the card when the stream was made
    uint64_t m_position = 0;  // furthest seen since the start
    uint64_t m_stopThreshold = 0;
    uint64_t m_availMin = CARD_PERIOD_FRAMES;
    bool m_xrun = false;
    bool m_endTransfer = false; // a short transfer was given: the next piece ends the call
    uint64_t m_waitSince = 0;   // moment and position at which waiting began; 0: not waiting
    uint64_t m_waitPosition = 0;
};
