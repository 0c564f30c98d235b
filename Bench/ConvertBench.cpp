// What the two conversions of a period cost beside a plain copy of a card period, the
// larger of their two sides: moving the bytes is their floor. A period whose frames do
// not begin with channel 1 takes the slower way, word by word.
#include <array>
#include <cstdint>
#include <cstring>

#include <benchmark/benchmark.h>

#include "ZRFpgaMng/AudioPcmMng/PcmConvert.h"
#include "ZRFpgaMng/Include/FpgaMngDef.h"

namespace {

using CardPeriod = std::array<uint8_t, AUDIO_CARD_PERIOD_BYTES>;

// A period of noise; each frame's words carry the channels from `first` on, in turn.
CardPeriod MakePeriod(uint32_t first) {
    CardPeriod period;
    for (uint32_t word = 0; word < AUDIO_PERIOD_FRAMES * AUDIO_CHANNELS; ++word) {
        const uint32_t channel = (word + first) % AUDIO_CHANNELS + 1;
        const uint32_t value = channel << 16 | (word * 40503U >> 4 & 0xFFFF);
        std::memcpy(period.data() + word * sizeof value, &value, sizeof value);
    }
    return period;
}

void Count(benchmark::State &state) {
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(AUDIO_CARD_PERIOD_BYTES));
}

void PlainCopy(benchmark::State &state) {
    const CardPeriod from = MakePeriod(0);
    CardPeriod to{};
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), from.size());
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    Count(state);
}
BENCHMARK(PlainCopy);

void CardToPlanar(benchmark::State &state) {
    const CardPeriod period = MakePeriod(static_cast<uint32_t>(state.range(0)));
    CardPeriod planar{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(TaggedToPlanar(period.data(), planar.data(), AUDIO_PERIOD_FRAMES));
        benchmark::ClobberMemory();
    }
    Count(state);
}
BENCHMARK(CardToPlanar)->ArgName("firstChannel")->Arg(0)->Arg(5);

void PlanarToCard(benchmark::State &state) {
    const CardPeriod period = MakePeriod(0);
    CardPeriod planar{}, back{};
    TaggedToPlanar(period.data(), planar.data(), AUDIO_PERIOD_FRAMES);
    for (auto _ : state) {
        benchmark::DoNotOptimize(PlanarToTagged(planar.data(), back.data(), AUDIO_PERIOD_FRAMES));
        benchmark::ClobberMemory();
    }
    Count(state);
}
BENCHMARK(PlanarToCard);

} // namespace
