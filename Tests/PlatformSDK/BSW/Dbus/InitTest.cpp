// Reaching the bus, claiming the name, and what is logged when that fails.
#include <stdlib.h>
#include <unistd.h>

#include "DbusFixture.h"
#include "Support/WaitUntil.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr const char *REFUSED = "E Err: DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER\n";

std::string ThreadLine() {
    return "D Enter CDbusHandler Thread, thread PID = " + std::to_string(CDbusHandler::instance()->GetThreadID()) +
           ", PPID = " + std::to_string(getppid()) + ".";
}

// Waits until the worker has written its first line.
bool WaitForWorker(const LogCapture &log) {
    return WaitUntil([&] {
        const std::vector<std::string> texts = log.Texts();
        return !texts.empty() && texts.back() == ThreadLine();
    });
}

// The test's log, with no bus at the address.
class NoBusTest : public testing::Test {
  protected:
    NoBusTest() { setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + m_log.Directory().Path() + "/none").c_str(), 1); }

    LogCapture m_log;
};

} // namespace

class InitTest : public DbusTest {};

TEST_F(InitTest, AsksForTheNameAndNothingElse) {
    BusClient monitor(m_bus.Address());
    monitor.BecomeMonitor();
    Init();
    const BusMessage request = monitor.ReceiveCall("RequestName");
    ASSERT_TRUE(request);
    const char *name = nullptr;
    dbus_uint32_t flags = 0;
    ASSERT_TRUE(dbus_message_get_args(request.get(), nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_UINT32, &flags,
                                      DBUS_TYPE_INVALID));
    EXPECT_STREQ(name, NAME);
    EXPECT_EQ(flags, 2u);
    EXPECT_STREQ(dbus_message_get_destination(request.get()), "org.freedesktop.DBus");
    EXPECT_TRUE(WaitForThreadNamed("CDbusHandler"));
    EXPECT_FALSE(Handler().IsThreadOver());
    EXPECT_STREQ(Handler().GetThreadName(), "CDbusHandler");
}

TEST_F(InitTest, CleanUpLeavesEverythingAsItIs) {
    Init();
    Register("Echo", Echo);
    EXPECT_EQ(Handler().CleanUp(), 1);
    EXPECT_EQ(Call("Echo", "x"), "echo:x");
    EXPECT_TRUE(DbusHandlerProbe::Loops());
}

TEST_F(InitTest, ReplacesAnOwnerThatAllowsIt) {
    ASSERT_EQ(m_client.RequestName(NAME, DBUS_NAME_FLAG_ALLOW_REPLACEMENT), 1);
    Init();
    Register("Echo", Echo);
    BusClient other(m_bus.Address());
    EXPECT_EQ(other.Call(NAME, PATH, INTERFACE, "Echo", "x"), "echo:x");
}

TEST_F(InitTest, NameOfAnotherOwnerIsOnlyLogged) {
    ASSERT_EQ(m_client.RequestName(NAME, 0), 1);
    EXPECT_TRUE(Handler().Init(NAME));
    EXPECT_TRUE(WaitForWorker(m_log));
    EXPECT_THAT(m_log.Texts(), ElementsAre(REFUSED, ThreadLine()));
    Register("Echo", Echo); // still answers under its other name, and waits in the queue for this one
    m_client.Send("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ReleaseName", NAME);
    EXPECT_EQ(Call("Echo", "x"), "echo:x");
}

TEST_F(InitTest, MalformedNameIsOnlyLogged) {
    EXPECT_TRUE(Handler().Init("no name"));
    EXPECT_TRUE(WaitForWorker(m_log));
    const std::vector<std::string> texts = m_log.Texts();
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_THAT(texts[0], testing::StartsWith("E dbus_bus_request_name: "));
    EXPECT_THAT(texts[0], testing::EndsWith("\n"));
}

TEST_F(InitTest, NullNameIsOnlyLogged) {
    EXPECT_TRUE(Handler().Init(nullptr));
    EXPECT_TRUE(m_log.WaitFor("E dbus_bus_request_name: No bus name\n"));
    EXPECT_TRUE(WaitForWorker(m_log));
}

TEST_F(InitTest, NameOfTheBusItselfIsRefusedByTheBus) {
    EXPECT_TRUE(Handler().Init("org.freedesktop.DBus"));
    EXPECT_TRUE(WaitForWorker(m_log));
    EXPECT_THAT(m_log.Texts()[0], HasSubstr("E dbus_bus_request_name: Connection \":1."));
}

TEST_F(InitTest, SecondInitKeepsConnectionAndWorker) {
    Init();
    const int worker = Handler().GetThreadID();
    Register("Echo", Echo);
    EXPECT_TRUE(Handler().Init(NAME));
    EXPECT_THAT(m_log.Texts(), ElementsAre(REFUSED)); // already the owner, which is not the answer asked for
    EXPECT_EQ(Handler().GetThreadID(), worker);
    EXPECT_EQ(Call("Echo", "x"), "echo:x");
}

TEST_F(NoBusTest, InitSucceedsAllTheSame) {
    EXPECT_TRUE(CDbusHandler::instance()->Init(NAME));
    EXPECT_TRUE(WaitForWorker(m_log));
    const std::vector<std::string> texts = m_log.Texts();
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_THAT(texts[0], testing::MatchesRegex("E dbus_bus_get: Failed to connect to socket .*/none: .*\n"));
    EXPECT_TRUE(DbusHandlerProbe::Loops());
    EXPECT_FALSE(DbusHandlerProbe::QueryMessage(20));
}

TEST_F(NoBusTest, EveryOperationFailsWithItsText) {
    CDbusHandler &handler = *CDbusHandler::instance();
    handler.Init(NAME);
    ASSERT_TRUE(WaitForWorker(m_log));
    m_log.Clear();
    std::string reply = "kept";
    EXPECT_EQ(handler.RegisteredServices(PATH, INTERFACE, "Call", Echo, false), 1);
    EXPECT_EQ(handler.RegisteredServices(PATH, INTERFACE, "Signal", Echo, true), 1);
    EXPECT_EQ(handler.SignalSend(PATH, INTERFACE, "Signal", "x"), 0);
    EXPECT_EQ(handler.MethodSend(NAME, PATH, INTERFACE, "Call", "x"), 0);
    EXPECT_EQ(handler.MethodSendGetReply(NAME, PATH, INTERFACE, "Call", "text", reply, 1000), 0);
    EXPECT_EQ(reply, "kept");
    EXPECT_THAT(m_log.Texts(),
                ElementsAre("E dbus_bus_add_math Error: Connection is closed", "E m_dbusConn not vaild!",
                            "E dbus_connection_send: Out of Memory!",
                            "E Error org.freedesktop.DBus.Error.Disconnected: Connection is closed! SendMsg: text "));
    EXPECT_EQ(DbusHandlerProbe::Services().size(), 2u);
    EXPECT_TRUE(DbusHandlerProbe::Loops());
}

TEST_F(NoBusTest, ReadingWithoutAConnectionSaysSo) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(DbusHandlerProbe::HandleMessage({}), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "m_dbusConn not vaild!\n");
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(NoBusTest, BeforeInitNothingIsSent) {
    EXPECT_EQ(CDbusHandler::instance()->SignalSend(nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E m_dbusConn not vaild!")); // before the arguments are looked at
}
