// The clock's setting lies in two slots: a writer fills the one not in use and then
// raises the generation, so that a reader at worst reads again.
#include "CardClock.h"

#include <ctime>

namespace {

__extension__ typedef unsigned __int128 Wide;

constexpr double SPEED_ONE = 4294967296.0; // 2^32

} // namespace

uint64_t zr_card_now_ns() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000u + static_cast<uint64_t>(now.tv_nsec);
}

CardClockView CardClockView::Of(const CardClockShared &clock) {
    CardClockView view;
    uint64_t generation = 0;
    do {
        generation = clock.generation.load(std::memory_order_acquire);
        const CardClockSlot &slot = clock.slots[generation % 2];
        view.refNs = slot.refNs.load(std::memory_order_acquire);
        view.refCardNs = slot.refCardNs.load(std::memory_order_acquire);
        view.speed = slot.speed.load(std::memory_order_acquire);
        view.running = slot.running.load(std::memory_order_acquire) != 0;
    } while (clock.generation.load(std::memory_order_relaxed) != generation);
    return view;
}

void CardClockView::Install(CardClockShared &clock) const {
    const uint64_t generation = clock.generation.load(std::memory_order_relaxed) + 1;
    CardClockSlot &slot = clock.slots[generation % 2];
    slot.refNs.store(refNs, std::memory_order_release);
    slot.refCardNs.store(refCardNs, std::memory_order_release);
    slot.speed.store(speed, std::memory_order_release);
    slot.running.store(running ? 1 : 0, std::memory_order_release);
    clock.generation.store(generation, std::memory_order_release);
}

uint64_t CardClockView::CardNs(uint64_t nowNs) const {
    if (!running || nowNs <= refNs)
        return refCardNs;
    return refCardNs + static_cast<uint64_t>((static_cast<Wide>(nowNs - refNs) * speed) >> 32);
}

uint64_t CardClockView::MomentOf(uint64_t cardNs) const {
    if (!running || cardNs < refCardNs)
        return 0;
    const Wide distance = static_cast<Wide>(cardNs - refCardNs) << 32;
    return refNs + static_cast<uint64_t>((distance + speed - 1) / speed);
}

CardClockView CardClockView::From(uint64_t nowNs) const {
    CardClockView view = *this;
    view.refCardNs = CardNs(nowNs);
    view.refNs = nowNs;
    return view;
}

double CardClockView::Speed() const {
    return static_cast<double>(speed) / SPEED_ONE;
}

void CardClockView::SetSpeed(double times) {
    speed = static_cast<uint64_t>(times * SPEED_ONE);
}
