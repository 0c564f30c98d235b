// Method calls that go out and block for their reply.
#include <chrono>
#include <functional>
#include <future>
#include <stdexcept>
#include <string>

#include "DbusFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

std::string askedName; // of the party that AskBack asks

const std::string AskBack(const std::string &text) {
    std::string reply;
    CDbusHandler::instance()->MethodSendGetReply(askedName.c_str(), PATH, INTERFACE, "Ask", text, reply, 5000);
    return "answer:" + reply;
}

} // namespace

class SendReplyTest : public DbusTest {
  protected:
    SendReplyTest() { Init(); }

    // The client answers the next call of "Ask" by `answer`, on a thread of its own.
    std::future<void> Answer(std::function<void(DBusMessage *)> answer) {
        return std::async(std::launch::async, [this, answer = std::move(answer)] {
            if (const BusMessage call = m_client.ReceiveCall("Ask"))
                answer(call.get());
        });
    }

    int Ask(const std::string &text, std::string &reply, int timeoutMs = 5000) {
        return Handler().MethodSendGetReply(m_client.UniqueName().c_str(), PATH, INTERFACE, "Ask", text, reply,
                                            timeoutMs);
    }

    // Asks, expects the exception of a reply without text, and that the lock is free.
    void ExpectLogicError() {
        std::string reply = "kept";
        EXPECT_THROW(Ask("x", reply), std::logic_error);
        EXPECT_EQ(reply, "kept");
        auto sent = std::async(std::launch::async, [] { return Handler().SignalSend(PATH, INTERFACE, "Free", ""); });
        ASSERT_EQ(sent.wait_for(std::chrono::seconds(5)), std::future_status::ready);
        EXPECT_EQ(sent.get(), 1);
    }
};

TEST_F(SendReplyTest, BringsTheText) {
    const auto answer = Answer([this](DBusMessage *call) { m_client.Reply(call, FirstString(call).c_str()); });
    std::string reply;
    EXPECT_EQ(Ask("question", reply), 1);
    EXPECT_EQ(reply, "question");
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(SendReplyTest, NegativeTimeoutIsTheLibrarysOwn) {
    for (const int timeoutMs : {-1, -5}) {
        const auto answer = Answer([this](DBusMessage *call) { m_client.Reply(call, "yes"); });
        std::string reply;
        EXPECT_EQ(Ask("question", reply, timeoutMs), 1);
        EXPECT_EQ(reply, "yes");
    }
}

TEST_F(SendReplyTest, ErrorOfThePeerIsLogged) {
    const auto answer = Answer([this](DBusMessage *call) {
        const BusMessage error(dbus_message_new_error(call, "org.test.Wrong", "not so"), dbus_message_unref);
        m_client.Send(error.get());
    });
    std::string reply = "kept";
    EXPECT_EQ(Ask("100%", reply), 0);
    EXPECT_EQ(reply, "kept");
    ASSERT_EQ(m_log.Texts().size(), 1u);
    EXPECT_THAT(m_log.Texts()[0], StartsWith("E Error org.test.Wrong: not so! SendMsg: 100"));
}

TEST_F(SendReplyTest, UnknownDestinationIsLogged) {
    std::string reply;
    EXPECT_EQ(Handler().MethodSendGetReply("org.test.nobody", PATH, INTERFACE, "Ask", "text", reply, 5000), 0);
    ASSERT_EQ(m_log.Texts().size(), 1u);
    EXPECT_THAT(m_log.Texts()[0], StartsWith("E Error org.freedesktop.DBus.Error.ServiceUnknown: "));
    EXPECT_THAT(m_log.Texts()[0], testing::EndsWith("! SendMsg: text "));
}

TEST_F(SendReplyTest, TimeoutIsLoggedAndTheLateReplyDropped) {
    Register("Echo", Echo);
    std::string reply;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Ask("text", reply, 200), 0);
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(200));
    EXPECT_LT(waited, std::chrono::milliseconds(4000));
    ASSERT_EQ(m_log.Texts().size(), 1u);
    EXPECT_THAT(m_log.Texts()[0], StartsWith("E Error org.freedesktop.DBus.Error.NoReply: "));
    const BusMessage call = m_client.ReceiveCall("Ask");
    ASSERT_TRUE(call);
    m_client.Reply(call.get(), "late");
    EXPECT_EQ(Call("Echo", "after"), "echo:after");
}

TEST_F(SendReplyTest, ReplyWithoutArgumentThrowsAndFreesTheLock) {
    const auto answer = Answer([this](DBusMessage *call) { m_client.Reply(call, NO_ARGUMENT); });
    ExpectLogicError();
    EXPECT_THAT(m_log.Texts(), ElementsAre("E Message has no arguments!"));
}

