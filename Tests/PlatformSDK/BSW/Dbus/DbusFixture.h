// The one bus connection of the process on a private bus, with another party beside it,
// and handlers that keep what they were given.
#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "BSW/Dbus/DbusHandler.h"
#include "Support/BusClient.h"
#include "Support/BusDaemon.h"
#include "Support/LogCapture.h"

constexpr const char *NAME = "org.test.server";
constexpr const char *PATH = "/org/test/object";
constexpr const char *INTERFACE = "org.test.interface";

// Looks into the connection.
class DbusHandlerProbe {
  public:
    static std::vector<DBUS_SERVICES> Services() {
        CGuard guard(Handler().m_Mutex);
        return Handler().m_VcDbusServices;
    }

    // What the worker does with the next message of the queue.
    static int HandleMessage(std::vector<DBUS_SERVICES> services) {
        return Handler().HandleMessage(services, static_cast<int>(services.size()));
    }

    static bool QueryMessage(int timeoutMs) { return Handler().QueryMessage(timeoutMs); }
    static bool Loops() { return RelaxedLoad(Handler().m_bLoop); }

  private:
    static CDbusHandler &Handler() { return *CDbusHandler::instance(); }
};

class DbusTest : public testing::Test {
  protected:
    explicit DbusTest(const std::string &policy = BusDaemon::OPEN_POLICY);

    // Connects and claims NAME; expects success and nothing but the worker's first line
    // in the log, which is then forgotten.
    void Init();

    // Registers a method of PATH and INTERFACE.
    static int Register(const char *method, PFN_DBUS_INVOKE handler);
    static int RegisterSignal(const char *signal, PFN_DBUS_INVOKE handler);

    // Calls the method of PATH and INTERFACE at NAME.
    std::string Call(const char *method, const char *text, int timeoutMs = 5000);

    // Sends the signal of `path` and INTERFACE with `text`.
    void Emit(const char *signal, const char *text, const char *path = PATH);

    static CDbusHandler &Handler() { return *CDbusHandler::instance(); }

    LogCapture m_log;
    BusDaemon m_bus;
    BusClient m_client;
};

// A handler that answers "echo:" and the text.
const std::string Echo(const std::string &text);

// Handlers that keep their text; two, to be told apart.
const std::string KeepFirst(const std::string &text);  // answers "first"
const std::string KeepSecond(const std::string &text); // answers "second"

// "first:TEXT", "second:TEXT" in the order of the calls.
std::vector<std::string> Kept();

// Waits until `count` texts were kept. False after a bounded time.
bool WaitForKept(std::size_t count);
