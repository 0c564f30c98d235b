// The debug commands through a real bus, and what calls and a lost bus do to the audio.
#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

#include <gmock/gmock.h>

#include "ServiceDebugFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr uint64_t FRAMES = CARD_PERIOD_FRAMES;

// One period each way at a time, every one checked.
class ServiceDebugAudio : public ServiceDebug {
  protected:
    void StartAudio() {
        StartOnBus();
        m_peer.emplace(TO_PEER);
        FillPlayback();
    }

    // Moves the card one period ahead: it plays one and captures one.
    void MoveOneEachWay() {
        const unsigned number = static_cast<unsigned>(m_played) - 1;
        PlayOne(message::PlanarPayload(number));
        ASSERT_EQ(Played(m_played - 1), ExpectedWords(message::PlanarPayload(number))) << number;
        ASSERT_EQ(m_peer->Receive(10000), ExpectedMessage(m_captured * FRAMES)) << m_captured;
        ++m_captured;
    }

    void MoveEachWay(int periods) {
        for (int i = 0; i < periods && !HasFatalFailure(); ++i)
            MoveOneEachWay();
    }

    std::optional<DatagramSocket> m_peer;
    uint64_t m_captured = 0;
};

TEST_F(ServiceDebug, HelpGoesToTheLog) {
    StartOnBus();
    const auto texts = Run("help");
    ASSERT_EQ(texts.size(), 1u);
    EXPECT_THAT(texts[0], StartsWith("D support cmd list : \n"));
    for (const char *line : {"\ncmd: help                  Usage: Support cmd list \n",
                             "\ncmd: NodeInfo              Usage: Print modules node Send&Recv count \n",
                             "\ncmd: PrintSwitch           Usage: fpga pcm debug print switch(1 or 0) \n",
                             "\ncmd: SaveAudio             Usage: Record pcm audio stream to file \n"})
        EXPECT_THAT(texts[0], HasSubstr(line));
}

TEST_F(ServiceDebug, NodeInfoReportsTheTransfers) {
    StartOnBus();
    FillPlayback();
    DatagramSocket peer(TO_PEER);
    for (uint64_t period = 0; period < 20; ++period)
        ASSERT_EQ(CaptureOne(peer), ExpectedMessage(period * FRAMES));
    std::vector<std::string> texts;
    EXPECT_TRUE(WaitUntil([&] { // the last period's counters come right behind it
        texts = Run("NodeInfo_x");
        return std::find(texts.begin(), texts.end(), "D [Net]SendThread RdBuffer:20 SndSuc:20 SndErr:0") != texts.end();
    }));
    std::erase_if(texts,
                  [](const std::string &text) { return text.starts_with("D ++++") || text.starts_with("D   "); });
    EXPECT_THAT(
        texts,
        ElementsAre(MatchesRegex("D MODULE: direct 0 \\(RdHdl:0x[0-9a-f]+ bUsed:1 count:0 WrHdl:0x[0-9a-f]+ bUsed:1, "
                                 "count:0\\)"),
                    StartsWith("D MODULE: direct 1 "), "D [Net]SendThread RdBuffer:20 SndSuc:20 SndErr:0",
                    "D [Net]RecvThread WrBuffer:5 RcvSuc:5 RcvErr:0",
                    "D [Pcm]ReadThread WrBuffer:20 RdSuc:20 RdErr:0, ProRdFail:0",
                    MatchesRegex("D \\[Pcm\\]Read Cnt1:0 Cnt2:0 Time:[0-9]+us [0-9]+us Max:[0-9]+us [0-9]+us"),
                    "D [Pcm]WriteThread RdBuffer:5 WrSuc:5 WrErr:0, WrDrop:0",
                    MatchesRegex("D \\[Pcm\\]Write Cnt1:[0-9]+ Cnt2:5, Cnt3:[0-9] Time:[0-9]+us [0-9]+us Max:[0-9]+us"),
                    "D Pcm Print switch:0, PcmDiff:15"));
}

TEST_F(ServiceDebug, PrintSwitchTurnsTheDumpOnAndOff) {
    StartOnBus();
    EXPECT_THAT(Run("PrintSwitch_1_0"), ElementsAre("D Set Pcm Print switch:1"));
    DatagramSocket peer(TO_PEER);
    for (uint64_t period = 0; period < 1001; ++period)
        ASSERT_EQ(CaptureOne(peer), ExpectedMessage(period * FRAMES));
    const auto texts = LogTexts();
    EXPECT_THAT(texts, IsSupersetOf({StartsWith("D FPGA PcmRdData0:\n "), StartsWith("D FPGA PcmRdData1:\n ")}));
    EXPECT_EQ(texts.back(), "D ");
    EXPECT_THAT(Run("PrintSwitch_1"), ElementsAre("D Set Pcm Print switch:0"));
}

