// See DeskCaller.h.
#include "Desk/DeskCaller.h"

#include <chrono>
#include <cstring>
#include <memory>
#include <utility>

#include <dbus/dbus.h>

#include "Sound/BlockPacer.h"

namespace {

constexpr int ANSWER_MS = 10000;

// The heaviest command and the lightest one that changes nothing.
constexpr const char *COMMANDS[] = {"NodeInfo", "PrintSwitch_0_0"};

using Message = std::unique_ptr<DBusMessage, decltype(&dbus_message_unref)>;

// A connection of the caller's own; null when the bus cannot be reached.
struct Connection {
    DBusConnection *bus = nullptr;

    explicit Connection(const std::string &address) : bus(dbus_connection_open_private(address.c_str(), nullptr)) {
        if (!bus)
            return;
        dbus_connection_set_exit_on_disconnect(bus, FALSE);
        dbus_bus_register(bus, nullptr); // where it fails every call fails, too
    }
    ~Connection() {
        if (!bus)
            return;
        dbus_connection_close(bus);
        dbus_connection_unref(bus);
    }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
};

// Sends `command` and waits for the reply. True when that is {"res":0}.
bool Call(DBusConnection *bus, const char *command) {
    const Message call(dbus_message_new_method_call("org.FpgaMng.server", "/org/FpgaMng/object",
                                                    "org.FpgaMng.interface", "audio_dbus_method_FpgaMngDebug"),
                       dbus_message_unref);
    if (!call || !dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &command, DBUS_TYPE_INVALID))
        return false;
    const Message reply(dbus_connection_send_with_reply_and_block(bus, call.get(), ANSWER_MS, nullptr),
                        dbus_message_unref);
    const char *text = "";
    return reply && dbus_message_get_args(reply.get(), nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID) &&
           std::strcmp(text, "{\"res\":0}") == 0;
}

} // namespace

DeskCaller::DeskCaller(std::string busAddress, double callsPerSecond)
    : m_busAddress(std::move(busAddress)), m_callsPerSecond(callsPerSecond) {}

void DeskCaller::Start() {
    m_startNs = MonotonicNs();
    m_thread = std::jthread([this](const std::stop_token &stop) { _Run(stop); });
}

void DeskCaller::Stop() {
    if (!m_thread.joinable())
        return;
    m_thread.request_stop();
    m_thread.join();
    m_stopNs = MonotonicNs();
}

double DeskCaller::Seconds() const {
    return static_cast<double>((m_stopNs ? m_stopNs : MonotonicNs()) - m_startNs) / 1e9;
}

// The calls are due on a fixed grid: after a late one the next follow at once.
void DeskCaller::_Run(const std::stop_token &stop) {
    const Connection connection(m_busAddress);
    const std::chrono::duration<double> period(1 / m_callsPerSecond);
    const auto start = std::chrono::steady_clock::now();
    while (!stop.stop_requested()) {
        if (!connection.bus || !Call(connection.bus, COMMANDS[m_calls % std::size(COMMANDS)]))
            ++m_failed;
        ++m_calls;
        std::this_thread::sleep_until(start + period * static_cast<double>(m_calls));
    }
}
