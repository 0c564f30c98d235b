// See RecordingStart.h.
#include "Ctl/RecordingStart.h"

#include "Ctl/CtlError.h"

namespace {

constexpr const char *OPEN = "fopen ";
constexpr const char *OPENED = " success ,file:";
constexpr const char *REFUSED = "Pcm Audio:Saving recording in progress";

std::string BaseName(const std::string &path) {
    return path.substr(path.rfind('/') + 1);
}

} // namespace

bool RecordingStart::Add(const std::vector<LogRecord> &records) {
    for (const LogRecord &record : records)
        _Add(record.text);
    return m_hasStarted || m_isRefused;
}

void RecordingStart::_Add(const std::string &text) {
    const std::size_t opened = text.find(OPENED);
    if (text == REFUSED) {
        m_isRefused = true; // ours, or that of somebody who came after us
    } else if (text == "Record AudioStream " + std::to_string(m_seconds) + "Sec") {
        m_hasStarted = true;
    } else if (text.starts_with(OPEN) && opened != text.npos) {
        const std::string path = text.substr(std::string(OPEN).size(), opened - std::string(OPEN).size());
        (BaseName(path).starts_with("PcmRd") ? m_capture : m_playback) = path;
    } else if (text.starts_with(OPEN)) {
        m_failure = text.substr(std::string(OPEN).size());
    }
}

void RecordingStart::Check() const {
    if (!m_hasStarted)
        throw CtlError(CtlExit::Recording, "refused: a recording is already running");
    if (!m_failure.empty() || m_capture.empty() || m_playback.empty())
        throw CtlError(CtlExit::NoRecordings, "the service cannot record: " + m_failure);
}
