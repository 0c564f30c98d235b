// zrctl record: a timed recording of both streams, watched until it is done. Main thread.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

#include "Ctl/CommandSetup.h"
#include "Ctl/Commands.h"
#include "Ctl/Conversation.h"
#include "Ctl/CtlError.h"
#include "Ctl/DebugText.h"
#include "Ctl/RecordingProgress.h"
#include "Ctl/RecordingStart.h"
#include "Desk/StopSignals.h"

namespace {

constexpr int LOOK_MS = 100;

struct RecordOptions {
    const CtlOptions &common;
    std::string seconds;
};

// Redraws one line on a terminal; elsewhere a line for every tenth of the recording.
class ProgressPrinter {
  public:
    void Print(const RecordingProgress &progress, unsigned seconds) {
        const int tenth = static_cast<int>(progress.CaptureSeconds() / seconds * 10);
        if (m_redraws)
            std::printf("\r%s", progress.Line().c_str());
        else if (tenth != m_tenth)
            std::printf("%s\n", progress.Line().c_str());
        std::fflush(stdout);
        m_tenth = tenth;
    }

    // Leaves the line; what follows stands below it.
    void Finish() {
        if (m_redraws)
            std::printf("\n");
        m_redraws = false;
    }

  private:
    bool m_redraws = isatty(STDOUT_FILENO);
    int m_tenth = -1;
};

void CheckDirectory(const std::string &path) {
    struct stat info {};
    const bool isMissing = stat(path.c_str(), &info) != 0 && (errno == ENOENT || errno == ENOTDIR);
    if (isMissing || (info.st_mode != 0 && !S_ISDIR(info.st_mode)))
        throw CtlError(CtlExit::NoRecordings, "no directory for recordings: " + path);
}

void Follow(RecordingProgress &progress, unsigned seconds) {
    ProgressPrinter printer;
    for (;;) {
        const auto now = RecordingProgress::Clock::now();
        progress.Update(now);
        printer.Print(progress, seconds);
        const bool isStalled = progress.IsCaptureStalled(now);
        if (progress.IsOver(now) || isStalled || zr_stop_wished())
            printer.Finish();
        if (progress.IsOver(now))
            return;
        if (isStalled)
            throw CtlError(CtlExit::Stalled,
                           "the capture recording no longer grows: is the card running, the disk full?");
        if (zr_stop_wished())
            throw CtlError(CtlExit::Interrupted, "interrupted: the service goes on recording");
        zr_ctl_pause(LOOK_MS);
    }
}

void TellOfPlayback(const RecordingProgress &progress, unsigned seconds) {
    if (progress.IsPlaybackDone())
        return;
    if (progress.PlaybackSeconds() > 0)
        std::printf("playback: only %.3f of %u s, it grows only while a peer sends\n", progress.PlaybackSeconds(),
                    seconds);
    else
        std::printf("playback: empty, no peer sends\n");
    std::printf(
        "The service keeps the playback file open for the rest and refuses new recordings until it has come.\n");
}

void Record(const RecordOptions &options) {
    const unsigned seconds = zr_ctl_parse_seconds(options.seconds);
    CheckDirectory(options.common.recordings);
    Conversation service(options.common.log, options.common.TimeoutMs());
    RecordingStart start(seconds);
    service.Ask(zr_ctl_record_text(static_cast<std::uint16_t>(seconds)),
                [&start](const std::vector<LogRecord> &records) { return start.Add(records); });
    start.Check();
    RecordingProgress progress(start.CapturePath(), start.PlaybackPath(), seconds);
    Follow(progress, seconds);
    TellOfPlayback(progress, seconds);
    std::printf("capture:  %s\nplayback: %s\n", start.CapturePath().c_str(), start.PlaybackPath().c_str());
}

} // namespace

void AddRecord(CLI::App &program, const CtlOptions &common) {
    const auto options = std::make_shared<RecordOptions>(RecordOptions{common, {}});
    CLI::App *command = program.add_subcommand("record", "Record both streams to raw files");
    command->add_option("SECONDS", options->seconds, "Length of the recording, 1 to 65535")
        ->required()
        ->type_name("SECONDS");
    SetRun(*command, options, Record);
}
