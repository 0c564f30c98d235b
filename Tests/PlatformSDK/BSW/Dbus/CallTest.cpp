// Method calls that come in: which entries answer, and with what.
#include <string>

#include "DbusFixture.h"
#include "Support/WaitUntil.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string NotUtf8(const std::string &) {
    return "\xff\xfe";
}

const std::string RegisterAnother(const std::string &text) {
    CDbusHandler::instance()->RegisteredServices(PATH, INTERFACE, "Later", Echo, false);
    return text;
}

} // namespace

class CallTest : public DbusTest {
  protected:
    CallTest() { Init(); }
};

TEST_F(CallTest, HandlerAnswersWithItsText) {
    Register("Echo", Echo);
    EXPECT_EQ(Call("Echo", "one"), "echo:one");
    EXPECT_EQ(Call("Echo", ""), "echo:");
    EXPECT_EQ(Call("Echo", "100%s %n \xc3\xa4"), "echo:100%s %n \xc3\xa4");
    EXPECT_EQ(Call("Echo", std::string(100000, 'x').c_str()), "echo:" + std::string(100000, 'x'));
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(CallTest, OnlyTheFirstArgumentCounts) {
    Register("Echo", Echo);
    const BusMessage call(dbus_message_new_method_call(NAME, PATH, INTERFACE, "Echo"), dbus_message_unref);
    const char *first = "first";
    const dbus_int32_t second = 2;
    dbus_message_append_args(call.get(), DBUS_TYPE_STRING, &first, DBUS_TYPE_INT32, &second, DBUS_TYPE_INVALID);
    const BusMessage reply = m_client.ReceiveReply(m_client.Send(call.get()));
    ASSERT_TRUE(reply);
    EXPECT_EQ(FirstString(reply.get()), "echo:first");
}

TEST_F(CallTest, OtherPathInterfaceOrMemberGetsNoReply) {
    Register("Echo", KeepFirst);
    EXPECT_EQ(m_client.Call(NAME, "/org/test/Object", INTERFACE, "Echo", "x", 300), DBUS_ERROR_NO_REPLY);
    EXPECT_EQ(m_client.Call(NAME, PATH, "org.test.Interface", "Echo", "x", 300), DBUS_ERROR_NO_REPLY);
    EXPECT_EQ(m_client.Call(NAME, PATH, INTERFACE, "echo", "x", 300), DBUS_ERROR_NO_REPLY);
    EXPECT_EQ(Call("Echo", "right"), "first");
    EXPECT_THAT(Kept(), ElementsAre("first:right"));
}

TEST_F(CallTest, TwoEntriesAnswerTwiceInTheirOrder) {
    Register("Twice", KeepSecond);
    Register("Twice", KeepFirst);
    const dbus_uint32_t serial = m_client.Send(NAME, PATH, INTERFACE, "Twice", "x");
    const BusMessage one = m_client.ReceiveReply(serial);
    ASSERT_TRUE(one);
    EXPECT_EQ(FirstString(one.get()), "second");
    const BusMessage two = m_client.ReceiveReply(serial);
    ASSERT_TRUE(two);
    EXPECT_EQ(FirstString(two.get()), "first");
    EXPECT_THAT(Kept(), ElementsAre("second:x", "first:x"));
}

TEST_F(CallTest, EntryBehindOneOfAnotherPathAnswers) {
    Handler().RegisteredServices("/org/test/other", INTERFACE, "Echo", KeepFirst, false);
    Register("Echo", Echo);
    EXPECT_EQ(Call("Echo", "x"), "echo:x");
    EXPECT_THAT(Kept(), IsEmpty());
}

TEST_F(CallTest, ReplyThatIsNotUtf8IsLoggedAndGoesOutEmpty) {
    Register("Bad", NotUtf8);
    const BusMessage reply = m_client.ReceiveReply(m_client.Send(NAME, PATH, INTERFACE, "Bad", "x"));
    ASSERT_TRUE(reply);
    EXPECT_EQ(dbus_message_get_type(reply.get()), DBUS_MESSAGE_TYPE_METHOD_RETURN);
    EXPECT_STREQ(dbus_message_get_signature(reply.get()), "");
    EXPECT_THAT(m_log.Texts(), ElementsAre("E Out Of Memory!"));
}

TEST_F(CallTest, HandlerMayRegister) {
    Register("Grow", RegisterAnother);
    EXPECT_EQ(Call("Grow", "x"), "x");
    EXPECT_EQ(Call("Later", "y"), "echo:y");
}

TEST_F(CallTest, WithoutServicesTheLibraryAnswers) {
    EXPECT_EQ(Call("Echo", "x"), DBUS_ERROR_UNKNOWN_METHOD);
    EXPECT_EQ(Call("Echo", "x"), DBUS_ERROR_UNKNOWN_METHOD);
    Register("Echo", Echo);
    EXPECT_EQ(Call("Echo", "x"), "echo:x");
}

TEST_F(CallTest, CallByAMethodOfTheSameNameAsASignalIsAnswered) {
    RegisterSignal("Echo", Echo);
    EXPECT_EQ(Call("Echo", "x"), "echo:x"); // an entry serves both kinds
}
