// Tells whether numbered things come in order, late or a second time. Keeps a bounded
// memory of what came. One thread.
#pragma once

#include <bitset>
#include <cstdint>

class OrderCheck {
  public:
    // `first` is the number that should come first.
    explicit OrderCheck(uint64_t first) : m_next(first), m_first(first) {}

    enum class Place {
        InOrder,  // the number expected, or a later one: those between are missing so far
        Late,     // one that was missing
        Repeated, // one that came before, or one from before the first or too old to tell
    };
    Place Take(uint64_t number);

    // The number behind the highest one taken.
    uint64_t Next() const { return m_next; }

  private:
    static constexpr uint64_t KEPT = 4096;

    uint64_t m_next;
    uint64_t m_first;
    std::bitset<KEPT> m_came; // of the numbers m_next - KEPT to m_next - 1, by number % KEPT
};
