// See BusCall.h.
#include "Ctl/BusCall.h"

#include <memory>

#include <dbus/dbus.h>

#include "Ctl/CtlError.h"

namespace {

constexpr const char *NAME = "org.FpgaMng.server";
constexpr const char *PATH = "/org/FpgaMng/object";
constexpr const char *INTERFACE = "org.FpgaMng.interface";
constexpr const char *METHOD = "audio_dbus_method_FpgaMngDebug";
constexpr const char *SUCCESS = "{\"res\":0}";

using Message = std::unique_ptr<DBusMessage, decltype(&dbus_message_unref)>;

struct Error : DBusError {
    Error() { dbus_error_init(this); }
    ~Error() { dbus_error_free(this); }
    Error(const Error &) = delete;
    Error &operator=(const Error &) = delete;

    bool Is(const char *error) const { return dbus_error_has_name(this, error); }
};

// A private connection, so that closing it is ours; it never ends the process.
class Connection {
  public:
    Connection() {
        Error error;
        m_connection = dbus_bus_get_private(DBUS_BUS_SYSTEM, &error);
        if (!m_connection)
            throw CtlError(CtlExit::NoBus, std::string("no system bus: ") + error.message);
        dbus_connection_set_exit_on_disconnect(m_connection, FALSE);
    }

    ~Connection() {
        dbus_connection_close(m_connection);
        dbus_connection_unref(m_connection);
    }

    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    DBusConnection *Get() const { return m_connection; }

  private:
    DBusConnection *m_connection = nullptr;
};

Message NewCall(const std::string &text) {
    Message call(dbus_message_new_method_call(NAME, PATH, INTERFACE, METHOD), dbus_message_unref);
    const char *argument = text.c_str();
    if (!call || !dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &argument, DBUS_TYPE_INVALID))
        throw CtlError(CtlExit::Failed, "out of memory");
    dbus_message_set_auto_start(call.get(), FALSE);
    return call;
}

[[noreturn]] void FailWithoutService() {
    throw CtlError(CtlExit::NoService, std::string("no service: nobody owns ") + NAME + " on the bus");
}

[[noreturn]] void Fail(const Error &error, int timeoutMs) {
    if (error.Is(DBUS_ERROR_NAME_HAS_NO_OWNER) || error.Is(DBUS_ERROR_SERVICE_UNKNOWN))
        FailWithoutService();
    if (error.Is(DBUS_ERROR_ACCESS_DENIED))
        throw CtlError(CtlExit::Denied, "denied: the bus's policy lets only root and the group audio call the service");
    if (error.Is(DBUS_ERROR_DISCONNECTED))
        throw CtlError(CtlExit::NoBus, "the system bus went away");
    if (error.Is(DBUS_ERROR_NO_REPLY) || error.Is(DBUS_ERROR_TIMEOUT) || error.Is(DBUS_ERROR_TIMED_OUT))
        throw CtlError(CtlExit::NoAnswer, "no answer from the service (waited at most " +
                                              std::to_string(timeoutMs / 1000.0).substr(0, 5) + " s)");
    throw CtlError(CtlExit::Refused, std::string("the service refused: ") + error.message);
}

std::string TextOf(DBusMessage *reply) {
    Error error;
    const char *text = nullptr;
    if (!dbus_message_get_args(reply, &error, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID))
        throw CtlError(CtlExit::Refused, "the service's reply is not a text");
    return text;
}

} // namespace

std::string zr_ctl_call(const std::string &text, int timeoutMs) {
    const Connection connection;
    const Message call = NewCall(text);
    Error error;
    const Message reply(dbus_connection_send_with_reply_and_block(connection.Get(), call.get(), timeoutMs, &error),
                        dbus_message_unref);
    if (!reply) {
        // A bus that dies meanwhile may look like a missing reply.
        if (!dbus_connection_get_is_connected(connection.Get()))
            throw CtlError(CtlExit::NoBus, "the system bus went away");
        Fail(error, timeoutMs);
    }
    return TextOf(reply.get());
}

void zr_ctl_command(const std::string &text, int timeoutMs) {
    const std::string reply = zr_ctl_call(text, timeoutMs);
    if (reply != SUCCESS)
        throw CtlError(CtlExit::Refused, "the service refused '" + text + "': " + reply);
}

void zr_ctl_check_service() {
    const Connection connection;
    if (!dbus_bus_name_has_owner(connection.Get(), NAME, nullptr))
        FailWithoutService();
}
