// zrpeer receive, loop and rates with the test in the service's place.
#include <csignal>
#include <filesystem>
#include <thread>

#include "Simulation/CardControl.h"
#include "Simulation/CardTap.h"
#include "Sound/BlockPacer.h"
#include "Sound/SoundFile.h"
#include "Tools/PeerTool/ToolFixture.h"

namespace {

constexpr int PERIODS = 250;

class Receive : public ToolFixture {
  protected:
    void SendPeriodsAndEnd(int signal) {
        for (int number = 0; number < PERIODS; ++number)
            SendPeriod(number);
        WaitUntilTaken();
        m_tool->Signal(signal);
    }

    static void ExpectCardSignal(const Samples &samples, std::uint32_t channel) {
        ASSERT_EQ(samples.size(), static_cast<std::size_t>(PERIODS) * 32);
        for (std::size_t frame = 0; frame < samples.size(); ++frame)
            ASSERT_EQ(samples[frame], zr_card_sample(channel, frame)) << channel << " " << frame;
    }
};

TEST_F(Receive, OneFileHoldsAllChannelsBitExact) {
    StartReceiver("receive", {"receive", "--file", "all.wav"});
    SendPeriodsAndEnd(SIGINT);
    ExpectEnd(0, "received 250 blocks (0.500 s), 1 wrong messages\n", "");
    EXPECT_FALSE(std::filesystem::exists(zrpeer::AUDIO_FROM_SERVICE));
    std::string error;
    const std::vector<Samples> channels = ReadChannels16k("all.wav", error);
    ASSERT_EQ(channels.size(), 24U) << error;
    for (std::uint32_t channel = 1; channel <= 24; ++channel)
        ExpectCardSignal(channels[channel - 1], channel);
}

TEST_F(Receive, OneFilePerChannelBitExact) {
    StartReceiver("receive", {"receive", "--each", "out"});
    SendPeriodsAndEnd(SIGTERM);
    ExpectEnd(0, "received 250 blocks (0.500 s), 1 wrong messages\n", "");
    EXPECT_FALSE(std::filesystem::exists(zrpeer::AUDIO_FROM_SERVICE));
    std::string error;
    for (std::uint32_t channel = 1; channel <= 24; ++channel) {
        const std::string number = (channel < 10 ? "0" : "") + std::to_string(channel);
        ExpectCardSignal(ReadMono16k("out/channel_" + number + ".wav", error), channel);
    }
}

TEST_F(Receive, WhatIsNoAudioOfTheServiceIsCountedAndLeftOut) {
    StartReceiver("receive", {"receive", "--file", "all.wav"}); // its first message is an empty one
    stModIpcMsg own = zrpeer::AudioMessage(Period(0));
    stModIpcMsg damaged = zrpeer::AudioMessage(Period(0), EM_IPC_MODTYPE_FPGA);
    damaged.u8XOR8 ^= 1;
    ASSERT_EQ(m_toPeer.Send(own, zrpeer::AUDIO_FROM_SERVICE, 5000), 0);
    ASSERT_EQ(m_toPeer.Send(damaged, zrpeer::AUDIO_FROM_SERVICE, 5000), 0);
    for (const std::size_t size : {0U, 1U, 1546U, 1548U, 65000U}) {
        const std::string data(size, '\xAA');
        ASSERT_EQ(m_toPeer.SendBytes(data.data(), size, zrpeer::AUDIO_FROM_SERVICE, 5000), 0);
    }
    SendPeriodsAndEnd(SIGINT);
    ExpectEnd(0, "received 250 blocks (0.500 s), 8 wrong messages\n", "");
}

TEST_F(Receive, EndsAfterItsSeconds) {
    const std::int64_t begin = MonotonicNs();
    StartReceiver("receive", {"receive", "--file", "all.wav", "--seconds", "1"});
    SendPeriod(0);
    ExpectEnd(0, "received 1 blocks (0.002 s), 1 wrong messages\n", "");
    EXPECT_GE(MonotonicNs() - begin, 1'000'000'000);
}

TEST_F(Receive, NoServiceGetsItsOwnLine) {
    Start("receive", {"receive", "--file", "all.wav", "--seconds", "0.2"});
    ExpectEnd(1, "", "zrpeer: no audio came to /tmp/AudioStream_Fpga_to_Arm within 0.2 s; is the service running?\n");
    EXPECT_FALSE(std::filesystem::exists(zrpeer::AUDIO_FROM_SERVICE));
}

TEST_F(Receive, ASecondPeerIsRefused) {
    zrpeer::Socket first;
    ASSERT_EQ(first.Bind(zrpeer::AUDIO_FROM_SERVICE), 0);
    Start("rates", {"rates"});
    ExpectEnd(1, "", "zrpeer: another peer is using /tmp/AudioStream_Fpga_to_Arm\n");
    EXPECT_TRUE(std::filesystem::exists(zrpeer::AUDIO_FROM_SERVICE));
}

TEST_F(Receive, LoopSendsEveryChannelBackAsThePeer) {
    ASSERT_EQ(m_fromPeer.Bind(zrpeer::AUDIO_TO_SERVICE), 0);
    StartReceiver("loop", {"loop"});
    for (int number = 0; number < PERIODS; ++number) {
        SendPeriod(number);
        zrpeer::AudioBlock block{};
        ReceiveBlock(block);
        ASSERT_EQ(block, Period(number)) << number;
    }
    m_tool->Signal(SIGINT);
    ExpectEnd(0, "looped back 250 blocks, 0 not taken, 1 wrong messages\n", "");
    EXPECT_FALSE(std::filesystem::exists(zrpeer::AUDIO_FROM_SERVICE));
}

TEST_F(Receive, LoopWithoutTheServicesSocketSaysSo) {
    StartReceiver("loop", {"loop"});
    SendPeriod(0);
    ExpectEnd(1, "", "zrpeer: no service at /tmp/AudioStream_Arm_to_Fpga\n");
}

class Rates : public ToolFixture {
  protected:
    // The last line of the output.
    std::string Total() const {
        const std::string output = m_tool->Stdout();
        const std::size_t at = output.find("total: ");
        return at == std::string::npos ? "" : output.substr(at);
    }

    void End() {
        WaitUntilTaken();
        m_tool->Signal(SIGINT);
        ASSERT_EQ(m_tool->Wait().code, 0);
        EXPECT_EQ(m_tool->Stderr(), "");
    }
};

TEST_F(Rates, ContentTellsLostRepeatedAndWrong) {
    StartReceiver("rates", {"rates", "--counter"});
    for (const int number : {0, 1, 2, 6, 6, 7})
        SendPeriod(number);
    zrpeer::AudioBlock wrong = Period(8);
    wrong[11][31] ^= 1;
    ASSERT_EQ(m_toPeer.Send(zrpeer::AudioMessage(wrong, EM_IPC_MODTYPE_FPGA), zrpeer::AUDIO_FROM_SERVICE, 5000), 0);
    End();
    EXPECT_NE(Total().find(", lost 3, out of order 1, wrong samples 1"), std::string::npos) << Total();
    EXPECT_NE(Total().find("wrong messages 1, interval min "), std::string::npos) << Total();
}

TEST_F(Rates, AGapIsSeenByTheTimeOfArrival) {
    StartReceiver("rates", {"rates", "--gap", "200"});
    SendPeriod(0);
    WaitUntilTaken();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    SendPeriod(1);
    SendPeriod(2);
    End();
    EXPECT_NE(Total().find("gaps 1,"), std::string::npos) << Total();
}

TEST_F(Rates, PrintsALineEachSecond) {
    StartReceiver("rates", {"rates", "--seconds", "2.2"});
    SendPeriod(0);
    ASSERT_EQ(m_tool->Wait().code, 0);
    const std::string output = m_tool->Stdout();
    EXPECT_GE(std::count(output.begin(), output.end(), '\n'), 3) << output;
    EXPECT_NE(output.find("blocks/s, gaps 0, wrong messages 1, interval -\n"), std::string::npos) << output;
}

TEST_F(Rates, LatencyIsCountedFromTheCardsCapture) {
    ASSERT_TRUE(CardControl::Create("card"));
    CardControl card;
    ASSERT_TRUE(card.Open("card"));
    StartReceiver("rates", {"rates", "--card", "card"});
    for (int number = 0; number < 10; ++number) {
        std::array<std::uint32_t, CARD_PERIOD_WORDS> words{};
        zr_card_period(static_cast<std::uint64_t>(number) * 32, words.data());
        const auto captured = static_cast<std::uint64_t>(MonotonicNs()) - 70'000'000;
        zr_card_tap_append(card.Shared()->Side(CardSide::Capture), words.data(), captured, captured);
        SendPeriod(number);
    }
    SendPeriod(99);
    End();
    double minimum = 0;
    const std::size_t at = Total().find("latency min ");
    ASSERT_NE(at, std::string::npos) << Total();
    ASSERT_EQ(std::sscanf(Total().c_str() + at, "latency min %lf", &minimum), 1);
    EXPECT_GE(minimum, 70.0);
    EXPECT_NE(Total().find(", unknown 1\n"), std::string::npos) << Total();
}

} // namespace
