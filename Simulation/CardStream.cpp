// The layer above calls Pointer before each transfer and does not look for xruns itself.
#include "CardStream.h"

#include <algorithm>
#include <cerrno>

namespace {

constexpr uint64_t LONGEST_WAIT_NS = 2000000;
constexpr uint64_t STANDING_WAIT_NS = 1000000;

} // namespace

CardStream::CardStream(CardShared &shared, CardSide side)
    : m_shared(shared), m_side(shared.Side(side)),
      m_xrunFault(side == CardSide::Capture ? CardFault::Overrun : CardFault::Underrun),
      m_unplugs(shared.unplugs.load(std::memory_order_acquire)) {
    m_side.running = 0;
}

void CardStream::Configure(uint64_t bufferFrames) {
    m_bufferFrames = bufferFrames;
    SetThresholds(bufferFrames, CARD_PERIOD_FRAMES);
}

void CardStream::SetThresholds(uint64_t stopThreshold, uint64_t availMin) {
    m_stopThreshold = stopThreshold;
    m_availMin = availMin;
}

void CardStream::Prepare() {
    m_running = m_draining = m_xrun = m_endTransfer = false;
    m_waitSince = m_position = 0;
    m_side.running.store(0, std::memory_order_release);
    _OnPrepare();
}

void CardStream::Start(uint64_t applied) {
    const uint64_t now = zr_card_now_ns();
    m_startCardNs = CardClockView::Of(m_shared.clock).CardNs(now);
    m_running = true;
    m_side.startCardNs.store(m_startCardNs, std::memory_order_relaxed);
    m_side.startNs.store(now, std::memory_order_relaxed);
    m_side.starts.fetch_add(1, std::memory_order_relaxed);
    _OnStart(applied);
    m_side.running.store(1, std::memory_order_release);
}

void CardStream::Stop(uint64_t applied) {
    if (!m_running)
        return;
    const uint64_t position = _HwPosition();
    _OnPosition(position, applied);
    m_running = false;
    _OnStop(position, applied);
    m_side.position.store(position, std::memory_order_relaxed);
    m_side.running.store(0, std::memory_order_release);
}

// Never goes back, although a clock that is just being stopped may, by a moment.
uint64_t CardStream::_HwPosition() {
    const uint64_t cardNs = m_running ? CardClockView::Of(m_shared.clock).CardNs(zr_card_now_ns()) : 0;
    if (cardNs > m_startCardNs)
        m_position = std::max(m_position, (cardNs - m_startCardNs) / CARD_PERIOD_NS * CARD_PERIOD_FRAMES);
    return m_position;
}

uint64_t CardStream::_MomentOfFrame(uint64_t frame) const {
    return CardClockView::Of(m_shared.clock).MomentOf(m_startCardNs + frame * CARD_FRAME_NS);
}

int64_t CardStream::Pointer(uint64_t applied) {
    if (m_xrun)
        return -EPIPE;
    if (!m_running)
        return 0;
    uint64_t position = _HwPosition();
    if (m_draining)
        position = std::min(position, applied);
    _OnPosition(position, applied);
    const bool full = _Available(position, applied) >= static_cast<int64_t>(m_stopThreshold);
    if (!m_draining && (full || _TakeFault(m_xrunFault)))
        return _EndInXrun(position, applied);
    return static_cast<int64_t>(position);
}

int64_t CardStream::_EndInXrun(uint64_t position, uint64_t applied) {
    m_running = false;
    m_xrun = true;
    m_endTransfer = false;
    _OnStop(position, applied);
    m_side.xruns.fetch_add(1, std::memory_order_relaxed);
    m_side.position.store(position, std::memory_order_relaxed);
    m_side.running.store(0, std::memory_order_release);
    return -EPIPE;
}

