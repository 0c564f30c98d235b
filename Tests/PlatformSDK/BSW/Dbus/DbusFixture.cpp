#include "DbusFixture.h"

#include <mutex>

#include <unistd.h>

#include "Support/WaitUntil.h"

namespace {

std::mutex keptMutex;
std::vector<std::string> kept;

void Keep(const std::string &text) {
    const std::lock_guard guard(keptMutex);
    kept.push_back(text);
}

} // namespace

DbusTest::DbusTest(const std::string &policy) : m_bus(policy), m_client(m_bus.Address()) {
    m_bus.UseAsSystemBus();
}

void DbusTest::Init() {
    ASSERT_TRUE(Handler().Init(NAME));
    ASSERT_TRUE(WaitUntil([this] { return !m_log.Texts().empty(); }));
    ASSERT_THAT(m_log.TextsOf("DbusHandler.cpp"), testing::ElementsAre("D Enter CDbusHandler Thread, thread PID = " +
                                                                       std::to_string(Handler().GetThreadID()) +
                                                                       ", PPID = " + std::to_string(getppid()) + "."));
    m_log.Clear();
}

int DbusTest::Register(const char *method, PFN_DBUS_INVOKE handler) {
    return Handler().RegisteredServices(PATH, INTERFACE, method, handler, false);
}

int DbusTest::RegisterSignal(const char *signal, PFN_DBUS_INVOKE handler) {
    return Handler().RegisteredServices(PATH, INTERFACE, signal, handler, true);
}

std::string DbusTest::Call(const char *method, const char *text, int timeoutMs) {
    return m_client.Call(NAME, PATH, INTERFACE, method, text, timeoutMs);
}

void DbusTest::Emit(const char *signal, const char *text, const char *path) {
    const BusMessage message(dbus_message_new_signal(path, INTERFACE, signal), dbus_message_unref);
    if (text)
        dbus_message_append_args(message.get(), DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    m_client.Send(message.get());
}

const std::string Echo(const std::string &text) {
    return "echo:" + text;
}

const std::string KeepFirst(const std::string &text) {
    Keep("first:" + text);
    return "first";
}

const std::string KeepSecond(const std::string &text) {
    Keep("second:" + text);
    return "second";
}

std::vector<std::string> Kept() {
    const std::lock_guard guard(keptMutex);
    return kept;
}

bool WaitForKept(std::size_t count) {
    return WaitUntil([count] { return Kept().size() >= count; });
}
