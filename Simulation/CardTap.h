// The record of the last periods of one side in the control file. One writer (the
// side's audio thread), any number of readers, no locks: a reader that was overtaken
// sees it by the entry's version.
#pragma once

#include <cstdint>

#include "CardControl.h"
#include "CardShared.h"

// Appends a period of 768 words; its number is the count before the call.
void zr_card_tap_append(CardSideShared &side, const uint32_t *words, uint64_t serviceNs, uint64_t cardNs);

// Marks an appended period as never played.
void zr_card_tap_discard(CardSideShared &side, uint64_t sequence);

// See CardControl::ReadTap.
TapResult zr_card_tap_read(const CardSideShared &side, uint64_t sequence, TapPeriod &period);
