// See PrivateBus.h.
#include "Desk/PrivateBus.h"

#include <cctype>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <thread>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int START_MS = 5000;

// A path as it stands in a bus address (which is safe inside XML, too).
std::string Escaped(const std::string &path) {
    std::string escaped;
    for (const char c : path) {
        char code[4];
        std::snprintf(code, sizeof code, "%%%02x", static_cast<unsigned char>(c));
        const bool plain = std::isalnum(static_cast<unsigned char>(c)) || c == '/' || c == '.' || c == '_' || c == '-';
        escaped += plain ? std::string(1, c) : code;
    }
    return escaped;
}

bool CanConnect(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.copy(address.sun_path, sizeof address.sun_path - 1) < path.size())
        return false;
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected = connect(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    close(descriptor);
    return connected;
}

bool WriteConfiguration(const std::string &path, const std::string &address) {
    std::ofstream file(path);
    file << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
            " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
            "<busconfig>\n"
            "  <auth>EXTERNAL</auth>\n"
            "  <listen>"
         << address
         << "</listen>\n"
            "  <policy context=\"default\">\n"
            "    <allow user=\"*\"/>\n"
            "    <allow own=\"*\"/>\n"
            "    <allow send_destination=\"*\" eavesdrop=\"true\"/>\n"
            "    <allow receive_sender=\"*\"/>\n"
            "    <allow eavesdrop=\"true\"/>\n"
            "  </policy>\n"
            "</busconfig>\n";
    file.close();
    return bool(file);
}

} // namespace

bool PrivateBus::Start(const std::string &directory, const std::string &logPath, std::string &error) {
    m_socketPath = directory + "/bus";
    m_address = "unix:path=" + Escaped(m_socketPath);
    const std::string configuration = directory + "/bus.conf";
    if (!WriteConfiguration(configuration, m_address)) {
        error = configuration + " could not be written";
        return false;
    }
    DeskChildCommand command;
    command.argv = {"dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + configuration};
    command.outputPath = logPath;
    if (!m_process.Start(command) || !_WaitForSocket()) {
        error = "dbus-daemon does not start, see " + logPath;
        return false;
    }
    return true;
}

bool PrivateBus::_WaitForSocket() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(START_MS);
    while (m_process.IsRunning() && std::chrono::steady_clock::now() < deadline) {
        if (CanConnect(m_socketPath))
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}
