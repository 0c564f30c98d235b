// Every field is stored with release and loaded with acquire: a reader that sees any
// part of a new period also sees the odd version that came before it.
#include "CardTap.h"

#include <cstring>

namespace {

CardTapEntry &EntryOf(CardSideShared &side, uint64_t sequence) {
    return side.tap[sequence % CARD_TAP_PERIODS];
}

void StoreData(CardTapEntry &entry, const uint32_t *words) {
    for (uint32_t i = 0; i < CARD_TAP_WORDS; i++) {
        uint64_t pair;
        std::memcpy(&pair, words + 2 * i, sizeof pair);
        entry.data[i].store(pair, std::memory_order_release);
    }
}

void LoadData(const CardTapEntry &entry, uint32_t *words) {
    for (uint32_t i = 0; i < CARD_TAP_WORDS; i++) {
        const uint64_t pair = entry.data[i].load(std::memory_order_acquire);
        std::memcpy(words + 2 * i, &pair, sizeof pair);
    }
}

// Holds an entry's version odd for the time of a change.
class EntryChange {
  public:
    explicit EntryChange(CardTapEntry &entry)
        : m_entry(entry), m_version(entry.version.load(std::memory_order_relaxed)) {
        m_entry.version.store(m_version + 1, std::memory_order_relaxed);
    }
    ~EntryChange() { m_entry.version.store(m_version + 2, std::memory_order_release); }
    EntryChange(const EntryChange &) = delete;
    EntryChange &operator=(const EntryChange &) = delete;

  private:
    CardTapEntry &m_entry;
    uint64_t m_version;
};

} // namespace

void zr_card_tap_append(CardSideShared &side, const uint32_t *words, uint64_t serviceNs, uint64_t cardNs) {
    const uint64_t sequence = side.tapCount.load(std::memory_order_relaxed);
    CardTapEntry &entry = EntryOf(side, sequence);
    {
        EntryChange change(entry);
        entry.sequence.store(sequence, std::memory_order_release);
        entry.serviceNs.store(serviceNs, std::memory_order_release);
        entry.cardNs.store(cardNs, std::memory_order_release);
        StoreData(entry, words);
    }
    side.tapCount.store(sequence + 1, std::memory_order_release);
}

void zr_card_tap_discard(CardSideShared &side, uint64_t sequence) {
    CardTapEntry &entry = EntryOf(side, sequence);
    if (entry.sequence.load(std::memory_order_relaxed) != sequence)
        return;
    EntryChange change(entry);
    entry.cardNs.store(CARD_DISCARDED, std::memory_order_release);
}

TapResult zr_card_tap_read(const CardSideShared &side, uint64_t sequence, TapPeriod &period) {
    if (sequence >= side.tapCount.load(std::memory_order_acquire))
        return TapResult::NotYet;
    const CardTapEntry &entry = side.tap[sequence % CARD_TAP_PERIODS];
    for (;;) {
        const uint64_t version = entry.version.load(std::memory_order_acquire);
        period.sequence = entry.sequence.load(std::memory_order_acquire);
        period.serviceNs = entry.serviceNs.load(std::memory_order_acquire);
        period.cardNs = entry.cardNs.load(std::memory_order_acquire);
        LoadData(entry, period.words.data());
        if (period.sequence != sequence)
            return TapResult::Lost;
        if (version % 2 == 0 && entry.version.load(std::memory_order_relaxed) == version)
            return TapResult::Ready;
    }
}
