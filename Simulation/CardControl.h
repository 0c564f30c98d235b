// The handle on a stand-in card from outside, in the same or another process: faults,
// wrong tags, the clock, the state and the last periods of both directions.
//
// Everything lies in one shared file, the control file. The card's audio threads only
// read and write atomics in it, so nothing here can block them. Any thread; one object
// may be shared by threads.
#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <string>

#include "CardDef.h"

struct CardShared;

// One direction as it stands now. Times are CLOCK_MONOTONIC nanoseconds, 0 = never.
struct CardSideStatus {
    bool open = false;          // a process holds it open
    bool running = false;       // started, and neither stopped nor in an xrun
    uint64_t periods = 0;       // capture: handed to the service; playback: taken from it (see TapPeriod)
    uint64_t position = 0;      // frames the card has captured or played since the last start
    uint64_t xruns = 0;         // overruns or underruns, forced ones included
    uint64_t discarded = 0;     // playback: periods taken but never played
    uint64_t starts = 0;        // times the stream was started
    uint64_t startNs = 0;       // last start
    uint64_t lastNs = 0;        // last period was handed over (capture) or written (playback)
    uint64_t faultsPending = 0; // faults not yet shown to the service
};

struct CardStatus {
    std::array<CardSideStatus, CARD_SIDES> sides; // by CardSide
    CardPresence presence = CardPresence::Present;
    bool clockRunning = false;
    double speed = 1.0;  // times real time, while the clock runs
    uint64_t cardNs = 0; // nanoseconds of audio that the card's clock has counted
    CardTags tags = CardTags::Normal;

    const CardSideStatus &Side(CardSide side) const { return sides[static_cast<uint32_t>(side)]; }
};

// One period as it passed between card and service.
struct TapPeriod {
    uint64_t sequence = 0;  // counts from 0 per side, over xruns and reopening
    uint64_t serviceNs = 0; // handed to the service (capture) or written by it (playback)
    // Its last frame was captured, or leaves the card by the card's clock (may lie ahead).
    // 0: unknown, the clock stood still. CARD_DISCARDED: it never left, playback was stopped.
    uint64_t cardNs = 0;
    std::array<uint32_t, CARD_PERIOD_WORDS> words{};
};
inline constexpr uint64_t CARD_DISCARDED = UINT64_MAX;

enum class TapResult {
    Ready,  // delivered
    NotYet, // that period has not passed
    Lost,   // overwritten: more than CARD_TAP_PERIODS have passed since
};

class CardControl {
  public:
    // Makes a fresh control file: card present, clock at real time, no faults. Replaces an old one.
    static bool Create(const std::string &path);

    CardControl() = default;
    ~CardControl();
    CardControl(const CardControl &) = delete;
    CardControl &operator=(const CardControl &) = delete;

    // Attaches to a control file. False when there is none or it is not one.
    bool Open(const std::string &path);
    bool IsOpen() const { return m_shared != nullptr; }

    // Faults: the next `count` calls of that side are answered with the fault. Overrun and
    // Underrun need a running stream and wait for one; several kinds come in the order
    // of CardFault. False for a fault that the side does not have.
    bool Inject(CardSide side, CardFault fault, uint32_t value = 0, uint32_t count = 1);
    // Takes back what has not been shown yet, on both sides.
    void ClearFaults();

    // Unplugs the card, plugs it in again, or makes it busy. As with the kernel's cards,
    // a stream that was open when the card went stays dead; plugging in allows new opens.
    void SetPresence(CardPresence presence);

    // A blocking transfer that sees the clock stand still for this long gives -EIO, as the
    // kernel's do after their 10 s; that is the default. Draining gives up after the same time.
    void SetIoTimeout(uint32_t milliseconds);

    // Tags of the next `periods` captured periods (0: until changed); see CardTags.
    void SetTags(CardTags tags, uint32_t periods = 0, uint32_t value = CARD_TAGS_DEFAULT);

    // Clock. `times` real time, 0.001 to 1000. The clock keeps running or standing.
    bool SetSpeed(double times);
    void StopClock();
    void StartClock();
    // Manual clock: moves a stopped clock forward by whole periods. False while it runs.
    // A blocked transfer notices within a millisecond.
    bool Advance(uint32_t periods);

    CardStatus Status() const;

    // Periods that have passed on `side` since the control file was made.
    uint64_t TapCount(CardSide side) const;
    // Reads period number `sequence` of `side`, live and without disturbing the card.
    TapResult ReadTap(CardSide side, uint64_t sequence, TapPeriod &period) const;

    // Bounded waits for the other side of the fence; false after `timeoutMs`.
    bool WaitForTap(CardSide side, uint64_t count, int timeoutMs) const;
    bool WaitForRunning(CardSide side, bool running, int timeoutMs) const;

    // For the card: takes a side for itself until this object goes. False when it is taken.
    bool Claim(CardSide side);
    // For the card: the mapping itself.
    CardShared *Shared() const { return m_shared; }

  private:
    template <typename Change> void _ChangeClock(Change change);

    CardShared *m_shared = nullptr;
    int m_fd = -1;
    std::mutex m_clockMutex;
};
