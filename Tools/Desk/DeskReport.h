// The figures of a run and how they are told. Any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Desk/DeskShared.h"

struct DeskDirectionFigures {
    uint64_t expected = 0; // periods of the window so far
    uint64_t arrived = 0;
    uint64_t lost = 0;
    uint64_t outOfOrder = 0;
    uint64_t repeated = 0;
    uint64_t wrongSamples = 0;
    uint64_t xruns = 0; // overruns of the capture side, underruns of the playback side
    double medianMs = 0;
    double p99Ms = 0;
    double maxMs = 0;

    // Counts up to the frame `end`; 0: up to the latest that arrived.
    static DeskDirectionFigures Of(const DeskDirection &direction, uint64_t end);
    bool IsExact() const;
};

struct DeskFigures {
    DeskDirectionFigures toPeer;
    DeskDirectionFigures toCard;
    double seconds = 0;       // of the measuring, by the clock on the wall
    double cpuPercent = 0;    // of one core, the service
    uint64_t residentKib = 0; // the service
    uint64_t calls = 0;       // of its debug method meanwhile
    double callsPerSecond = 0;
    std::vector<std::string> problems; // whatever else went wrong

    // Every period of both directions arrived, once, in order and bit for bit, and
    // nothing else went wrong.
    bool IsExact() const;
};

// The table of a report.
std::string zr_desk_report(const DeskFigures &figures);

// The same in one line, for progress.
std::string zr_desk_progress(const DeskFigures &figures);
