// zrctl levels: how loud each channel of a recording is. Main thread.
#include <cstdio>

#include "Ctl/CommandSetup.h"
#include "Ctl/Commands.h"
#include "Ctl/Levels.h"

namespace {

struct LevelsOptions {
    std::string file;
};

void ShowLevels(const LevelsOptions &options) {
    PcmFile file(options.file);
    LevelMeter meter;
    for (auto *samples = &file.Read(); !samples->empty(); samples = &file.Read())
        meter.Add(*samples);
    std::printf("%s: %.3f s\n%s", options.file.c_str(), file.Seconds(), meter.Text().c_str());
    file.WarnOfSpareBytes();
}

} // namespace

void AddLevels(CLI::App &program, const CtlOptions &) {
    const auto options = std::make_shared<LevelsOptions>();
    CLI::App *command = program.add_subcommand("levels", "Show peak and RMS level of each channel of a recording");
    command->add_option("FILE", options->file, "Raw recording (.pcm)")->required()->type_name("FILE");
    SetRun(*command, options, ShowLevels);
}
