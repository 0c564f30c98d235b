// The handler's lock is held for the whole length of what goes out: while the bus does not
// read or answer, nobody else registers or sends.
#include <chrono>
#include <functional>
#include <future>
#include <string>

#include <signal.h>

#include "DbusFixture.h"
#include "Support/WaitUntil.h"

namespace {

// More than the connection's socket takes.
const std::string LONG_TEXT(8 << 20, 'x');

} // namespace

class LockTest : public DbusTest {
  protected:
    LockTest() { Init(); }
    ~LockTest() override { Pause(false); }

    void Pause(bool paused) const { kill(m_bus.Pid(), paused ? SIGSTOP : SIGCONT); }

    // While the bus is paused: `send` does not return, and a registration waits for it.
    void ExpectHeldBy(const std::function<int()> &send) {
        Pause(true);
        auto sent = std::async(std::launch::async, send);
        std::future<int> added;
        const bool waits = WaitUntil([&] {
            added = std::async(std::launch::async, [] { return Register("Other", Echo); });
            return added.wait_for(std::chrono::milliseconds(200)) == std::future_status::timeout;
        });
        EXPECT_TRUE(waits);
        EXPECT_EQ(sent.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
        Pause(false);
        EXPECT_EQ(sent.get(), 1);
        EXPECT_EQ(added.get(), 1);
        EXPECT_THAT(m_log.Texts(), testing::IsEmpty());
    }
};

TEST_F(LockTest, ByTheMatchRequest) {
    ExpectHeldBy([] { return RegisterSignal("Ping", Echo); });
}

TEST_F(LockTest, ByASignal) {
    ExpectHeldBy([] { return Handler().SignalSend(PATH, INTERFACE, "Ping", LONG_TEXT.c_str()); });
}

TEST_F(LockTest, ByAMethodCall) {
    const std::string name = m_client.UniqueName();
    ExpectHeldBy([&] { return Handler().MethodSend(name.c_str(), PATH, INTERFACE, "Do", LONG_TEXT); });
}

TEST_F(LockTest, ByAMethodCallThatAwaitsItsReply) {
    ExpectHeldBy([] {
        std::string reply;
        return Handler().MethodSendGetReply("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                            "GetNameOwner", NAME, reply, 20000);
    });
}
