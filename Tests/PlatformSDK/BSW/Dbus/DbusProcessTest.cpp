// What ends the process, and how it ends, seen from outside.
#include <cstdlib>
#include <string>

#include <signal.h>

#include "DbusFixture.h"
#include "Support/ChildProcess.h"
#include "Support/WaitUntil.h"

using testing::HasSubstr;

namespace {

const std::string CHILD = ZR_BINARY_DIR "/bin/dbus_child";

// The child calls exit in a signal handler, as the service does; ThreadSanitizer would
// object to that.
std::string SanitizerOptions() {
    const char *options = std::getenv("TSAN_OPTIONS");
    return std::string(options ? options : "") + ":report_signal_unsafe=0";
}

} // namespace

class DbusProcessTest : public testing::Test {
  protected:
    // Waits until the child answers.
    void WaitForService() {
        ASSERT_TRUE(WaitUntil([this] { return Call("Echo", "x") == "echo:x"; }, 20000)) << m_child.Stderr();
    }

    std::string Call(const char *method, const char *text) {
        return m_client.Call(NAME, PATH, INTERFACE, method, text);
    }

    void ExpectAbort(const std::string &stderrText) {
        const ExitStatus status = m_child.Wait();
        EXPECT_TRUE(status.signalled);
        EXPECT_EQ(status.signal, SIGABRT);
        EXPECT_THAT(m_child.Stderr(), testing::StartsWith(stderrText));
        EXPECT_THAT(m_child.Stderr(), HasSubstr("std::logic_error"));
        EXPECT_THAT(m_child.Stderr(), HasSubstr("construction from null"));
        EXPECT_EQ(m_child.Stdout(), "");
    }

    ScratchDir m_directory;
    BusDaemon m_bus;
    BusClient m_client{m_bus.Address()};
    ChildProcess m_child{
        "child", {CHILD}, {{"DBUS_SYSTEM_BUS_ADDRESS", m_bus.Address()}, {"TSAN_OPTIONS", SanitizerOptions()}}};
};

TEST_F(DbusProcessTest, CallWithoutArgumentEndsIt) {
    WaitForService();
    m_client.Send(NAME, PATH, INTERFACE, "Echo", NO_ARGUMENT);
    ExpectAbort("Message has no arguments!\n");
}

TEST_F(DbusProcessTest, CallWhoseArgumentIsNoStringEndsIt) {
    WaitForService();
    const BusMessage call(dbus_message_new_method_call(NAME, PATH, INTERFACE, "Echo"), dbus_message_unref);
    const dbus_int32_t number = 1;
    dbus_message_append_args(call.get(), DBUS_TYPE_INT32, &number, DBUS_TYPE_INVALID);
    m_client.Send(call.get());
    ExpectAbort("Argument is not string!\n");
}

TEST_F(DbusProcessTest, CallThatMatchesNothingDoesNotEndIt) {
    WaitForService();
    m_client.Send(NAME, "/other", INTERFACE, "Echo", NO_ARGUMENT);
    m_client.Send(NAME, PATH, INTERFACE, "Other", NO_ARGUMENT);
    EXPECT_EQ(Call("Echo", "alive"), "echo:alive");
}

TEST_F(DbusProcessTest, ExitOnTheWorkerEndsInOrder) {
    WaitForService();
    m_client.Send(NAME, PATH, INTERFACE, "Exit", "7");
    const ExitStatus status = m_child.Wait();
    EXPECT_FALSE(status.timedOut);
    EXPECT_TRUE(status.exited);
    EXPECT_EQ(status.code, 7) << m_child.Stderr();
}

TEST_F(DbusProcessTest, ExitInASignalOnTheWorkerEndsInOrder) {
    WaitForService();
    m_client.Send(NAME, PATH, INTERFACE, "SignalWorker", "");
    const ExitStatus status = m_child.Wait();
    EXPECT_FALSE(status.timedOut);
    EXPECT_EQ(status.code, SIGTERM) << m_child.Stderr();
}

TEST_F(DbusProcessTest, ExitInASignalOnTheMainThreadEndsInOrder) {
    WaitForService();
    m_child.Signal(SIGTERM);
    const ExitStatus status = m_child.Wait();
    EXPECT_FALSE(status.timedOut);
    EXPECT_EQ(status.code, SIGTERM) << m_child.Stderr();
}

TEST_F(DbusProcessTest, LossOfTheBusDoesNotEndIt) {
    WaitForService();
    m_bus.Kill();
    EXPECT_FALSE(WaitUntil([this] { return !m_child.IsRunning(); }, 500));
    m_child.Signal(SIGTERM); // and it can still end in order
    EXPECT_EQ(m_child.Wait().code, SIGTERM) << m_child.Stderr();
}

TEST_F(DbusProcessTest, LossOfTheBusBeforeTheNextCallDoesNotEndIt) {
    WaitForService();
    for (int i = 0; i < 50; ++i) // calls and replies under way
        m_client.Send(NAME, PATH, INTERFACE, "Echo", "x");
    m_bus.Kill();
    m_bus.Start();
    EXPECT_FALSE(WaitUntil([this] { return !m_child.IsRunning(); }, 500));
}
