// Checks what arrives in one direction: finds each period's place from its own content
// and compares every sample with the one it must be. One thread.
#pragma once

#include <optional>

#include "Desk/DeskShared.h"
#include "Desk/DeskSignal.h"
#include "Desk/OrderCheck.h"

class ArrivalCheck {
  public:
    // `expected` and `result` outlive the check.
    ArrivalCheck(const DeskSignal &expected, DeskDirection &result) : m_expected(expected), m_result(result) {}

    // Takes the next period; `wrongWords` of its samples are wrong beyond their value. The
    // frame it starts at when it belongs to the window and came for the first time.
    std::optional<uint64_t> Take(const zrpeer::AudioBlock &block, uint64_t wrongWords = 0);

    // The frame behind the last period.
    uint64_t NextFrame() const { return m_nextFrame; }

  private:
    uint64_t _Locate(const zrpeer::AudioBlock &block) const;
    bool _CountPlace(uint64_t frame);

    const DeskSignal &m_expected;
    DeskDirection &m_result;
    std::optional<OrderCheck> m_order; // by period, from the window's begin on
    uint64_t m_nextFrame = 0;
    bool m_located = false;
};
