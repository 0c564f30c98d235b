// zrctl without a service: wrong use, no bus, nobody on it, no answer; its help.
#include <fstream>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CtlProgram.h"
#include "Support/BusClient.h"
#include "Support/BusDaemon.h"
#include "Support/ScratchDir.h"

using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

constexpr const char *NO_BUS = "unix:path=/nowhere/bus";

// Expects `end` with `status`, nothing on stdout and one line on stderr.
void ExpectFailure(const CtlEnd &end, int status, const std::string &words) {
    EXPECT_EQ(end.status, status) << end.errors;
    EXPECT_EQ(end.output, "");
    EXPECT_THAT(end.errors, MatchesRegex("zrctl: [^\n]*\n"));
    EXPECT_THAT(end.errors, HasSubstr(words));
}

class CtlBus : public testing::Test {
  protected:
    ScratchDir m_directory;
};

TEST_F(CtlBus, WrongUseIsTold) {
    ExpectFailure(RunCtl(NO_BUS, {}), 2, "required");
    ExpectFailure(RunCtl(NO_BUS, {"frob"}), 2, "'frob' is no command");
    ExpectFailure(RunCtl(NO_BUS, {"print", "maybe"}), 2, "maybe");
    ExpectFailure(RunCtl(NO_BUS, {"record", "65536"}), 2, "'65536' is not a number of seconds");
    ExpectFailure(RunCtl(NO_BUS, {"record", "x"}), 2, "'x' is not a number of seconds");
    ExpectFailure(RunCtl(NO_BUS, {"log", "--level", "X"}), 2, "--level");
    ExpectFailure(RunCtl(NO_BUS, {"status", "--count", "2"}), 2, "--watch");
    ExpectFailure(RunCtl(NO_BUS, {"raw", ""}), 2, "empty");
    ExpectFailure(RunCtl(NO_BUS, {"raw", "\xff"}), 2, "UTF-8");
    ExpectFailure(RunCtl(NO_BUS, {"raw", "PrintSwitch_x_0"}), 2, "'x'");
}

TEST_F(CtlBus, HelpOfEveryCommandHasTheExitStatuses) {
    EXPECT_THAT(RunCtl(NO_BUS, {"--help"}).output, HasSubstr("Exit status:\n    0  done\n"));
    for (const char *command : {"commands", "status", "print", "record", "wav", "levels", "log", "raw"}) {
        const CtlEnd end = RunCtl(NO_BUS, {command, "--help"});
        EXPECT_EQ(end.status, 0) << command;
        EXPECT_THAT(end.output, HasSubstr("Exit status:\n    0  done\n")) << command;
        EXPECT_THAT(end.output, HasSubstr("zrctl --help tells of the options")) << command;
    }
}

TEST_F(CtlBus, NoBus) {
    ExpectFailure(RunCtl(NO_BUS, {"raw", "help"}), 3, "no system bus: ");
    ExpectFailure(RunCtl(NO_BUS, {"print", "on"}), 3, "no system bus: ");
    // Without bus and log, the bus is what is told.
    ExpectFailure(RunCtl(NO_BUS, {"status", "--log-file", "none"}), 3, "no system bus: ");
}

TEST_F(CtlBus, NoService) {
    const BusDaemon bus;
    ExpectFailure(RunCtl(bus.Address(), {"raw", "help"}), 4, "no service: ");
    ExpectFailure(RunCtl(bus.Address(), {"commands", "--log-file", "none"}), 4, "no service: ");
}

TEST_F(CtlBus, ADenialHasItsStatus) {
    const BusDaemon bus(std::string(BusDaemon::OPEN_POLICY) +
                        "<policy context=\"mandatory\"><deny send_destination=\"org.FpgaMng.server\"/></policy>");
    BusClient service(bus.Address());
    ASSERT_EQ(service.RequestName("org.FpgaMng.server", 0), DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER);
    for (const char *command : {"raw", "print"})
        ExpectFailure(RunCtl(bus.Address(), {command, "on"}), 6, "denied: ");
}

class CtlSilentService : public CtlBus {
  protected:
    BusDaemon m_bus;
    BusClient m_service{m_bus.Address()};

    void SetUp() override { ASSERT_EQ(m_service.RequestName("org.FpgaMng.server", 0), 1); }

    void Start(const std::vector<std::string> &arguments) {
        std::vector<std::string> all = {ZRCTL};
        all.insert(all.end(), arguments.begin(), arguments.end());
        m_tool = std::make_unique<ChildProcess>(
            "zrctl", all, ChildProcess::Environment{{"DBUS_SYSTEM_BUS_ADDRESS", m_bus.Address()}});
        m_call = m_service.ReceiveCall("audio_dbus_method_FpgaMngDebug", 10000);
        ASSERT_TRUE(m_call);
    }

    std::unique_ptr<ChildProcess> m_tool;
    BusMessage m_call{nullptr, dbus_message_unref};
};

TEST_F(CtlSilentService, NoAnswerInTime) {
    Start({"raw", "help", "--timeout", "0.2"});
    ExpectFailure(EndOf(*m_tool), 5, "no answer");
}

TEST_F(CtlSilentService, TheBusGoesAwayDuringTheCall) {
    Start({"raw", "help", "--timeout", "20"});
    m_bus.Kill();
    ExpectFailure(EndOf(*m_tool), 3, "the system bus went away");
}

TEST_F(CtlSilentService, RawPrintsAnyReply) {
    Start({"raw", "a_b_c"});
    EXPECT_EQ(FirstString(m_call.get()), "a_b_c");
    EXPECT_FALSE(dbus_message_get_auto_start(m_call.get())) << "it never starts the service";
    m_service.Reply(m_call.get(), "{\"res\":-1}");
    const CtlEnd end = EndOf(*m_tool);
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.output, "{\"res\":-1}\n");
}

TEST_F(CtlSilentService, ARefusalHasItsStatus) {
    Start({"print", "off"});
    EXPECT_EQ(FirstString(m_call.get()), "PrintSwitch_0_0");
    m_service.Reply(m_call.get(), "{\"res\":-1}");
    ExpectFailure(EndOf(*m_tool), 10, "refused");
}

TEST_F(CtlSilentService, ARefusedReplyWithoutText) {
    Start({"raw", "help"});
    m_service.Reply(m_call.get(), NO_ARGUMENT);
    ExpectFailure(EndOf(*m_tool), 10, "not a text");
}

TEST_F(CtlSilentService, LinesThatNeverCome) {
    std::ofstream("silent.log").close();
    Start({"status", "--log-file", "silent.log", "--timeout", "1"});
    m_service.Reply(m_call.get(), "{\"res\":0}");
    ExpectFailure(EndOf(*m_tool), 11, "did not come in the log");
}

} // namespace
