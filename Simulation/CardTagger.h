// The tags of captured periods: how they are to be wrong, and making them so.
// Set by the control, applied on the capture side's audio thread.
#pragma once

#include <cstdint>

#include "CardDef.h"
#include "CardShared.h"

// A wish for wrong tags as it lies in CardShared::tags.
struct CardTagWish {
    CardTags tags = CardTags::Normal;
    uint32_t value = 0;
    uint32_t periods = 0; // still to come; 0: until changed

    static CardTagWish Unpack(uint64_t packed);
    uint64_t Pack() const;
};

// The wish with CARD_TAGS_DEFAULT resolved and the value brought into the range of its kind.
CardTagWish zr_card_tag_wish(CardTags tags, uint32_t periods, uint32_t value);

// Takes the wish for the next period, counting it.
CardTagWish zr_card_next_tags(SharedU64 &tags);

// Changes the tags of a period of 768 words.
void zr_card_apply_tags(const CardTagWish &wish, uint32_t *words);
