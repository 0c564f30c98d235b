// A second party on the test's bus: it calls, owns names, sends and receives messages
// on a private connection of its own. One thread uses it.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include <dbus/dbus.h>

// Owns a reference to a message.
using BusMessage = std::unique_ptr<DBusMessage, void (*)(DBusMessage *)>;

// A message that carries no argument at all.
constexpr const char *NO_ARGUMENT = nullptr;

// The first argument of `message` if that is a string, else "".
std::string FirstString(DBusMessage *message);

class BusClient {
  public:
    // Connects to the bus at `address`. Throws std::runtime_error when that fails.
    explicit BusClient(const std::string &address);
    ~BusClient();

    BusClient(const BusClient &) = delete;
    BusClient &operator=(const BusClient &) = delete;

    // ":1.7", the name the bus gave.
    std::string UniqueName() const;

    // Asks for a bus name with DBUS_NAME_FLAG_*; the bus's DBUS_REQUEST_NAME_REPLY_*.
    int RequestName(const char *name, unsigned flags);

    // Sees every message of the bus from now on. Nothing else can be done afterwards.
    void BecomeMonitor();

    // Subscribes to what the match rule describes.
    void AddMatch(const std::string &rule);

    // Sends a method call with `text` as its one argument (NO_ARGUMENT: none). The
    // serial of the message.
    dbus_uint32_t Send(const char *destination, const char *path, const char *interface, const char *member,
                       const char *text);

    // The same for a message made by the caller.
    dbus_uint32_t Send(DBusMessage *message);

    // Calls and waits for the reply: its text, or the name of the error.
    std::string Call(const char *destination, const char *path, const char *interface, const char *member,
                     const char *text, int timeoutMs = 5000);

    // The next message for which `wanted` holds; those before it are dropped. Null
    // after `timeoutMs`.
    BusMessage Receive(const std::function<bool(DBusMessage *)> &wanted, int timeoutMs = 5000);

    // The next method call of `member`, the next reply (also an error) to `serial`.
    BusMessage ReceiveCall(const char *member, int timeoutMs = 5000);
    BusMessage ReceiveReply(dbus_uint32_t serial, int timeoutMs = 5000);

    // Answers `call` with `text` as the one argument (NO_ARGUMENT: none).
    void Reply(DBusMessage *call, const char *text);

    DBusConnection *Connection() const { return m_connection; }

  private:
    DBusConnection *m_connection = nullptr;
};