// Takes one pending fault and gives its value.
std::optional<uint32_t> CardStream::_TakeFault(CardFault fault) {
    CardFaultShared &box = m_side.faults[static_cast<uint32_t>(fault)];
    uint32_t pending = box.pending.load(std::memory_order_acquire);
    while (pending > 0)
        if (box.pending.compare_exchange_weak(pending, pending - 1, std::memory_order_acq_rel))
            return box.value.load(std::memory_order_relaxed);
    return std::nullopt;
}

bool CardStream::_IsXrunPending() const {
    return m_side.faults[static_cast<uint32_t>(m_xrunFault)].pending.load(std::memory_order_acquire) > 0;
}

int64_t CardStream::Transfer(uint64_t applied, uint32_t *words, uint64_t frames) {
    m_waitSince = 0;
    if (const int64_t fault = _FaultFor(frames); fault < 0)
        return fault;
    return static_cast<int64_t>(_Move(applied, words, frames));
}

// The fault to answer with, or 0; a short transfer lowers `frames`. The layer above goes
// on after a short piece, so the call is ended by an -EAGAIN that it does not show.
int64_t CardStream::_FaultFor(uint64_t &frames) {
    if (IsUnplugged())
        return -ENODEV;
    if (m_endTransfer) {
        m_endTransfer = false;
        return -EAGAIN;
    }
    if (_TakeFault(CardFault::Suspend))
        return -ESTRPIPE;
    if (const CardFaultShared &box = m_side.faults[static_cast<uint32_t>(CardFault::ShortTransfer)];
        box.pending.load(std::memory_order_acquire) > 0 &&
        std::max(1u, box.value.load(std::memory_order_relaxed)) < frames) {
        if (const std::optional<uint32_t> piece = _TakeFault(CardFault::ShortTransfer)) {
            frames = std::clamp<uint64_t>(*piece, 1, frames - 1);
            m_endTransfer = true;
            return 0;
        }
    }
    if (_TakeFault(CardFault::Again))
        return -EAGAIN;
    if (const std::optional<uint32_t> error = _TakeFault(CardFault::HardError))
        return *error ? -static_cast<int64_t>(*error) : -EIO;
    return 0;
}

CardStream::Wait CardStream::Check(uint64_t applied) {
    const uint64_t position = _HwPosition();
    const bool xrun = m_xrun || (m_running && _IsXrunPending());
    if (xrun || _Available(position, applied) >= static_cast<int64_t>(m_availMin)) {
        m_waitSince = 0;
        return Wait::Go;
    }
    return m_running && _IsWaitOver(position) ? Wait::TimedOut : Wait::On;
}

CardStream::Wait CardStream::CheckDrained(uint64_t applied) {
    const int64_t position = Pointer(applied);
    if (position < 0 || static_cast<uint64_t>(position) >= applied)
        return Wait::Go;
    return _IsWaitOver(m_position) ? Wait::TimedOut : Wait::On;
}

bool CardStream::_IsWaitOver(uint64_t position) {
    const uint64_t now = zr_card_now_ns();
    if (m_waitSince == 0 || position != m_waitPosition) {
        m_waitSince = now;
        m_waitPosition = position;
    }
    const uint64_t limit = m_shared.ioTimeoutMs.load(std::memory_order_acquire) * uint64_t{1000000};
    const bool over = now - m_waitSince >= limit;
    if (over)
        m_waitSince = 0;
    return over;
}

uint64_t CardStream::NextWakeNs() const {
    const uint64_t now = zr_card_now_ns();
    const CardClockView clock = CardClockView::Of(m_shared.clock);
    if (!clock.running)
        return now + STANDING_WAIT_NS;
    const uint64_t boundary = m_running ? _MomentOfFrame(m_position + CARD_PERIOD_FRAMES) : 0;
    return boundary ? std::min(boundary, now + LONGEST_WAIT_NS) : now + LONGEST_WAIT_NS;
}

bool CardStream::IsUnplugged() const {
    return m_shared.unplugs.load(std::memory_order_acquire) != m_unplugs;
}
