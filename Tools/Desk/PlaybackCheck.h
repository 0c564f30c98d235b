// Checks what the card plays, live: every period that left the card, against what the
// peer sent. One thread.
#pragma once

#include <cstdint>

#include "CardControl.h"
#include "Desk/ArrivalCheck.h"
#include "Desk/SoundRecorder.h"

class PlaybackCheck {
  public:
    // All outlive the check.
    PlaybackCheck(const CardControl &card, const DeskSignal &sent, DeskShared &shared, SoundRecorder &recorder)
        : m_card(card), m_shared(shared), m_recorder(recorder), m_check(sent, shared.toCard) {}

    // Takes everything that has left the card since the last call; to be called several
    // times a second. What the card threw away in an underrun is not taken.
    void Poll();

    // Periods that this check came too late to see.
    uint64_t Missed() const { return m_missed; }

  private:
    void _Take(const TapPeriod &period);

    const CardControl &m_card;
    DeskShared &m_shared;
    SoundRecorder &m_recorder;
    ArrivalCheck m_check;
    uint64_t m_sequence = 0;
    uint64_t m_missed = 0;
};
