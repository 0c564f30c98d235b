#include "Support/BusDaemon.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <dbus/dbus.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "Support/WaitUntil.h"

namespace {

constexpr int START_MS = 10000;

std::string Escaped(const std::string &path) {
    char *text = dbus_address_escape_value(path.c_str());
    const std::string escaped = text;
    dbus_free(text);
    return escaped;
}

void WriteConfiguration(const std::string &path, const std::string &address, const std::string &policy) {
    std::ofstream(path) << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\"\n"
                           " \"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                           "<busconfig>\n<auth>EXTERNAL</auth>\n<listen>"
                        << address << "</listen>\n"
                        << policy << "\n</busconfig>\n";
}

bool CanConnect(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.copy(address.sun_path, sizeof address.sun_path - 1) < path.size())
        throw std::runtime_error("too long for a socket: " + path);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected = connect(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    close(descriptor);
    return connected;
}

} // namespace

const char *const BusDaemon::OPEN_POLICY =
    "<policy context=\"default\">\n"
    "<allow user=\"*\"/><allow own=\"*\"/>\n"
    "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow receive_sender=\"*\" eavesdrop=\"true\"/>\n"
    "<allow send_requested_reply=\"false\" send_type=\"method_return\"/>\n"
    "<allow receive_requested_reply=\"false\" receive_type=\"method_return\"/>\n"
    "</policy>";

BusDaemon::BusDaemon(const std::string &policy, const std::string &name)
    : m_name(name), m_socketPath(std::filesystem::absolute(name + ".socket")),
      m_address("unix:path=" + Escaped(m_socketPath)) {
    WriteConfiguration(m_name + ".conf", m_address, policy);
    Start();
}

void BusDaemon::UseAsSystemBus() const {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", m_address.c_str(), 1);
}

void BusDaemon::Kill() {
    m_process->Signal(SIGKILL);
    m_process->Wait();
}

void BusDaemon::Start() {
    std::filesystem::remove(m_socketPath);
    const std::string configuration =
        "--config-file=" + m_socketPath.substr(0, m_socketPath.rfind('/') + 1) + m_name + ".conf";
    m_process = std::make_unique<ChildProcess>(
        m_name, std::vector<std::string>{"dbus-daemon", "--nofork", "--nopidfile", "--nosyslog", configuration});
    if (!WaitUntil([this] { return CanConnect(m_socketPath) || !IsRunning(); }, START_MS) || !IsRunning())
        throw std::runtime_error("dbus-daemon does not start: " + Errors());
}
