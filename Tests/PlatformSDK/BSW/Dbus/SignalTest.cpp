// Signals that come in, and the match rule that brings them.
#include <string>

#include "DbusFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class SignalTest : public DbusTest {
  protected:
    SignalTest() { Init(); }
};

TEST_F(SignalTest, SubscribesWithTheRuleOfInterfaceAndMember) {
    BusClient monitor(m_bus.Address());
    monitor.BecomeMonitor();
    EXPECT_EQ(RegisterSignal("Ping", KeepFirst), 1);
    const BusMessage match = monitor.ReceiveCall("AddMatch");
    ASSERT_TRUE(match);
    EXPECT_EQ(FirstString(match.get()), "type='signal',interface='org.test.interface',member='Ping'");
    EXPECT_STREQ(dbus_message_get_signature(match.get()), "s");
}

TEST_F(SignalTest, MethodDoesNotSubscribe) {
    BusClient monitor(m_bus.Address());
    monitor.BecomeMonitor();
    Register("Plain", KeepFirst);
    RegisterSignal("Ping", KeepFirst);
    const BusMessage match = monitor.ReceiveCall("AddMatch");
    ASSERT_TRUE(match);
    EXPECT_THAT(FirstString(match.get()), testing::HasSubstr("member='Ping'"));
}

TEST_F(SignalTest, ReachesTheHandlerWhateverItsPath) {
    RegisterSignal("Ping", KeepFirst);
    Emit("Ping", "one");
    Emit("Ping", "two", "/some/where/else");
    ASSERT_TRUE(WaitForKept(2));
    EXPECT_THAT(Kept(), ElementsAre("first:one", "first:two"));
    EXPECT_THAT(m_log.TextsOf("DbusHandler.cpp"), ElementsAre("I Get: one", "I Get: two"));
}

TEST_F(SignalTest, EveryMatchingEntryIsServed) {
    RegisterSignal("Ping", KeepFirst);
    Register("Ping", KeepSecond); // needs no subscription of its own
    Emit("Ping", "x");
    ASSERT_TRUE(WaitForKept(2));
    EXPECT_THAT(Kept(), ElementsAre("first:x", "second:x"));
}

TEST_F(SignalTest, OtherMemberOrInterfaceIsNotServed) {
    RegisterSignal("Ping", KeepFirst);
    RegisterSignal("Pong", KeepSecond);
    Emit("Other", "x");
    const BusMessage foreign(dbus_message_new_signal(PATH, "org.test.other", "Ping"), dbus_message_unref);
    m_client.Send(foreign.get());
    Emit("Pong", "last");
    ASSERT_TRUE(WaitForKept(1));
    EXPECT_THAT(Kept(), ElementsAre("second:last"));
}

TEST_F(SignalTest, WithoutAStringEndsItsDispatch) {
    RegisterSignal("Ping", KeepFirst);
    Register("Ping", KeepSecond);
    Emit("Ping", NO_ARGUMENT);
    Emit("Ping", "next");
    ASSERT_TRUE(WaitForKept(2));
    EXPECT_THAT(Kept(), ElementsAre("first:next", "second:next"));
    const std::vector<std::string> texts = m_log.TextsOf("DbusHandler.cpp");
    ASSERT_EQ(texts.size(), 3u); // one error, although two entries match
    EXPECT_THAT(texts[0], StartsWith("E dbus_message_get_args Error: "));
    EXPECT_THAT(texts[0], testing::EndsWith("\n"));
    EXPECT_EQ(texts[1], "I Get: next");
}

TEST_F(SignalTest, TextWithPercentSignsIsHarmless) {
    RegisterSignal("Ping", KeepFirst);
    Emit("Ping", "50%s%n%d 100%");
    ASSERT_TRUE(WaitForKept(1));
    EXPECT_THAT(Kept(), ElementsAre("first:50%s%n%d 100%"));
    ASSERT_EQ(m_log.Texts().size(), 1u);
    EXPECT_THAT(m_log.Texts()[0], StartsWith("I Get: 50(null)0 100"));
}

TEST_F(SignalTest, OwnSignalComesBack) {
    RegisterSignal("Ping", KeepFirst);
    EXPECT_EQ(Handler().SignalSend(PATH, INTERFACE, "Ping", "own"), 1);
    ASSERT_TRUE(WaitForKept(1));
    EXPECT_THAT(Kept(), ElementsAre("first:own"));
}

TEST_F(SignalTest, RuleTheBusRefusesIsLoggedAndTheEntryKept) {
    EXPECT_EQ(Handler().RegisteredServices(PATH, "no interface", "Ping", KeepFirst, true), 1);
    const std::vector<std::string> texts = m_log.TextsOf("DbusHandler.cpp");
    ASSERT_EQ(texts.size(), 1u);
    EXPECT_THAT(texts[0], StartsWith("E dbus_bus_add_math Error: "));
    EXPECT_EQ(DbusHandlerProbe::Services().size(), 1u);
}

TEST_F(SignalTest, RuleIsCutAt255Characters) {
    BusClient monitor(m_bus.Address());
    monitor.BecomeMonitor();
    const std::string member(250, 'm');
    EXPECT_EQ(RegisterSignal(member.c_str(), KeepFirst), 1);
    const BusMessage match = monitor.ReceiveCall("AddMatch");
    ASSERT_TRUE(match);
    const std::string rule = "type='signal',interface='org.test.interface',member='" + member + "'";
    EXPECT_EQ(FirstString(match.get()), rule.substr(0, 255));
    ASSERT_EQ(m_log.Texts().size(), 1u);
    EXPECT_THAT(m_log.Texts()[0], StartsWith("E dbus_bus_add_math Error: "));
}

TEST_F(SignalTest, RuleThatIsNotUtf8IsLogged) {
    EXPECT_EQ(RegisterSignal("\xff", KeepFirst), 1);
    ASSERT_EQ(m_log.Texts().size(), 1u);
    EXPECT_THAT(m_log.Texts()[0], StartsWith("E dbus_bus_add_math Error: "));
}
