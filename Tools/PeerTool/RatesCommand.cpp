// zrpeer rates: how regularly the service sends, once a second and in total.
#include <cstdio>
#include <string>

#include "PeerTool/CardLatency.h"
#include "PeerTool/Commands.h"
#include "PeerTool/Options.h"
#include "PeerTool/PeerLink.h"
#include "PeerTool/RateMeter.h"
#include "Sound/BlockPacer.h"

namespace {

constexpr std::int64_t SECOND_NS = 1'000'000'000;

struct RatesOptions {
    double seconds = 0;
    double gapMs = 6;
    bool counter = false;
    std::string card;
};

double SecondsSince(std::int64_t fromNs) {
    return static_cast<double>(MonotonicNs() - fromNs) / 1e9;
}

void Measure(RateMeter &meter, CardLatency *card, const zrpeer::AudioBlock &block, std::int64_t arrivalNs) {
    meter.Add(block, arrivalNs);
    std::int64_t latencyNs = 0;
    if (card)
        meter.AddLatency(card->Measure(block, arrivalNs, latencyNs) ? &latencyNs : nullptr);
}

int Watch(const RatesOptions &options, CardLatency *card) {
    PeerLink link;
    RateMeter meter(options.gapMs, options.counter);
    std::int64_t beginNs = 0;
    std::int64_t lineNs = MonotonicNs();
    BlockHandler handler;
    handler.onBlock = [&](const zrpeer::AudioBlock &block, std::int64_t arrivalNs) {
        beginNs = beginNs == 0 ? arrivalNs : beginNs;
        Measure(meter, card, block, arrivalNs);
        return true;
    };
    handler.onRound = [&] {
        if (MonotonicNs() - lineNs < SECOND_NS)
            return;
        std::printf("%s\n", meter.NextLine(SecondsSince(lineNs), link.Wrong()).c_str());
        lineNs = MonotonicNs();
    };
    const int status = zr_receive_blocks(link, options.seconds, handler);
    if (status == 0)
        std::printf("total: %s\n", meter.TotalLine(beginNs ? SecondsSince(beginNs) : 0, link.Wrong()).c_str());
    return status;
}

int Rates(const RatesOptions &options) {
    if (options.card.empty())
        return Watch(options, nullptr);
    CardLatency card;
    if (!card.Open(options.card))
        return zr_fail("%s is not the control file of a stand-in card", options.card.c_str());
    return Watch(options, &card);
}

} // namespace

void AddRates(CLI::App &program, int &status) {
    const auto options = std::make_shared<RatesOptions>();
    CLI::App *command = program.add_subcommand("rates", "Print rates, gaps and jitter of what comes, once a second");
    command->add_option("--gap", options->gapMs, "Longest interval in ms that is no gap")
        ->capture_default_str()
        ->type_name("MS")
        ->check(CheckPositive);
    command->add_flag("--counter", options->counter, "Check the content: the card plays its test signal");
    command->add_option("--card", options->card, "Control file of the stand-in card, for the latency card to peer")
        ->type_name("FILE");
    AddSeconds(*command, options->seconds);
    SetCallback(*command, options, status, Rates);
}
