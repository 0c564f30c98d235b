// See DeskOperator.h.
#include "Desk/DeskOperator.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

namespace {

constexpr int ANSWER_MS = 10000;
constexpr int RECORDING_MARGIN_MS = 10000; // beyond the seconds recorded
constexpr const char *RECORDINGS = "/firmware/audio";

std::string TextOf(const std::string &path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

// What was recorded from `start` on.
std::vector<std::filesystem::path> RecordedFiles(std::filesystem::file_time_type start) {
    std::vector<std::filesystem::path> files;
    std::error_code none;
    for (std::filesystem::directory_iterator file(RECORDINGS, none), end; file != end; file.increment(none))
        if (file->path().extension() == ".pcm" && file->last_write_time(none) >= start)
            files.push_back(file->path());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

DeskOperator::DeskOperator(std::string program, std::string busAddress, std::string out)
    : m_program(std::move(program)), m_busAddress(std::move(busAddress)), m_out(std::move(out)) {}

bool DeskOperator::_Start(DeskChild &child, const std::vector<std::string> &arguments,
                          const std::string &outputPath) const {
    DeskChildCommand command;
    command.argv = {m_program};
    command.argv.insert(command.argv.end(), arguments.begin(), arguments.end());
    command.environment = {{"DBUS_SYSTEM_BUS_ADDRESS", m_busAddress}};
    command.outputPath = outputPath;
    return child.Start(command);
}

std::string DeskOperator::_Ask(const std::vector<std::string> &arguments) {
    const std::string answer = m_out + "/" + arguments.front() + ".txt";
    std::error_code none;
    std::filesystem::remove(answer, none);
    DeskChild child(m_program);
    if (!_Start(child, arguments, answer))
        return m_program + " cannot be started\n";
    if (!child.End(0, ANSWER_MS))
        return m_program + " did not answer\n";
    return TextOf(answer);
}

void DeskOperator::StartRecording(int seconds) {
    std::error_code none;
    std::filesystem::create_directories(RECORDINGS, none); // the service makes none
    m_seconds = seconds;
    m_start = std::filesystem::file_time_type::clock::now();
    _Start(m_recording, {"record", std::to_string(seconds)}, m_out + "/record.txt");
}

std::string DeskOperator::RecordingLevels() {
    if (!m_recording.IsStarted())
        return {};
    m_recording.End(0, m_seconds * 1000 + RECORDING_MARGIN_MS);
    if (!m_recording.EndedWell())
        return "no recording: " + TextOf(m_out + "/record.txt");
    std::string levels;
    for (const std::filesystem::path &recorded : RecordedFiles(m_start)) {
        const std::string kept = m_out + "/" + recorded.filename().string();
        std::error_code failure;
        std::filesystem::copy_file(recorded, kept, failure);
        levels += failure ? kept + ": " + failure.message() + "\n" : _Ask({"levels", kept});
    }
    return levels;
}

std::string DeskOperator::NodeReport() {
    return _Ask({"status"});
}
