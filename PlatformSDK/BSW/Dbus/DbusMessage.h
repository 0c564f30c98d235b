// Messages and errors of libdbus as owned objects. libdbus ends the process on malformed
// names and texts that are not UTF-8; what is built here is checked first, so that bad
// input is an ordinary failure. Any thread; one thread at a time per object.
#pragma once

#include <memory>
#include <string>

#include <dbus/dbus.h>

struct DbusMessageUnref {
    void operator()(DBusMessage *message) const { dbus_message_unref(message); }
};

// Owns one reference to a message, or nothing.
using DbusMessagePtr = std::unique_ptr<DBusMessage, DbusMessageUnref>;

// An error as libdbus reports it; freed at the end of the scope.
class CDbusError {
  public:
    CDbusError() { dbus_error_init(&m_error); }
    ~CDbusError() { dbus_error_free(&m_error); }
    CDbusError(const CDbusError &) = delete;
    CDbusError &operator=(const CDbusError &) = delete;

    // To be filled by libdbus.
    DBusError *Get() { return &m_error; }

    // Sets the error that libdbus reports for a connection that was closed.
    void SetDisconnected() { dbus_set_error_const(&m_error, DBUS_ERROR_DISCONNECTED, "Connection is closed"); }

    bool IsSet() const { return dbus_error_is_set(&m_error); }
    const char *Name() const { return m_error.name; }
    const char *Message() const { return m_error.message; }

  private:
    DBusError m_error;
};

// A signal from object `path`. Empty when a name is malformed or memory is short.
DbusMessagePtr DbusNewSignal(const char *path, const char *interface, const char *member);

// A method call to `destination` (may be null). Empty when a name is malformed or memory
// is short.
DbusMessagePtr DbusNewMethodCall(const char *destination, const char *path, const char *interface, const char *member);

// Appends `text` as one string argument. False when the text is null or not UTF-8, there
// is no message, or memory is short.
bool DbusAppendText(DBusMessage *message, const char *text);

enum class DbusArgument { NONE, NOT_STRING, STRING };

// What the first argument of `message` is. `*text` is set only for STRING and valid as
// long as the message.
DbusArgument DbusReadText(DBusMessage *message, const char **text);

// `text` as a string. Throws the standard library's std::logic_error when it is null.
std::string DbusTextOf(const char *text);
