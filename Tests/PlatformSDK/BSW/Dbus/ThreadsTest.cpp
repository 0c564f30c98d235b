// Load: every call is answered exactly once, whatever the other threads do.
#include <atomic>
#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "DbusFixture.h"

using testing::IsEmpty;

namespace {

using Clock = std::chrono::steady_clock;

// Counts the answers of each call by its serial.
class Answers {
  public:
    explicit Answers(BusClient &client) : m_client(client) {}

    void Call(int number) {
        m_expected[m_client.Send(NAME, PATH, INTERFACE, "Echo", std::to_string(number).c_str())] =
            "echo:" + std::to_string(number);
    }

    // Takes what comes until `deadline`, or with `untilComplete` until every call is answered.
    void TakeUntil(Clock::time_point deadline, bool untilComplete) {
        while (!(untilComplete && m_answered.size() == m_expected.size())) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
            const BusMessage reply =
                m_client.Receive([](DBusMessage *message) { return dbus_message_get_reply_serial(message) != 0; },
                                 static_cast<int>(left > 0 ? left : 0));
            if (!reply)
                return;
            _Take(reply.get());
        }
    }

    // After the last call: every one has exactly one right answer, and none follows.
    void ExpectAll() {
        TakeUntil(Clock::now() + std::chrono::seconds(20), true);
        TakeUntil(Clock::now() + std::chrono::milliseconds(100), false);
        EXPECT_EQ(m_answered.size(), m_expected.size());
        EXPECT_EQ(m_wrong, 0);
    }

  private:
    void _Take(DBusMessage *reply) {
        const dbus_uint32_t serial = dbus_message_get_reply_serial(reply);
        const auto expected = m_expected.find(serial);
        const bool right =
            expected != m_expected.end() && ++m_answered[serial] == 1 && FirstString(reply) == expected->second;
        if (!right)
            ++m_wrong;
    }

    BusClient &m_client;
    std::map<dbus_uint32_t, std::string> m_expected;
    std::map<dbus_uint32_t, int> m_answered;
    int m_wrong = 0;
};

// Calls 200 times a second for `seconds`, taking the answers as they come.
void CallSteadily(Answers &answers, int seconds) {
    constexpr int CALLS_PER_SECOND = 200;
    Clock::time_point due = Clock::now();
    for (int i = 0; i < seconds * CALLS_PER_SECOND; ++i) {
        answers.Call(i);
        due += std::chrono::microseconds(1000000 / CALLS_PER_SECOND);
        answers.TakeUntil(due, false);
    }
}

// Threads that ask a peer through the handler, again and again, for the object's life.
class Askers {
  public:
    Askers(const std::string &busAddress, int count, int pauseMs) : m_peer(busAddress) {
        m_threads.emplace_back([this] { _Reply(); });
        for (int i = 0; i < count; ++i)
            m_threads.emplace_back([this, pauseMs, name = m_peer.UniqueName()] { _Ask(name, pauseMs); });
    }

    ~Askers() { Stop(); }

    void Stop() {
        m_stop = true;
        for (std::thread &thread : m_threads)
            thread.join();
        m_threads.clear();
    }

    int Asked() const { return m_asked; }
    int Failed() const { return m_failed; }

  private:
    void _Reply() {
        while (!m_stop || m_asking > 0)
            if (const BusMessage ask = m_peer.ReceiveCall("Ask", 20))
                m_peer.Reply(ask.get(), FirstString(ask.get()).c_str());
    }

    void _Ask(const std::string &name, int pauseMs) {
        CDbusHandler &handler = *CDbusHandler::instance();
        ++m_asking;
        while (!m_stop) {
            const std::string text = std::to_string(++m_asked);
            std::string reply;
            m_failed += handler.MethodSendGetReply(name.c_str(), PATH, INTERFACE, "Ask", text, reply, 5000) != 1 ||
                        reply != text;
            std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs));
        }
        --m_asking;
    }

    BusClient m_peer;
    std::atomic<bool> m_stop = false;
    std::atomic<int> m_asking = 0;
    std::atomic<int> m_asked = 0;
    std::atomic<int> m_failed = 0;
    std::vector<std::thread> m_threads;
};

// Sends, registers and unregisters for the object's life.
class Registrar {
  public:
    Registrar() : m_thread([this] { _Run(); }) {}

    ~Registrar() { Stop(); }

    void Stop() {
        m_stop = true;
        if (m_thread.joinable())
            m_thread.join();
    }

    int Failed() const { return m_failed; }

  private:
    void _Run() {
        constexpr const char *PASSING = "/org/test/passing";
        CDbusHandler &handler = *CDbusHandler::instance();
        for (int round = 0; !m_stop; ++round) {
            const bool subscribes = round < 400; // the bus keeps 512 match rules
            m_failed += handler.SignalSend(PATH, INTERFACE, "Tick", "x") != 1;
            m_failed += handler.RegisteredServices(PASSING, INTERFACE, "Passing", Echo, subscribes) != 1;
            m_failed += handler.UnRegisteredServices(PASSING, INTERFACE, "x") != 1;
            std::this_thread::sleep_for(std::chrono::milliseconds(3));
        }
    }

    std::atomic<bool> m_stop = false;
    std::atomic<int> m_failed = 0;
    std::thread m_thread;
};

} // namespace

class ThreadsTest : public DbusTest {
  protected:
    ThreadsTest() {
        Init();
        Register("Echo", Echo);
    }
};

TEST_F(ThreadsTest, TwoHundredCallsASecond) {
    Answers answers(m_client);
    const Clock::time_point start = Clock::now();
    CallSteadily(answers, 3);
    answers.ExpectAll();
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(20));
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(ThreadsTest, BurstOfCalls) {
    Answers answers(m_client);
    for (int burst = 0; burst < 10; ++burst) {
        for (int i = 0; i < 100; ++i) // the bus lets one party wait for 128 replies
            answers.Call(i);
        answers.ExpectAll();
    }
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(ThreadsTest, CallsWhileOthersAskRegisterAndSend) {
    Askers askers(m_bus.Address(), 1, 1); // with a pause: the handler's lock is not fair
    Registrar registrar;
    Answers answers(m_client);
    CallSteadily(answers, 3);
    answers.ExpectAll();
    registrar.Stop();
    askers.Stop();
    EXPECT_EQ(registrar.Failed(), 0);
    EXPECT_EQ(askers.Failed(), 0);
    EXPECT_GT(askers.Asked(), 10);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

// The worker is kept busy while the replies come in: it takes none of them.
TEST_F(ThreadsTest, RepliesReachTheirCallers) {
    const BusMessage noise(dbus_message_new_signal(PATH, INTERFACE, "Noise"), dbus_message_unref);
    dbus_message_set_destination(noise.get(), NAME);
    Askers askers(m_bus.Address(), 2, 0);
    const Clock::time_point end = Clock::now() + std::chrono::seconds(2);
    while (Clock::now() < end) {
        const BusMessage copy(dbus_message_copy(noise.get()), dbus_message_unref);
        m_client.Send(copy.get());
        EXPECT_FALSE(m_client.Receive([](DBusMessage *) { return false; }, 2));
    }
    askers.Stop();
    EXPECT_EQ(askers.Failed(), 0);
    EXPECT_GT(askers.Asked(), 10);
    EXPECT_EQ(Call("Echo", "after"), "echo:after");
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}