TEST_F(ServiceDebug, WrongCommandsAreAnswered) {
    StartOnBus();
    EXPECT_THAT(Run("", REPLY_FAILED), ElementsAre("E strCommand is empty"));
    for (const std::string command : {"Help", "nodeinfo", " "})
        EXPECT_THAT(Run(command + "_1_1"),
                    ElementsAre("E cmd: " + command + " not support", StartsWith("D support cmd list : \n")));
    EXPECT_THAT(Run("_help"), ElementsAre("E cmd:  not support", StartsWith("D support cmd list : \n")));
    const std::vector<std::string> formats = {"%s%s%s%s%n%n%n%n", "%9999d%1$n%*d%", std::string(200000, '%')};
    for (const std::string &command : formats)
        EXPECT_THAT(Run(command), ElementsAre(StartsWith("E cmd: "), StartsWith("D support cmd list : \n")));
    EXPECT_THAT(Run("PrintSwitch_0_0"), ElementsAre("D Set Pcm Print switch:0")) << "the service goes on";
}

TEST_F(ServiceDebug, ACallWithoutATextEndsTheProcess) {
    StartOnBus();
    m_operator->Send("org.FpgaMng.server", "/org/FpgaMng/object", "org.FpgaMng.interface",
                     "audio_dbus_method_FpgaMngDebug", NO_ARGUMENT);
    const ExitStatus status = m_service->Wait(20000);
    EXPECT_TRUE(status.signalled);
    EXPECT_EQ(status.signal, SIGABRT);
    EXPECT_THAT(m_service->Stderr(), HasSubstr("Message has no arguments!\n"));
    EXPECT_THAT(m_service->Stderr(), HasSubstr("std::logic_error"));
}

class ServiceDebugNumber : public ServiceDebug, public testing::WithParamInterface<const char *> {};

// Nothing catches a number that does not parse.
TEST_P(ServiceDebugNumber, EndsTheProcess) {
    StartOnBus();
    EXPECT_EQ(Call(GetParam()), DBUS_ERROR_NO_REPLY);
    const ExitStatus status = m_service->Wait(20000);
    EXPECT_TRUE(status.signalled);
    EXPECT_EQ(status.signal, SIGABRT);
    EXPECT_THAT(m_service->Stderr(), HasSubstr("stoi"));
}

INSTANTIATE_TEST_SUITE_P(Broken, ServiceDebugNumber,
                         testing::Values("SaveAudio_x_0", "PrintSwitch__", "SaveAudio_99999999999_0"));

// 1000 calls, 200 in a second, beside audio as fast as it goes.
TEST_F(ServiceDebugAudio, CallsCostNoAudio) {
    StartAudio();
    std::atomic<int> answered{0};
    std::atomic<bool> done{false};
    std::jthread caller([&](const std::stop_token &stop) {
        BusClient client(m_bus->Address());
        auto next = std::chrono::steady_clock::now();
        for (int call = 0; call < 1000 && !stop.stop_requested(); ++call) {
            answered += CallBy(client, call % 2 ? "NodeInfo" : "PrintSwitch_0_0") == REPLY_OK;
            std::this_thread::sleep_until(next += std::chrono::milliseconds(5));
        }
        done = true;
    });
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!done && !HasFatalFailure() && std::chrono::steady_clock::now() < deadline)
        MoveOneEachWay();
    EXPECT_EQ(answered, 1000);
    EXPECT_GT(m_captured, 500u);
}

TEST_F(ServiceDebugAudio, ALostBusCostsNoAudio) {
    StartAudio();
    MoveEachWay(100);
    m_bus->Kill();
    MoveEachWay(200);
    m_bus->Start();
    MoveEachWay(200);
    BusClient late(m_bus->Address());
    EXPECT_EQ(CallBy(late, "help"), DBUS_ERROR_SERVICE_UNKNOWN) << "there is no second connection";
    EXPECT_TRUE(m_service->IsRunning()) << m_service->Stderr();
    EXPECT_TRUE(HasThread("CDbusHandler"));
    EXPECT_THAT(LogTexts(), Not(Contains(StartsWith("E "))));
}

} // namespace