TEST_F(SendReplyTest, ReplyThatIsNoStringThrowsAndFreesTheLock) {
    const auto answer = Answer([this](DBusMessage *call) {
        const BusMessage reply(dbus_message_new_method_return(call), dbus_message_unref);
        const dbus_int32_t number = 1;
        dbus_message_append_args(reply.get(), DBUS_TYPE_INT32, &number, DBUS_TYPE_INVALID);
        m_client.Send(reply.get());
    });
    ExpectLogicError();
    EXPECT_THAT(m_log.Texts(), ElementsAre("E Argument is not string!"));
}

TEST_F(SendReplyTest, RefusalsNameTheOperation) {
    std::string reply;
    EXPECT_EQ(Handler().MethodSendGetReply(NAME, nullptr, INTERFACE, "Ask", "x", reply, 1000), 0);
    EXPECT_EQ(Handler().MethodSendGetReply(NAME, "path", INTERFACE, "Ask", "x", reply, 1000), 0);
    EXPECT_EQ(Handler().MethodSendGetReply(NAME, PATH, INTERFACE, "Ask", "\xff", reply, 1000), 0);
    EXPECT_THAT(m_log.Texts(),
                ElementsAre(StartsWith("E MethodSendGetReply param wrong pstrObjectName:(nil) pstrInterface:0x"),
                            "E dbus_message_new_method_call Error!",
                            "E dbus_message_iter_append_basic: Out of Memory!"));
}

TEST_F(SendReplyTest, WithoutDestinationTheBusItselfAnswers) {
    std::string reply; // the bus answers a ping by a reply without argument
    EXPECT_THROW(Handler().MethodSendGetReply(nullptr, "/", DBUS_INTERFACE_PEER, "Ping", "x", reply, 5000),
                 std::logic_error);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E Message has no arguments!"));
}

TEST_F(SendReplyTest, HandlerMayAskBack) {
    Register("AskBack", AskBack);
    askedName = m_client.UniqueName();
    const dbus_uint32_t serial = m_client.Send(NAME, PATH, INTERFACE, "AskBack", "text");
    const BusMessage ask = m_client.ReceiveCall("Ask");
    ASSERT_TRUE(ask);
    EXPECT_EQ(FirstString(ask.get()), "text");
    m_client.Reply(ask.get(), "back");
    const BusMessage reply = m_client.ReceiveReply(serial);
    ASSERT_TRUE(reply);
    EXPECT_EQ(FirstString(reply.get()), "answer:back");
}

TEST_F(SendReplyTest, CallsThatComeInMeanwhileWaitAndAreAnswered) {
    Register("Echo", Echo);
    std::string reply;
    auto asked = std::async(std::launch::async, [&] { return Ask("x", reply); });
    const BusMessage ask = m_client.ReceiveCall("Ask");
    ASSERT_TRUE(ask);
    BusClient other(m_bus.Address());
    std::vector<dbus_uint32_t> serials;
    for (int i = 0; i < 10; ++i)
        serials.push_back(other.Send(NAME, PATH, INTERFACE, "Echo", std::to_string(i).c_str()));
    EXPECT_FALSE(other.ReceiveReply(serials[0], 200)); // the lock is held for the whole wait
    m_client.Reply(ask.get(), "done");
    EXPECT_EQ(asked.get(), 1);
    for (int i = 0; i < 10; ++i) {
        const BusMessage answer = other.ReceiveReply(serials[i]);
        ASSERT_TRUE(answer) << i;
        EXPECT_EQ(FirstString(answer.get()), "echo:" + std::to_string(i));
    }
}

TEST_F(SendReplyTest, NoMessageIsTakenWhileAReplyIsAwaited) {
    std::string reply;
    auto asked = std::async(std::launch::async, [&] { return Ask("x", reply); });
    const BusMessage ask = m_client.ReceiveCall("Ask");
    ASSERT_TRUE(ask);
    auto taken = std::async(std::launch::async, [] { return DbusHandlerProbe::HandleMessage({}); });
    EXPECT_EQ(taken.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    m_client.Reply(ask.get(), "done");
    EXPECT_EQ(asked.get(), 1);
    EXPECT_EQ(reply, "done");
    taken.wait();
}

TEST_F(SendReplyTest, OneOutgoingMessageAtATime) {
    std::string reply;
    auto asked = std::async(std::launch::async, [&] { return Ask("x", reply); });
    const BusMessage ask = m_client.ReceiveCall("Ask");
    ASSERT_TRUE(ask);
    m_client.AddMatch("type='signal',interface='org.test.interface'");
    auto sent = std::async(std::launch::async, [] { return Handler().SignalSend(PATH, INTERFACE, "Ping", "x"); });
    EXPECT_EQ(sent.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    m_client.Reply(ask.get(), "done");
    EXPECT_EQ(asked.get(), 1);
    EXPECT_EQ(sent.get(), 1);
}
