// The operator who calls the service without rest.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Desk/DeskCaller.h"
#include "Support/BusClient.h"
#include "Support/BusDaemon.h"
#include "Support/ScratchDir.h"
#include "Support/WaitUntil.h"

namespace {

class DeskCallerTest : public testing::Test {
  protected:
    DeskCallerTest() { m_service.RequestName("org.FpgaMng.server", 0); }

    // Answers the next call with `reply`; the call's text.
    std::string AnswerOne(const char *reply) {
        const BusMessage call = m_service.ReceiveCall("audio_dbus_method_FpgaMngDebug", 10000);
        if (!call)
            return "no call";
        m_service.Reply(call.get(), reply);
        return FirstString(call.get());
    }

    ScratchDir m_directory;
    BusDaemon m_bus;
    BusClient m_service{m_bus.Address()};
};

TEST_F(DeskCallerTest, AsksForTheReportAndForThePrintSwitchInTurn) {
    DeskCaller caller(m_bus.Address(), 1000);
    EXPECT_EQ(caller.Calls(), 0u);
    caller.Start();
    for (const char *command : {"NodeInfo", "PrintSwitch_0_0", "NodeInfo", "PrintSwitch_0_0"})
        EXPECT_EQ(AnswerOne("{\"res\":0}"), command);
    EXPECT_TRUE(WaitUntil([&] { return caller.Calls() == 4; }));
    EXPECT_EQ(caller.Failed(), 0u);
    EXPECT_EQ(AnswerOne("{\"res\":-1}"), "NodeInfo");
    EXPECT_TRUE(WaitUntil([&] { return caller.Failed() == 1; }));
    AnswerOne(NO_ARGUMENT);
    EXPECT_TRUE(WaitUntil([&] { return caller.Failed() == 2; }));
    m_bus.Kill(); // ends the call under way
    caller.Stop();
    EXPECT_GE(caller.Failed(), 3u);
    const uint64_t calls = caller.Calls();
    EXPECT_FALSE(WaitUntil([&] { return caller.Calls() != calls; }, 50)) << "it has stopped";
}

TEST_F(DeskCallerTest, KeepsTheRateItWasGiven) {
    m_bus.Kill(); // each call fails at once
    DeskCaller caller(m_bus.Address(), 100);
    caller.Start();
    EXPECT_TRUE(WaitUntil([&] { return caller.Calls() >= 30; }, 20000));
    caller.Stop();
    EXPECT_GE(caller.Seconds(), 0.29); // the first call comes at once
    EXPECT_EQ(caller.Failed(), caller.Calls());
}

} // namespace
