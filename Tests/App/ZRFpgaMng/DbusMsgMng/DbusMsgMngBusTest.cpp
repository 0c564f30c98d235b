// The method on a real bus, and the end of the process.
#include <cstdlib>

#include <gmock/gmock.h>

#include "BSW/Dbus/DbusHandler.h"
#include "Support/BusClient.h"
#include "Support/BusDaemon.h"
#include "Support/LogCapture.h"
#include "ZRFpgaMng/AudioPcmMng/AudioPcm.h"
#include "ZRFpgaMng/DbusMsgMng/DbusMsgMng.h"

using testing::Contains;

namespace {

constexpr char NAME[] = "org.FpgaMng.server";
constexpr char PATH[] = "/org/FpgaMng/object";
constexpr char INTERFACE[] = "org.FpgaMng.interface";
constexpr char METHOD[] = "audio_dbus_method_FpgaMngDebug";

TEST(DbusMsgMngBus, TheMethodAnswersFromInitOnAndStaysAfterCleanUp) {
    LogCapture log;
    BusDaemon bus;
    bus.UseAsSystemBus();
    ASSERT_TRUE(CDbusHandler::instance()->Init(NAME));
    AudioPcm::instance();
    BusClient client(bus.Address());
    EXPECT_EQ(client.Call(NAME, PATH, INTERFACE, METHOD, "help"), DBUS_ERROR_UNKNOWN_METHOD);
    EXPECT_EQ(DbusMsgMng::instance()->Init(), 1);
    EXPECT_EQ(client.Call(NAME, PATH, INTERFACE, METHOD, "PrintSwitch_1_0"), "{\"res\":0}");
    EXPECT_THAT(log.Texts(), Contains("D Set Pcm Print switch:1"));
    EXPECT_EQ(client.Call(NAME, PATH, INTERFACE, METHOD, ""), "{\"res\":-1}");
    EXPECT_EQ(DbusMsgMng::instance()->CleanUp(), 1);
    log.Clear();
    EXPECT_EQ(client.Call(NAME, PATH, INTERFACE, METHOD, "PrintSwitch_0_0"), "{\"res\":0}");
    EXPECT_THAT(log.Texts(), Contains("D Set Pcm Print switch:0"));
}

// Runs after the exit-time destructors of what was made after it was registered.
void CallLate() {
    const std::string reply = DbusMsgMng::_FpgaDebugFun("PrintSwitch_1_0");
    std::fprintf(stderr, "late %s\n", reply.c_str());
}

TEST(DbusMsgMngBus, NoCommandRunsOnceTheProcessIsLeaving) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            std::atexit(CallLate);
            DbusMsgMng::instance();
            std::exit(3);
        },
        testing::ExitedWithCode(3), "late \\{\"res\":-1\\}");
}

} // namespace
