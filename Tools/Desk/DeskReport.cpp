// See DeskReport.h.
#include "Desk/DeskReport.h"

#include <cinttypes>
#include <cstdarg>
#include <cstdio>

namespace {

constexpr double NS_PER_MS = 1e6;

__attribute__((format(printf, 1, 2))) std::string Format(const char *format, ...) {
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

std::string CountRow(const char *name, uint64_t toPeer, uint64_t toCard) {
    return Format("%-16s %14" PRIu64 " %14" PRIu64 "\n", name, toPeer, toCard);
}

std::string LatencyRow(const char *name, double toPeer, double toCard) {
    return Format("%-16s %11.2f ms %11.2f ms\n", name, toPeer, toCard);
}

} // namespace

DeskDirectionFigures DeskDirectionFigures::Of(const DeskDirection &direction, uint64_t end) {
    DeskDirectionFigures figures;
    const uint64_t begin = direction.window.begin.load();
    figures.arrived = direction.arrived.load();
    if (end == 0)
        end = direction.next.load();
    figures.expected = end > begin ? (end - begin) / DESK_BLOCK_FRAMES : 0;
    figures.lost = figures.expected > figures.arrived ? figures.expected - figures.arrived : 0;
    figures.outOfOrder = direction.outOfOrder.load();
    figures.repeated = direction.repeated.load();
    figures.wrongSamples = direction.wrongSamples.load();
    figures.medianMs = static_cast<double>(direction.latency.Quantile(0.5)) / NS_PER_MS;
    figures.p99Ms = static_cast<double>(direction.latency.Quantile(0.99)) / NS_PER_MS;
    figures.maxMs = static_cast<double>(direction.latency.maxNs.load()) / NS_PER_MS;
    return figures;
}

bool DeskDirectionFigures::IsExact() const {
    return expected > 0 && arrived == expected && lost + outOfOrder + repeated + wrongSamples + xruns == 0;
}

bool DeskFigures::IsExact() const {
    return toPeer.IsExact() && toCard.IsExact() && problems.empty();
}

std::string zr_desk_report(const DeskFigures &figures) {
    const DeskDirectionFigures &in = figures.toPeer;
    const DeskDirectionFigures &out = figures.toCard;
    std::string text = Format("%-16s %14s %14s\n", "", "card to peer", "peer to card");
    text += CountRow("periods", in.expected, out.expected);
    text += CountRow("arrived", in.arrived, out.arrived);
    text += CountRow("lost", in.lost, out.lost);
    text += CountRow("out of order", in.outOfOrder, out.outOfOrder);
    text += CountRow("repeated", in.repeated, out.repeated);
    text += CountRow("wrong samples", in.wrongSamples, out.wrongSamples);
    text += LatencyRow("latency median", in.medianMs, out.medianMs);
    text += LatencyRow("latency p99", in.p99Ms, out.p99Ms);
    text += LatencyRow("latency max", in.maxMs, out.maxMs);
    text += Format("overruns %" PRIu64 ", underruns %" PRIu64 "\n", in.xruns, out.xruns);
    text += Format("the service used %.1f %% of one core and %.1f MiB over %.1f s\n", figures.cpuPercent,
                   static_cast<double>(figures.residentKib) / 1024, figures.seconds);
    if (figures.calls > 0)
        text += Format("the operator called %" PRIu64 " times, %.1f a second\n", figures.calls, figures.callsPerSecond);
    for (const std::string &problem : figures.problems)
        text += problem + '\n';
    return text;
}

std::string zr_desk_progress(const DeskFigures &figures) {
    return Format("%5.1f s: %" PRIu64 " periods to the peer, %" PRIu64 " to the card; lost %" PRIu64
                  ", wrong samples %" PRIu64,
                  figures.seconds, figures.toPeer.arrived, figures.toCard.arrived,
                  figures.toPeer.lost + figures.toCard.lost, figures.toPeer.wrongSamples + figures.toCard.wrongSamples);
}
