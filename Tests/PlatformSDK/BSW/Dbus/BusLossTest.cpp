// The bus goes away: the process stays, the worker pauses, nothing connects again.
#include <fstream>
#include <string>

#include "DbusFixture.h"
#include "Support/WaitUntil.h"

using testing::ElementsAre;

namespace {

BusDaemon *ownBus = nullptr; // of the test, for LoseTheBus

// Answers when the connection already knows that its bus is gone.
const std::string LoseTheBus(const std::string &text) {
    ownBus->Kill();
    std::string reply;
    CDbusHandler::instance()->MethodSendGetReply(NAME, PATH, INTERFACE, "Call", text, reply, 10000);
    return "too late";
}

// CPU time of the worker so far, in ns.
unsigned long long WorkerTime() {
    unsigned long long time = 0;
    std::ifstream("/proc/self/task/" + std::to_string(CDbusHandler::instance()->GetThreadID()) + "/schedstat") >> time;
    return time;
}

} // namespace

class BusLossTest : public DbusTest {
  protected:
    BusLossTest() { Init(); }

    // Kills the bus and waits until the connection knows it.
    void KillBus() {
        m_bus.Kill();
        ASSERT_TRUE(WaitUntil([] { return !DbusHandlerProbe::QueryMessage(1); }));
    }

    // The worker goes round, and rests in between.
    static void ExpectPausingWorker() {
        const unsigned long long before = WorkerTime();
        EXPECT_FALSE(WaitUntil([] { return !DbusHandlerProbe::Loops(); }, 300));
        const unsigned long long after = WorkerTime();
        EXPECT_GT(after, before);
        EXPECT_LT(after - before, 100'000'000u);
        EXPECT_TRUE(WaitForThreadNamed("CDbusHandler"));
    }
};

TEST_F(BusLossTest, WorkerPauses) {
    Register("Echo", Echo);
    ASSERT_EQ(Call("Echo", "x"), "echo:x");
    KillBus();
    ExpectPausingWorker();
}

TEST_F(BusLossTest, WorkerWithoutServicesPauses) {
    KillBus();
    ExpectPausingWorker();
}

TEST_F(BusLossTest, EveryOperationFailsWithItsText) {
    Register("Echo", Echo);
    KillBus();
    std::string reply = "kept";
    EXPECT_EQ(Handler().SignalSend(PATH, INTERFACE, "Ping", "x"), 0);
    EXPECT_EQ(Handler().MethodSend(NAME, PATH, INTERFACE, "Call", "x"), 0);
    EXPECT_EQ(Handler().MethodSendGetReply(NAME, PATH, INTERFACE, "Call", "text", reply, 1000), 0);
    EXPECT_EQ(RegisterSignal("Ping", Echo), 1);
    EXPECT_EQ(reply, "kept");
    EXPECT_THAT(m_log.Texts(),
                ElementsAre("E dbus_connection_send Error!", "E dbus_connection_send: Out of Memory!",
                            "E Error org.freedesktop.DBus.Error.Disconnected: Connection is closed! SendMsg: text ",
                            "E dbus_bus_add_math Error: Connection is closed"));
    EXPECT_EQ(DbusHandlerProbe::Services().size(), 2u);
}

TEST_F(BusLossTest, NothingConnectsToTheNewBus) {
    Register("Echo", Echo);
    KillBus();
    m_bus.Start();
    BusClient client(m_bus.Address());
    EXPECT_EQ(client.Call(NAME, PATH, INTERFACE, "Echo", "x"), DBUS_ERROR_SERVICE_UNKNOWN);
    ExpectPausingWorker();
    EXPECT_EQ(client.Call(NAME, PATH, INTERFACE, "Echo", "x"), DBUS_ERROR_SERVICE_UNKNOWN);
}

TEST_F(BusLossTest, BeforeAReplyIsSent) {
    ownBus = &m_bus;
    Register("Lose", LoseTheBus);
    m_client.Send(NAME, PATH, INTERFACE, "Lose", "x");
    ASSERT_TRUE(m_log.WaitFor("E Out Of Memory!"));
    EXPECT_THAT(m_log.Texts(),
                ElementsAre(testing::StartsWith("E Error org.freedesktop.DBus.Error."), "E Out Of Memory!"));
    ExpectPausingWorker();
}

TEST_F(BusLossTest, DuringAWaitForAReply) {
    std::string reply;
    std::thread killer([this] {
        if (m_client.ReceiveCall("Ask"))
            m_bus.Kill();
    });
    EXPECT_EQ(Handler().MethodSendGetReply(m_client.UniqueName().c_str(), PATH, INTERFACE, "Ask", "text", reply, 20000),
              0);
    killer.join();
    ASSERT_EQ(m_log.Texts().size(), 1u);
    EXPECT_THAT(m_log.Texts()[0], testing::StartsWith("E Error org.freedesktop.DBus.Error."));
}
