// The configuration stands alone: it replaces the system's, so that it also defines the
// few other names that ALSA's own tools may want.
#include "CardConfig.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "CardControl.h"

namespace {

std::string Quoted(const std::string &text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

std::string PathField(const char *name, const std::string &path) {
    if (path.empty())
        return {};
    return std::string("    ") + name + ' ' + Quoted(std::filesystem::absolute(path)) + '\n';
}

std::string FilesField(const std::map<uint32_t, std::string> &files) {
    if (files.empty())
        return {};
    std::string text = "    files {\n";
    for (const auto &[channel, path] : files)
        text += "    " + PathField(std::to_string(channel).c_str(), path);
    return text + "    }\n";
}

constexpr const char *ARGUMENTS = R"(    @args [ CARD DEV SUBDEV ]
    @args.CARD {
        type string
        default "0"
    }
    @args.DEV {
        type integer
        default 0
    }
    @args.SUBDEV {
        type integer
        default -1
    }
)";

constexpr const char *OTHER_NAMES = R"(pcm.!null {
    type null
}
pcm.!default "hw:0,0"
)";

} // namespace

// In a build tree the plugin lies beside the programs, else where libasound looks for plugins.
std::string CardConfig::DefaultPlugin() {
    std::error_code failure;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failure);
    const std::filesystem::path built = program.parent_path().parent_path() / "lib/libzrcard.so";
    return std::filesystem::exists(built, failure) ? built.string() : ZR_INSTALLED_PLUGIN;
}

std::string CardConfig::Write(const std::string &directory) {
    const std::filesystem::path base = std::filesystem::absolute(directory);
    m_controlPath = base / "card.control";
    const std::string path = base / "asound.conf";
    std::ofstream file(path, std::ios::trunc);
    file << _Text();
    file.close();
    return file && _WriteControl() ? path : std::string();
}

std::string CardConfig::_Text() const {
    std::ostringstream text;
    text << "# The stand-in card in the place of hw:0,0.\n"
         << "pcm_type.zrcard {\n"
         << PathField("lib", plugin) << "}\n"
         << "pcm.!hw {\n"
         << ARGUMENTS << "    type zrcard\n    card $CARD\n    device $DEV\n    subdevice $SUBDEV\n"
         << PathField("control", m_controlPath) << "    min_periods " << minPeriods << "\n    max_periods "
         << maxPeriods << '\n'
         << FilesField(captureFiles) << PathField("source_raw", captureRaw)
         << PathField("sink_directory", playbackDirectory) << PathField("sink_raw", playbackRaw) << "}\n"
         << OTHER_NAMES;
    return text.str();
}

bool CardConfig::_WriteControl() const {
    CardControl control;
    if (!CardControl::Create(m_controlPath) || !control.Open(m_controlPath))
        return false;
    if (!control.SetSpeed(speed))
        return false;
    if (!clockRunning)
        control.StopClock();
    control.SetPresence(presence);
    return true;
}
