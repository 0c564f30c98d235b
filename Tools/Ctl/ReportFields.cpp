// See ReportFields.h.
#include "Ctl/ReportFields.h"

#include <string_view>

namespace {

#define BUFFER_FIELDS(section)                                                                                         \
    {section, "reader_in_use", "reader in use", false}, {section, "waiting", "frames waiting", false},                 \
        {section, "writer_in_use", "writer in use", false},                                                            \
        {section, "writer_waiting", "frames waiting, writer's view", false},                                           \
        {section, "written", "frames written", true}, {section, "released", "frames released", true},                  \
        {section, "read", "frames read", true}, {section, "bytes", "bytes held", false},                               \
        {section, "capacity", "capacity in bytes", false},                                                             \
        {section, "dropped_now", "frames dropped since the last read", false}, {                                       \
        section, "dropped", "frames dropped", true                                                                     \
    }

constexpr ReportField FIELDS[] = {
    BUFFER_FIELDS("buffer_in"),
    BUFFER_FIELDS("buffer_out"),
    {"net_send", "read", "frames taken from the buffer", true},
    {"net_send", "sent", "messages sent", true},
    {"net_send", "errors", "sends failed", true},
    {"net_receive", "written", "frames put in the buffer", true},
    {"net_receive", "received", "messages received", true},
    {"net_receive", "errors", "messages refused or lost", true},
    {"pcm_read", "written", "frames put in the buffer", true},
    {"pcm_read", "captured", "periods captured", true},
    {"pcm_read", "errors", "card reads failed", true},
    {"pcm_read", "bad_channel", "periods with a bad channel number", true},
    {"pcm_read", "cnt1", "counter 1 (not used)", true},
    {"pcm_read", "cnt2", "counter 2 (not used)", true},
    {"pcm_read", "round_us", "last round, us", false},
    {"pcm_read", "card_us", "last card read, us", false},
    {"pcm_read", "round_max_us", "longest round, us", false},
    {"pcm_read", "card_max_us", "longest card read, us", false},
    {"pcm_write", "read", "frames taken from the buffer", true},
    {"pcm_write", "played", "periods played", true},
    {"pcm_write", "errors", "card writes failed", true},
    {"pcm_write", "dropped", "frames dropped as backlog", true},
    {"pcm_write", "checks_empty", "checks that found no frame", true},
    {"pcm_write", "checks_filled", "checks that found a frame", true},
    {"pcm_write", "backlog_checks", "checks in a row with a backlog", false},
    {"pcm_write", "round_us", "last round, us", false},
    {"pcm_write", "card_us", "last card write, us", false},
    {"pcm_write", "card_max_us", "longest card write, us", false},
    {"pcm", "print_switch", "printing", false},
    {"pcm", "difference", "captured less played and dropped", false},
};

// Fields of the first line of a direction, of the network and of the card.
constexpr std::size_t IN = 0;
constexpr std::size_t OUT = 11;
constexpr std::size_t NET = 22;
constexpr std::size_t PCM = 28;

#define RING_LINES(first)                                                                                              \
    {"++++++++ RingBuferr UserHdl:~ fifo:~  info ++++++++", first}, {"  wptr:~\twcnt:#", first + 4},                   \
        {"  rptr:~\trcnt:#", first + 5}, {"  fptr:~\tcur:#", first + 6}, {"  data_size:#\ttotal_size:#", first + 7}, { \
        "  dropCnt:#\tdropAllCnt:#", first + 9                                                                         \
    }

constexpr ReportLine LINES[] = {
    {"MODULE: direct 0 (RdHdl:~ bUsed:# count:# WrHdl:~ bUsed:#, count:#)", IN},
    RING_LINES(IN),
    {"MODULE: direct 1 (RdHdl:~ bUsed:# count:# WrHdl:~ bUsed:#, count:#)", OUT},
    RING_LINES(OUT),
    {"[Net]SendThread RdBuffer:# SndSuc:# SndErr:#", NET},
    {"[Net]RecvThread WrBuffer:# RcvSuc:# RcvErr:#", NET + 3},
    {"[Pcm]ReadThread WrBuffer:# RdSuc:# RdErr:#, ProRdFail:#", PCM},
    {"[Pcm]Read Cnt1:# Cnt2:# Time:#us #us Max:#us #us", PCM + 4},
    {"[Pcm]WriteThread RdBuffer:# WrSuc:# WrErr:#, WrDrop:#", PCM + 10},
    {"[Pcm]Write Cnt1:# Cnt2:#, Cnt3:# Time:#us #us Max:#us", PCM + 14},
    {"Pcm Print switch:#, PcmDiff:#", PCM + 20},
};

struct Heading {
    std::string_view section;
    const char *text;
};

constexpr Heading HEADINGS[] = {
    {"buffer_in", "Buffer card to peers (fpga_0)"},
    {"buffer_out", "Buffer peers to card (fpga_1)"},
    {"net_send", "Network, to the peers"},
    {"net_receive", "Network, from the peers"},
    {"pcm_read", "Card, capture"},
    {"pcm_write", "Card, playback"},
    {"pcm", "Card, both"},
};

} // namespace

std::span<const ReportField> ReportFields() {
    return FIELDS;
}

std::span<const ReportLine> ReportLines() {
    return LINES;
}

const char *ReportHeading(const char *section) {
    for (const Heading &heading : HEADINGS)
        if (heading.section == section)
            return heading.text;
    return section;
}
