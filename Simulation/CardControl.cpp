// Control from outside. Changes of the clock hold a lock on the control file, which the
// kernel drops with its holder; everything else is single atomics.
#include "CardControl.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>
#include <new>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "CardClock.h"
#include "CardShared.h"
#include "CardTagger.h"
#include "CardTap.h"

namespace {

constexpr uint32_t DEFAULT_IO_TIMEOUT_MS = 10000;

CardShared *Map(int fd) {
    void *area = mmap(nullptr, sizeof(CardShared), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    return area == MAP_FAILED ? nullptr : static_cast<CardShared *>(area);
}

void Fill(CardShared &shared) {
    shared.size = sizeof(CardShared);
    shared.ioTimeoutMs = DEFAULT_IO_TIMEOUT_MS;
    CardClockView clock;
    clock.refNs = zr_card_now_ns();
    clock.SetSpeed(1.0);
    clock.running = true;
    clock.Install(shared.clock);
    shared.magic.store(CARD_MAGIC, std::memory_order_release);
}

// Fills a fresh, empty file.
bool MakeContent(int fd) {
    if (posix_fallocate(fd, 0, sizeof(CardShared)) != 0)
        return false;
    CardShared *shared = Map(fd);
    if (!shared)
        return false;
    Fill(*new (shared) CardShared);
    munmap(shared, sizeof(CardShared));
    return true;
}

bool HasFault(CardSide side, CardFault fault) {
    switch (fault) {
    case CardFault::Overrun:
        return side == CardSide::Capture;
    case CardFault::Underrun:
        return side == CardSide::Playback;
    default:
        return static_cast<uint32_t>(fault) < CARD_FAULTS;
    }
}

// The lock that stands for an open side: one byte of the control file.
struct flock SideLock(CardSide side) {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(side);
    lock.l_len = 1;
    return lock;
}

bool IsSideOpen(int fd, CardSide side) {
    struct flock lock = SideLock(side);
    return fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

uint64_t PositionOf(const CardSideShared &shared, CardSide side, uint64_t cardNs) {
    if (!shared.running.load(std::memory_order_acquire))
        return shared.position.load(std::memory_order_relaxed);
    const uint64_t start = shared.startCardNs.load(std::memory_order_relaxed);
    const uint64_t periods = cardNs > start ? (cardNs - start) / CARD_PERIOD_NS : 0;
    const uint64_t frames = periods * CARD_PERIOD_FRAMES;
    return side == CardSide::Capture ? frames : std::min(frames, shared.written.load(std::memory_order_relaxed));
}

CardSideStatus StatusOf(const CardSideShared &shared, CardSide side, bool open, uint64_t cardNs) {
    CardSideStatus status;
    status.open = open;
    status.running = open && shared.running.load(std::memory_order_acquire) != 0;
    status.periods = shared.tapCount.load(std::memory_order_acquire);
    status.position = PositionOf(shared, side, cardNs);
    status.xruns = shared.xruns.load(std::memory_order_relaxed);
    status.discarded = shared.discarded.load(std::memory_order_relaxed);
    status.starts = shared.starts.load(std::memory_order_relaxed);
    status.startNs = shared.startNs.load(std::memory_order_relaxed);
    status.lastNs = shared.lastNs.load(std::memory_order_relaxed);
    for (const CardFaultShared &fault : shared.faults)
        status.faultsPending += fault.pending.load(std::memory_order_relaxed);
    return status;
}

bool PollUntil(const std::function<bool()> &condition, int timeoutMs) {
    const uint64_t end = zr_card_now_ns() + static_cast<uint64_t>(timeoutMs) * 1000000u;
    while (!condition()) {
        if (zr_card_now_ns() >= end)
            return false;
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    return true;
}

} // namespace

bool CardControl::Create(const std::string &path) {
    if (unlink(path.c_str()) != 0 && errno != ENOENT)
        return false;
    const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0)
        return false;
    const bool made = MakeContent(fd);
    close(fd);
    return made;
}

CardControl::~CardControl() {
    if (m_shared)
        munmap(m_shared, sizeof(CardShared));
    if (m_fd >= 0)
        close(m_fd);
}

bool CardControl::Open(const std::string &path) {
    if (m_shared)
        return false;
    m_fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    struct stat info = {};
    if (m_fd >= 0 && fstat(m_fd, &info) == 0 && static_cast<uint64_t>(info.st_size) == sizeof(CardShared))
        m_shared = Map(m_fd);
    if (m_shared && m_shared->magic.load(std::memory_order_acquire) == CARD_MAGIC)
        return true;
    if (m_shared)
        munmap(m_shared, sizeof(CardShared));
    if (m_fd >= 0)
        close(m_fd);
    m_shared = nullptr;
    m_fd = -1;
    return false;
}

bool CardControl::Claim(CardSide side) {
    struct flock lock = SideLock(side);
    return fcntl(m_fd, F_OFD_SETLK, &lock) == 0;
}

bool CardControl::Inject(CardSide side, CardFault fault, uint32_t value, uint32_t count) {
    if (!HasFault(side, fault))
        return false;
    CardFaultShared &box = m_shared->Side(side).faults[static_cast<uint32_t>(fault)];
    box.value.store(value, std::memory_order_relaxed);
    box.pending.fetch_add(count, std::memory_order_release);
    return true;
}

void CardControl::ClearFaults() {
    for (CardSideShared &side : m_shared->sides)
        for (CardFaultShared &fault : side.faults)
            fault.pending.store(0, std::memory_order_release);
}

void CardControl::SetPresence(CardPresence presence) {
    const uint32_t before = m_shared->presence.exchange(static_cast<uint32_t>(presence), std::memory_order_acq_rel);
    if (presence == CardPresence::Missing && before != static_cast<uint32_t>(CardPresence::Missing))
        m_shared->unplugs.fetch_add(1, std::memory_order_release);
}

void CardControl::SetIoTimeout(uint32_t milliseconds) {
    m_shared->ioTimeoutMs.store(milliseconds, std::memory_order_release);
}

void CardControl::SetTags(CardTags tags, uint32_t periods, uint32_t value) {
    m_shared->tags.store(zr_card_tag_wish(tags, periods, value).Pack(), std::memory_order_release);
}

template <typename Change> void CardControl::_ChangeClock(Change change) {
    const std::lock_guard<std::mutex> guard(m_clockMutex);
    flock(m_fd, LOCK_EX);
    CardClockView clock = CardClockView::Of(m_shared->clock).From(zr_card_now_ns());
    change(clock);
    clock.Install(m_shared->clock);
    flock(m_fd, LOCK_UN);
}

bool CardControl::SetSpeed(double times) {
    if (!(times >= 0.001 && times <= 1000.0))
        return false;
    _ChangeClock([&](CardClockView &clock) { clock.SetSpeed(times); });
    return true;
}

void CardControl::StopClock() {
    _ChangeClock([](CardClockView &clock) { clock.running = false; });
}

void CardControl::StartClock() {
    _ChangeClock([](CardClockView &clock) { clock.running = true; });
}

bool CardControl::Advance(uint32_t periods) {
    bool moved = false;
    _ChangeClock([&](CardClockView &clock) {
        moved = !clock.running;
        if (moved)
            clock.refCardNs += periods * CARD_PERIOD_NS;
    });
    return moved;
}

CardStatus CardControl::Status() const {
    CardStatus status;
    const CardClockView clock = CardClockView::Of(m_shared->clock);
    status.cardNs = clock.CardNs(zr_card_now_ns());
    status.clockRunning = clock.running;
    status.speed = clock.Speed();
    status.presence = static_cast<CardPresence>(m_shared->presence.load(std::memory_order_acquire));
    status.tags = CardTagWish::Unpack(m_shared->tags.load(std::memory_order_acquire)).tags;
    for (uint32_t i = 0; i < CARD_SIDES; i++) {
        const CardSide side = static_cast<CardSide>(i);
        status.sides[i] = StatusOf(m_shared->Side(side), side, IsSideOpen(m_fd, side), status.cardNs);
    }
    return status;
}

uint64_t CardControl::TapCount(CardSide side) const {
    return m_shared->Side(side).tapCount.load(std::memory_order_acquire);
}

TapResult CardControl::ReadTap(CardSide side, uint64_t sequence, TapPeriod &period) const {
    return zr_card_tap_read(m_shared->Side(side), sequence, period);
}

bool CardControl::WaitForTap(CardSide side, uint64_t count, int timeoutMs) const {
    return PollUntil([&] { return TapCount(side) >= count; }, timeoutMs);
}

bool CardControl::WaitForRunning(CardSide side, bool running, int timeoutMs) const {
    return PollUntil([&] { return Status().Side(side).running == running; }, timeoutMs);
}
