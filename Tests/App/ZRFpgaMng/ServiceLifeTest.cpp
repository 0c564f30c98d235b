// Start and end of the service: banner, order, threads, signals, missing parts.
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <signal.h>

#include "ServiceFixture.h"
#include "Support/WaitUntil.h"

using testing::Contains;
using testing::MatchesRegex;
using testing::Not;

namespace {

std::size_t PositionOf(const std::vector<std::string> &texts, const std::string &text) {
    return static_cast<std::size_t>(std::find(texts.begin(), texts.end(), text) - texts.begin());
}

TEST_F(Service, AnnouncesItselfFirst) {
    StartStopped();
    const auto log = Log();
    ASSERT_GE(log.size(), 2u);
    EXPECT_EQ(log[0].level, 'I');
    EXPECT_EQ(log[0].file, "ZRFpgaMng.cpp");
    EXPECT_THAT(log[0].text,
                MatchesRegex("\\[ZRFpgaMng\\] Version:V1\\.1\\.6\\.00 Build Date: [A-Z][a-z][a-z] [ 1-3][0-9] "
                             "20[0-9][0-9] [0-9][0-9]:[0-9][0-9]:[0-9][0-9], Uptime: [0-9]+ ms \\*\\*\\*\\*"));
    EXPECT_THAT(log[1].text, MatchesRegex("Build Commit ID: ([0-9a-f]{40}|unknown) \\(built by .*, .*\\) .+"));
}

TEST_F(Service, StartsItsModulesInOrder) {
    StartStopped();
    const auto texts = LogTexts();
    EXPECT_LT(PositionOf(texts, "D Open all buffer chan"), PositionOf(texts, "I #### AudioPcm ####"));
    EXPECT_LT(PositionOf(texts, "I #### AudioPcm ####"), PositionOf(texts, "I AlsaSound Init Dev:hw:0,0"));
    EXPECT_LT(PositionOf(texts, "I AlsaSound Init Dev:hw:0,0"), PositionOf(texts, "I #### AudioNet ####"));
    EXPECT_LT(PositionOf(texts, "I #### AudioNet ####"), texts.size());
}

TEST_F(Service, IgnoresArguments) {
    CardConfig config;
    config.clockRunning = false;
    Start(config, {}, {"--help", "nonsense"});
    EXPECT_TRUE(WaitForThread("NetRecv"));
    EXPECT_EQ(m_service->Stdout(), "");
}

class ServiceSignal : public Service, public testing::WithParamInterface<int> {};

// The bridge threads still run, so the exit-time destructors abort right after the trace.
TEST_P(ServiceSignal, AbortsAfterTheTraceWhileTheBridgesRun) {
    StartStopped();
    const ExitStatus status = Stop(GetParam());
    EXPECT_TRUE(status.signalled);
    EXPECT_EQ(status.signal, SIGABRT);

    const auto texts = LogTexts();
    const std::size_t received = PositionOf(texts, "I Received signal " + std::to_string(GetParam()));
    ASSERT_LT(received + 2, texts.size());
    EXPECT_EQ(texts[received + 1], "I Stack trace:");
    const std::size_t destroyed = PositionOf(texts, "I #### ~AudioNet ####");
    ASSERT_EQ(destroyed, texts.size() - 1) << "the process ends with the first bridge that goes";
    EXPECT_GE(destroyed - received - 2, 1u);
    EXPECT_LE(destroyed - received - 2, 50u);
    EXPECT_THAT(texts, Not(Contains("D Close all buffer chan"))) << "no orderly stop on this path";
}

// One bridge suffices, whichever it is: the process ends when it goes.
TEST_F(Service, AbortsWhileOnlyTheNetworkBridgeRuns) {
    CardConfig config;
    config.presence = CardPresence::Missing;
    Start(config);
    ASSERT_TRUE(WaitForThread("NetSend"));
    ASSERT_TRUE(WaitForThread("NetRecv"));
    EXPECT_EQ(Stop(SIGTERM).signal, SIGABRT);
    EXPECT_EQ(LogTexts().back(), "I #### ~AudioNet ####");
}

TEST_F(Service, AbortsWhileOnlyThePcmBridgeRuns) {
    std::filesystem::remove_all(CONTROL); // left by a service that was killed
    std::filesystem::create_directories(std::string(CONTROL) + "/occupied");
    CardConfig config;
    config.clockRunning = false;
    Start(config);
    EXPECT_TRUE(WaitForThread("PcmRead"));
    EXPECT_TRUE(WaitForThread("PcmWrite"));
    EXPECT_TRUE(WaitForLog("E IPCStreamer init error!!!"));
    EXPECT_EQ(Stop(SIGTERM).signal, SIGABRT);
    std::filesystem::remove_all(CONTROL);
    EXPECT_EQ(LogTexts().back(), "I #### ~AudioPcm ####");
}

// No bridge thread was started: the status is the signal's number.
TEST_P(ServiceSignal, ExitsWithItsNumberWithoutBridges) {
    std::filesystem::remove_all(CONTROL); // left by a service that was killed
    std::filesystem::create_directories(std::string(CONTROL) + "/occupied");
    CardConfig config;
    config.presence = CardPresence::Missing;
    Start(config);
    EXPECT_TRUE(WaitForLog("E IPCStreamer init error!!!"));
    const ExitStatus status = Stop(GetParam());
    std::filesystem::remove_all(CONTROL);
    EXPECT_TRUE(status.exited) << status.signal;
    EXPECT_EQ(status.code, GetParam()) << m_service->Stderr();

    const auto texts = LogTexts();
    EXPECT_LT(PositionOf(texts, "I #### ~AudioNet ####"), PositionOf(texts, "I #### ~AudioPcm ####"));
    EXPECT_LT(PositionOf(texts, "I #### ~AudioPcm ####"), texts.size());
}

INSTANTIATE_TEST_SUITE_P(Terminating, ServiceSignal, testing::Values(SIGINT, SIGQUIT, SIGTERM),
                         [](const auto &test) { return std::string(sigabbrev_np(test.param)); });

TEST_F(Service, SurvivesSigpipe) {
    StartStopped();
    m_service->Signal(SIGPIPE);
    DatagramSocket peer(TO_PEER);
    EXPECT_EQ(CaptureOne(peer), ExpectedMessage(0));
}

TEST_F(Service, RunsTheSocketsWithoutACard) {
    CardConfig config;
    config.presence = CardPresence::Missing;
    Start(config);
    EXPECT_TRUE(WaitForLog("E pAlsaSnd  Init failed"));
    EXPECT_TRUE(WaitForLog("I Couldn't open 'hw:0,0' device: No such device"));
    EXPECT_TRUE(WaitForThread("NetRecv"));
    EXPECT_FALSE(HasThread("PcmRead"));
    EXPECT_TRUE(WaitForThread("CZRIpc"));
    m_sender.SendTo(CONTROL, message::Make(1, {1, 9}));
    EXPECT_TRUE(WaitForLog("I open 9 streamer"));
}

TEST_F(Service, RunsTheSocketsBesideABusyCard) {
    CardConfig config;
    config.presence = CardPresence::Busy;
    Start(config);
    EXPECT_TRUE(WaitForLog("I Couldn't open 'hw:0,0' device: Device or resource busy"));
    EXPECT_TRUE(WaitForThread("NetRecv"));
    EXPECT_FALSE(HasThread("PcmRead"));
}

TEST_F(Service, RunsTheBridgesWithoutABus) {
    StartStopped();
    const auto log = Log();
    ASSERT_GE(log.size(), 4u);
    EXPECT_EQ(log[2].level, 'E') << "right after the banner";
    EXPECT_THAT(log[2].text, testing::StartsWith("dbus_bus_get: "));
    EXPECT_TRUE(WaitForThread("CDbusHandler"));
    DatagramSocket peer(TO_PEER);
    EXPECT_EQ(CaptureOne(peer), ExpectedMessage(0));
}

TEST_F(Service, SilentLogAtLevelOne) {
    StartBus();
    CardConfig config;
    config.clockRunning = false;
    Start(config, {{"DEBUG_LOG_LEVEL", "1"}});
    EXPECT_TRUE(WaitForThread("NetRecv"));
    EXPECT_TRUE(Log().empty());
}

TEST_F(Service, MovesAudioWithoutALogDirectory) {
    const std::string aside = std::string(LOG_DIRECTORY) + ".aside";
    const bool existed = std::filesystem::exists(LOG_DIRECTORY);
    std::filesystem::create_directories(std::filesystem::path(LOG_DIRECTORY).parent_path());
    if (existed)
        std::filesystem::rename(LOG_DIRECTORY, aside);
    std::ofstream(LOG_DIRECTORY) << "in the way";

    StartStopped();
    DatagramSocket peer(TO_PEER);
    EXPECT_EQ(CaptureOne(peer), ExpectedMessage(0));

    m_service.reset();
    std::filesystem::remove(LOG_DIRECTORY);
    if (existed)
        std::filesystem::rename(aside, LOG_DIRECTORY);
}

} // namespace
