// See CtlError.h.
#include "Ctl/CtlError.h"

#include <cstdio>

namespace {

struct Meaning {
    CtlExit exit;
    const char *text;
};

constexpr Meaning MEANINGS[] = {
    {CtlExit::Done, "done"},
    {CtlExit::Failed, "a file could not be read or written"},
    {CtlExit::WrongUse, "wrong use, or a command that would make the service fail; nothing was sent"},
    {CtlExit::NoBus, "the system bus cannot be reached"},
    {CtlExit::NoService, "the service is not on the bus"},
    {CtlExit::NoAnswer, "the service did not answer in time"},
    {CtlExit::Denied, "the bus's policy denies this user the call"},
    {CtlExit::NoLog, "the service's log is missing or this user may not read it"},
    {CtlExit::NoRecordings, "the service cannot make its recording files"},
    {CtlExit::Recording, "a recording is already running"},
    {CtlExit::Refused, "the service refused the command"},
    {CtlExit::Silent, "the service answered but its lines did not come in the log"},
    {CtlExit::Stalled, "the capture recording stopped growing before its end"},
    {CtlExit::Interrupted, "interrupted; a recording that was started goes on"},
};

} // namespace

std::string zr_ctl_exit_table() {
    std::string table = "Exit status:\n";
    for (const Meaning &meaning : MEANINGS) {
        char line[128];
        std::snprintf(line, sizeof line, "  %3d  %s\n", static_cast<int>(meaning.exit), meaning.text);
        table += line;
    }
    return table;
}
