// Signals and method calls that go out without a reply.
#include <cstdio>
#include <string>

#include "DbusFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string Pointer(const void *pointer) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", pointer);
    return text;
}

} // namespace

class SendTest : public DbusTest {
  protected:
    SendTest() { Init(); }

    static int Signal(const char *path, const char *interface, const char *member, const char *text) {
        return Handler().SignalSend(path, interface, member, text);
    }

    int Method(const char *path, const char *interface, const char *method, const std::string &text) {
        return Handler().MethodSend(m_client.UniqueName().c_str(), path, interface, method, text);
    }
};

TEST_F(SendTest, SignalCarriesOneText) {
    m_client.AddMatch("type='signal',interface='org.test.interface'");
    EXPECT_EQ(Signal(PATH, INTERFACE, "Ping", "text %s"), 1);
    const BusMessage signal =
        m_client.Receive([](DBusMessage *message) { return dbus_message_is_signal(message, INTERFACE, "Ping"); });
    ASSERT_TRUE(signal);
    EXPECT_STREQ(dbus_message_get_path(signal.get()), PATH);
    EXPECT_STREQ(dbus_message_get_signature(signal.get()), "s");
    EXPECT_EQ(FirstString(signal.get()), "text %s");
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(SendTest, SignalRefusesNullNames) {
    EXPECT_EQ(Signal(nullptr, INTERFACE, "Ping", "x"), 0);
    EXPECT_EQ(Signal(PATH, nullptr, "Ping", "x"), 0);
    EXPECT_EQ(Signal(PATH, INTERFACE, nullptr, nullptr), 0);
    ASSERT_EQ(m_log.Texts().size(), 3u);
    EXPECT_EQ(m_log.Texts()[2], "E SignalSend param wrong pstrObjectName:" + Pointer(PATH) +
                                    " pstrInterface:" + Pointer(INTERFACE) + " pstrMethod:(nil) pstrValue:(nil)");
}

TEST_F(SendTest, SignalRefusesMalformedNames) {
    EXPECT_EQ(Signal("no/path", INTERFACE, "Ping", "x"), 0);
    EXPECT_EQ(Signal(PATH, "nointerface", "Ping", "x"), 0);
    EXPECT_EQ(Signal(PATH, INTERFACE, "no.member", "x"), 0);
    EXPECT_EQ(Signal("/\xff", INTERFACE, "Ping", "x"), 0);
    EXPECT_THAT(m_log.Texts(), testing::AllOf(testing::SizeIs(4), testing::Each("E dbus_message_new_signal Error!")));
}

TEST_F(SendTest, SignalRefusesATextThatIsNone) {
    EXPECT_EQ(Signal(PATH, INTERFACE, "Ping", nullptr), 0);
    EXPECT_EQ(Signal(PATH, INTERFACE, "Ping", "\xff"), 0);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E dbus_message_append_args Error: Out Of Memory!",
                                           "E dbus_message_append_args Error: Out Of Memory!"));
}

TEST_F(SendTest, MethodCarriesOneText) {
    EXPECT_EQ(Method(PATH, INTERFACE, "Do", "text"), 1);
    const BusMessage call = m_client.ReceiveCall("Do");
    ASSERT_TRUE(call);
    EXPECT_STREQ(dbus_message_get_path(call.get()), PATH);
    EXPECT_STREQ(dbus_message_get_interface(call.get()), INTERFACE);
    EXPECT_STREQ(dbus_message_get_signature(call.get()), "s");
    EXPECT_FALSE(dbus_message_get_no_reply(call.get()));
    EXPECT_TRUE(dbus_message_get_auto_start(call.get()));
    EXPECT_EQ(FirstString(call.get()), "text");
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(SendTest, ReplyToAMethodNobodyAwaitsIsDropped) {
    Register("Echo", Echo);
    EXPECT_EQ(Method(PATH, INTERFACE, "Do", "text"), 1);
    const BusMessage call = m_client.ReceiveCall("Do");
    ASSERT_TRUE(call);
    m_client.Reply(call.get(), "unwanted");
    EXPECT_EQ(Call("Echo", "after"), "echo:after");
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(SendTest, MethodMayHaveNoDestination) {
    EXPECT_EQ(Handler().MethodSend(nullptr, PATH, INTERFACE, "Nowhere", "x"), 1);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(SendTest, MethodRefusesNullNames) {
    const std::string text = "x";
    EXPECT_EQ(Method(nullptr, INTERFACE, "Do", text), 0);
    EXPECT_EQ(Method(PATH, nullptr, "Do", text), 0);
    EXPECT_EQ(Method(PATH, INTERFACE, nullptr, text), 0);
    ASSERT_EQ(m_log.Texts().size(), 3u);
    EXPECT_EQ(m_log.Texts()[0], "E MethodSend param wrong pstrObjectName:(nil) pstrInterface:" + Pointer(INTERFACE) +
                                    " pstrSignal:" + Pointer("Do") + " strValue:" + Pointer(text.c_str()));
}

TEST_F(SendTest, MethodRefusesMalformedNames) {
    EXPECT_EQ(Handler().MethodSend("no name", PATH, INTERFACE, "Do", "x"), 0);
    EXPECT_EQ(Method("path", INTERFACE, "Do", "x"), 0);
    EXPECT_EQ(Method(PATH, "", "Do", "x"), 0);
    EXPECT_EQ(Method(PATH, INTERFACE, "Do-", "x"), 0);
    EXPECT_THAT(m_log.Texts(),
                testing::AllOf(testing::SizeIs(4), testing::Each("E dbus_message_new_method_call Error!")));
}

TEST_F(SendTest, MethodRefusesATextThatIsNotUtf8) {
    EXPECT_EQ(Method(PATH, INTERFACE, "Do", "\xc3"), 0);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E dbus_message_iter_append_basic: Out of Memory!"));
}
