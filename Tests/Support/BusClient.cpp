#include "Support/BusClient.h"

#include <chrono>
#include <stdexcept>

namespace {

using Clock = std::chrono::steady_clock;

class Error {
  public:
    Error() { dbus_error_init(&m_error); }
    ~Error() { dbus_error_free(&m_error); }
    Error(const Error &) = delete;
    Error &operator=(const Error &) = delete;

    DBusError *Get() { return &m_error; }
    std::string Name() const { return m_error.name ? m_error.name : ""; }

    void ThrowIfSet() const {
        if (m_error.name)
            throw std::runtime_error(Name() + ": " + m_error.message);
    }

  private:
    DBusError m_error;
};

BusMessage Owned(DBusMessage *message) {
    return BusMessage(message, dbus_message_unref);
}

void Append(DBusMessage *message, const char *text) {
    if (text)
        dbus_message_append_args(message, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
}

BusMessage NewCall(const char *destination, const char *path, const char *interface, const char *member,
                   const char *text) {
    BusMessage call = Owned(dbus_message_new_method_call(destination, path, interface, member));
    Append(call.get(), text);
    return call;
}

int LeftMs(Clock::time_point deadline) {
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count());
}

} // namespace

std::string FirstString(DBusMessage *message) {
    DBusMessageIter argument;
    if (!dbus_message_iter_init(message, &argument) || dbus_message_iter_get_arg_type(&argument) != DBUS_TYPE_STRING)
        return "";
    const char *text = nullptr;
    dbus_message_iter_get_basic(&argument, &text);
    return text;
}

BusClient::BusClient(const std::string &address) {
    Error error;
    m_connection = dbus_connection_open_private(address.c_str(), error.Get());
    error.ThrowIfSet();
    dbus_connection_set_exit_on_disconnect(m_connection, FALSE);
    dbus_bus_register(m_connection, error.Get());
    error.ThrowIfSet();
}

BusClient::~BusClient() {
    dbus_connection_close(m_connection);
    dbus_connection_unref(m_connection);
}

std::string BusClient::UniqueName() const {
    return dbus_bus_get_unique_name(m_connection);
}

int BusClient::RequestName(const char *name, unsigned flags) {
    Error error;
    const int reply = dbus_bus_request_name(m_connection, name, flags, error.Get());
    error.ThrowIfSet();
    return reply;
}

void BusClient::BecomeMonitor() {
    BusMessage call = Owned(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS,
                                                         "org.freedesktop.DBus.Monitoring", "BecomeMonitor"));
    const char **noRules = nullptr;
    const dbus_uint32_t flags = 0;
    dbus_message_append_args(call.get(), DBUS_TYPE_ARRAY, DBUS_TYPE_STRING, &noRules, 0, DBUS_TYPE_UINT32, &flags,
                             DBUS_TYPE_INVALID);
    Error error;
    Owned(dbus_connection_send_with_reply_and_block(m_connection, call.get(), 5000, error.Get()));
    error.ThrowIfSet();
}

void BusClient::AddMatch(const std::string &rule) {
    Error error;
    dbus_bus_add_match(m_connection, rule.c_str(), error.Get());
    error.ThrowIfSet();
}

dbus_uint32_t BusClient::Send(DBusMessage *message) {
    dbus_uint32_t serial = 0;
    dbus_connection_send(m_connection, message, &serial);
    dbus_connection_flush(m_connection);
    return serial;
}

dbus_uint32_t BusClient::Send(const char *destination, const char *path, const char *interface, const char *member,
                              const char *text) {
    return Send(NewCall(destination, path, interface, member, text).get());
}

std::string BusClient::Call(const char *destination, const char *path, const char *interface, const char *member,
                            const char *text, int timeoutMs) {
    const BusMessage call = NewCall(destination, path, interface, member, text);
    Error error;
    const BusMessage reply =
        Owned(dbus_connection_send_with_reply_and_block(m_connection, call.get(), timeoutMs, error.Get()));
    return reply ? FirstString(reply.get()) : error.Name();
}

BusMessage BusClient::Receive(const std::function<bool(DBusMessage *)> &wanted, int timeoutMs) {
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        while (BusMessage message = Owned(dbus_connection_pop_message(m_connection)))
            if (wanted(message.get()))
                return message;
        const int leftMs = LeftMs(deadline);
        if (leftMs <= 0 || !dbus_connection_read_write(m_connection, leftMs))
            return Owned(nullptr);
    }
}

BusMessage BusClient::ReceiveCall(const char *member, int timeoutMs) {
    return Receive(
        [member](DBusMessage *message) {
            return dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_METHOD_CALL &&
                   dbus_message_has_member(message, member);
        },
        timeoutMs);
}

BusMessage BusClient::ReceiveReply(dbus_uint32_t serial, int timeoutMs) {
    return Receive([serial](DBusMessage *message) { return dbus_message_get_reply_serial(message) == serial; },
                   timeoutMs);
}

void BusClient::Reply(DBusMessage *call, const char *text) {
    const BusMessage reply = Owned(dbus_message_new_method_return(call));
    Append(reply.get(), text);
    Send(reply.get());
}
