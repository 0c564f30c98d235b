// The wish is one 64-bit word, so that control and audio thread change it without a lock:
// kind in bits 48..63, value in bits 32..47, periods in bits 0..31.
#include "CardTagger.h"

#include <algorithm>

namespace {

void SetTag(uint32_t &word, uint32_t tag) {
    word = (tag << 16) | (word & 0xFFFFu);
}

uint32_t DefaultValue(CardTags tags) {
    switch (tags) {
    case CardTags::Repeated:
        return CARD_CHANNELS;
    case CardTags::Rotated:
        return 1;
    default:
        return 0;
    }
}

uint32_t InRange(CardTags tags, uint32_t value) {
    switch (tags) {
    case CardTags::Repeated:
        return std::clamp(value, 1u, CARD_CHANNELS);
    case CardTags::Rotated:
        return value % CARD_CHANNELS;
    default:
        return std::min(value, CARD_PERIOD_WORDS - 1);
    }
}

} // namespace

CardTagWish CardTagWish::Unpack(uint64_t packed) {
    return {static_cast<CardTags>(packed >> 48), static_cast<uint32_t>((packed >> 32) & 0xFFFFu),
            static_cast<uint32_t>(packed)};
}

uint64_t CardTagWish::Pack() const {
    return (static_cast<uint64_t>(tags) << 48) | (static_cast<uint64_t>(value) << 32) | periods;
}

CardTagWish zr_card_tag_wish(CardTags tags, uint32_t periods, uint32_t value) {
    const uint32_t wanted = value == CARD_TAGS_DEFAULT ? DefaultValue(tags) : value;
    return {tags, InRange(tags, wanted), periods};
}

CardTagWish zr_card_next_tags(SharedU64 &tags) {
    uint64_t packed = tags.load(std::memory_order_acquire);
    for (;;) {
        const CardTagWish wish = CardTagWish::Unpack(packed);
        if (wish.tags == CardTags::Normal || wish.periods == 0)
            return wish;
        CardTagWish next = wish;
        next.periods--;
        if (next.periods == 0)
            next = CardTagWish();
        if (tags.compare_exchange_weak(packed, next.Pack(), std::memory_order_acq_rel))
            return wish;
    }
}

void zr_card_apply_tags(const CardTagWish &wish, uint32_t *words) {
    switch (wish.tags) {
    case CardTags::Normal:
        break;
    case CardTags::Zero:
        SetTag(words[wish.value], 0);
        break;
    case CardTags::TwentyFive:
        SetTag(words[wish.value], CARD_CHANNELS + 1);
        break;
    case CardTags::Repeated:
        std::for_each(words, words + CARD_PERIOD_WORDS, [&](uint32_t &word) { SetTag(word, wish.value); });
        break;
    case CardTags::Rotated:
        for (uint32_t *frame = words; frame < words + CARD_PERIOD_WORDS; frame += CARD_CHANNELS)
            std::rotate(frame, frame + wish.value, frame + CARD_CHANNELS);
        break;
    }
}
