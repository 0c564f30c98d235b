// zrctl and the real service: what it shows of it and what it switches.
#include <csignal>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "CtlServiceFixture.h"

using testing::HasSubstr;

namespace {

using Json = nlohmann::json;

constexpr std::uintmax_t LOG_FULL_BYTES = 10240000;

TEST_F(CtlService, ListsTheCommands) {
    StartOnBus();
    const CtlEnd end = Zrctl({"commands"});
    EXPECT_EQ(end.status, 0) << end.errors;
    EXPECT_EQ(end.output, "NodeInfo     Print modules node Send&Recv count\n"
                          "PrintSwitch  fpga pcm debug print switch(1 or 0)\n"
                          "SaveAudio    Record pcm audio stream to file\n"
                          "help         Support cmd list\n");
}

TEST_F(CtlService, StatusShowsTheCounters) {
    StartOnBus();
    DatagramSocket peer(TO_PEER);
    for (int i = 0; i < 5; ++i)
        CaptureOne(peer);
    const CtlEnd table = Zrctl({"status"});
    EXPECT_EQ(table.status, 0) << table.errors;
    EXPECT_THAT(table.output, HasSubstr("Card, capture\n"));
    const CtlEnd end = Zrctl({"status", "--json"});
    ASSERT_EQ(end.status, 0) << end.errors;
    const Json json = Json::parse(end.output);
    EXPECT_EQ(json["net_send"]["sent"], 5);
    EXPECT_EQ(json["pcm_read"]["written"], 5);
    EXPECT_EQ(json["buffer_in"]["capacity"], 102400);
    EXPECT_EQ(json["buffer_in"]["reader_in_use"], 1);
    EXPECT_EQ(json["buffer_in"]["waiting"], 0);
    EXPECT_EQ(json["buffer_out"]["waiting"], 0);
}

TEST_F(CtlService, WatchShowsRates) {
    StartOnBus();
    DatagramSocket peer(TO_PEER);
    const auto tool = StartZrctl({"status", "--watch", "--json", "--count", "2"});
    ASSERT_TRUE(WaitUntil([&] { return tool->Stdout().find('\n') != std::string::npos; }, 20000));
    for (int i = 0; i < 7; ++i)
        CaptureOne(peer);
    const CtlEnd end = EndOf(*tool);
    ASSERT_EQ(end.status, 0) << end.errors;
    const Json json = Json::parse(end.output.substr(end.output.find('\n')));
    EXPECT_EQ(json["difference"]["net_send"]["sent"], 7);
    EXPECT_NEAR(json["rate"]["net_send"]["sent"].get<double>(), 7 / json["seconds"].get<double>(), 1e-6);
    EXPECT_EQ(json["restarted"], false);
}

TEST_F(CtlService, WatchEndsWithASignal) {
    StartOnBus();
    const auto tool = StartZrctl({"status", "--watch"});
    ASSERT_TRUE(WaitUntil([&] { return tool->Stdout().find("per second") != std::string::npos; }, 20000));
    tool->Signal(SIGINT);
    EXPECT_EQ(EndOf(*tool).status, 0);
}

TEST_F(CtlService, SwitchesPrinting) {
    StartOnBus();
    EXPECT_EQ(Zrctl({"print", "on"}).output, "printing is on\n");
    EXPECT_TRUE(WaitForLog("D Set Pcm Print switch:1"));
    EXPECT_EQ(Json::parse(Zrctl({"status", "--json"}).output)["pcm"]["print_switch"], 1);
    const int before = CountLog("D Set Pcm Print switch:0"); // of the start
    EXPECT_EQ(Zrctl({"print", "off"}).output, "printing is off\n");
    EXPECT_EQ(CountLog("D Set Pcm Print switch:0"), before + 1);
}

TEST_F(CtlService, RawGoesAsItIs) {
    StartOnBus();
    const CtlEnd end = Zrctl({"raw", "Frob%d_x"});
    EXPECT_EQ(end.status, 0);
    EXPECT_EQ(end.output, "{\"res\":0}\n");
    EXPECT_EQ(CountLog("E cmd: Frob0 not support"), 1); // the log expands its text once more
    EXPECT_EQ(Zrctl({"raw", "SaveAudio_x_y"}).status, 2);
    EXPECT_TRUE(m_service->IsRunning());
}

TEST_F(CtlService, LogShowsWhatTheServiceWrites) {
    StartOnBus();
    Zrctl({"raw", "Frob"});
    EXPECT_THAT(Zrctl({"log", "--level", "E", "--lines", "1"}).output, HasSubstr("] cmd: Frob not support\n"));
}

TEST_F(CtlService, StatusSurvivesTheRollingOfTheLog) {
    StartOnBus();
    const std::string log = std::string(LOG_DIRECTORY) + "/system.log";
    std::filesystem::resize_file(log, LOG_FULL_BYTES - 400); // full in the middle of the report
    const CtlEnd end = Zrctl({"status", "--json"});
    EXPECT_EQ(end.status, 0) << end.errors;
    EXPECT_LT(std::filesystem::file_size(log), 100000u) << "the log was not rolled";
    for (const auto &entry : std::filesystem::directory_iterator(LOG_DIRECTORY))
        if (entry.path().filename().string().starts_with("system.log."))
            std::filesystem::remove(entry.path());
}

TEST_F(CtlService, ASilentLogHasItsStatus) {
    StartBus();
    Start({}, {{"DEBUG_LOG_LEVEL", "1"}});
    m_operator.emplace(m_bus->Address());
    ASSERT_TRUE(WaitUntil([&] { return Call("PrintSwitch") == REPLY_OK; }, 20000));
    const CtlEnd end = Zrctl({"status", "--timeout", "1"});
    EXPECT_EQ(end.status, 11) << end.errors;
}

TEST_F(CtlService, AStoppedServiceDoesNotAnswer) {
    StartOnBus();
    m_service->Signal(SIGSTOP);
    const CtlEnd end = Zrctl({"status", "--timeout", "0.3"});
    m_service->Signal(SIGCONT);
    EXPECT_EQ(end.status, 5) << end.errors;
}

} // namespace
