// zrpeer send, control and debug with the test in the service's place.
#include <csignal>
#include <cstring>
#include <filesystem>

#include "PeerTool/CounterCheck.h"
#include "Sound/BlockPacer.h"
#include "Sound/SoundFile.h"
#include "Tools/PeerTool/ToolFixture.h"

namespace {

class Send : public ToolFixture {
  protected:
    void SetUp() override {
        ASSERT_EQ(m_fromPeer.Bind(zrpeer::AUDIO_TO_SERVICE), 0);
        ASSERT_EQ(m_control.Bind(zrpeer::CONTROL_TO_SERVICE), 0);
    }

    // Takes blocks until none has come for half a second.
    std::vector<zrpeer::AudioBlock> ReceiveAll() {
        std::vector<zrpeer::AudioBlock> blocks;
        stModIpcMsg msg;
        zrpeer::AudioBlock block{};
        while (m_fromPeer.Receive(msg, blocks.empty() ? 5000 : 500) == 1547)
            if (zrpeer::Check(msg, 1547, EM_IPC_MODTYPE_AUDSTREAM) == zrpeer::Fault::None &&
                zrpeer::GetAudio(msg, block))
                blocks.push_back(block);
        return blocks;
    }

    static void WriteFile(const std::string &path, int channels, const Samples &interleaved) {
        WavWriter writer;
        std::string error;
        ASSERT_TRUE(writer.Open(path, channels, error)) << error;
        ASSERT_TRUE(writer.Write(interleaved.data(), interleaved.size() / static_cast<std::size_t>(channels)));
        ASSERT_TRUE(writer.Close());
    }

    static Samples CardSignal(std::uint32_t channel, std::size_t frames) {
        Samples samples;
        for (std::size_t frame = 0; frame < frames; ++frame)
            samples.push_back(zr_card_sample(channel, frame));
        return samples;
    }

    // Every channel is the card's signal at `expected` frames, and silent behind.
    static void ExpectChannel(const std::vector<zrpeer::AudioBlock> &blocks, std::uint32_t channel,
                              std::size_t frames) {
        for (std::size_t frame = 0; frame < blocks.size() * 32; ++frame)
            ASSERT_EQ(blocks[frame / 32][channel - 1][frame % 32], frame < frames ? zr_card_sample(channel, frame) : 0)
                << channel << " " << frame;
    }

    zrpeer::Socket m_control;
};

TEST_F(Send, TestSignalComesExactAndNoFasterThanTheClock) {
    const std::int64_t begin = MonotonicNs();
    Start("send", {"send", "--seconds", "1"});
    CounterCheck check;
    zrpeer::AudioBlock block{};
    for (int number = 0; number < 250; ++number) {
        ASSERT_NO_FATAL_FAILURE(ReceiveBlock(block)) << number;
        check.Add(block);
    }
    // From the tool's start, as it may send late but then catches up.
    EXPECT_GE(MonotonicNs() - begin, 249 * 2'000'000);
    EXPECT_EQ(check.Lost() + check.OutOfOrder() + check.WrongSamples(), 0U);
    const std::size_t count = 250 + ReceiveAll().size();
    ExpectEnd(0, "sent " + std::to_string(count) + " blocks, 0 not taken\n", "");
    EXPECT_LE(count, 501U);
}

TEST_F(Send, AFileWithAllChannelsGoesOutBitExact) {
    Samples interleaved;
    for (std::size_t frame = 0; frame < 1000; ++frame)
        for (std::uint32_t channel = 1; channel <= 24; ++channel)
            interleaved.push_back(zr_card_sample(channel, frame));
    WriteFile("all.wav", 24, interleaved);
    Start("send", {"send", "--all", "all.wav"});
    const auto blocks = ReceiveAll();
    EXPECT_EQ(blocks.size(), 32U); // 1000 frames in blocks of 32
    for (std::uint32_t channel = 1; channel <= 24; ++channel)
        ExpectChannel(blocks, channel, 1000);
    ExpectEnd(0, "sent 32 blocks, 0 not taken\n", "");
}

TEST_F(Send, FilesOfSingleChannelsLeaveTheOthersSilent) {
    WriteFile("long.wav", 1, CardSignal(3, 960));
    WriteFile("short.wav", 1, CardSignal(24, 100));
    Start("send", {"send", "--file", "3=long.wav", "--file", "24=short.wav"});
    const auto blocks = ReceiveAll();
    EXPECT_EQ(blocks.size(), 30U);
    for (std::uint32_t channel = 1; channel <= 24; ++channel)
        ExpectChannel(blocks, channel, channel == 3 ? 960 : channel == 24 ? 100 : 0);
    ExpectEnd(0, "sent 30 blocks, 0 not taken\n", "");
}

TEST_F(Send, FollowSendsOneBlockForEachThatComes) {
    StartReceiver("send", {"send", "--follow"});
    zrpeer::AudioBlock block{};
    stModIpcMsg msg;
    for (int number = 0; number < 100; ++number) {
        SendPeriod(number + 1000);
        ASSERT_NO_FATAL_FAILURE(ReceiveBlock(block));
        ASSERT_EQ(block, Period(number)) << number;
    }
    EXPECT_EQ(m_fromPeer.Receive(msg, 50), -EAGAIN);
    m_tool->Signal(SIGINT);
    ExpectEnd(0, "sent 100 blocks, 0 not taken\n", "");
    EXPECT_FALSE(std::filesystem::exists(zrpeer::AUDIO_FROM_SERVICE));
}

TEST_F(Send, AServiceThatGoesAwayEndsIt) {
    Start("send", {"send"});
    zrpeer::AudioBlock block{};
    ReceiveBlock(block);
    m_fromPeer.Close();
    ExpectEnd(1, "", "zrpeer: no service at /tmp/AudioStream_Arm_to_Fpga\n");
}

TEST_F(Send, ControlRequestsByteByByte) {
    for (const auto &[action, number] : {std::pair<const char *, int>{"open", 1}, {"close", 2}}) {
        Start("control", {"control", action, "24"});
        ExpectEnd(0, std::string("sent: ") + action + " channel 24\n", "");
        stModIpcMsg msg;
        ASSERT_EQ(m_control.Receive(msg, 1000), 1547);
        const stModIpcMsg expected = zrpeer::ControlMessage(static_cast<ZR_U8>(number), 24);
        EXPECT_EQ(std::memcmp(&msg, &expected, sizeof msg), 0);
    }
}

TEST_F(Send, DebugRequestByteByByte) {
    Start("debug", {"debug", "255"});
    ExpectEnd(0, "sent: debug request 255\n", "");
    stModIpcMsg msg;
    ASSERT_EQ(m_control.Receive(msg, 1000), 1547);
    const stModIpcMsg expected = zrpeer::DebugMessage(255);
    EXPECT_EQ(std::memcmp(&msg, &expected, sizeof msg), 0);
}

class NoService : public ToolFixture {};

TEST_F(NoService, EachSenderSaysSoInOneLine) {
    Start("send", {"send"});
    ExpectEnd(1, "", "zrpeer: no service at /tmp/AudioStream_Arm_to_Fpga\n");
    Start("control", {"control", "open", "1"});
    ExpectEnd(1, "", "zrpeer: no service at /tmp/CtrlStream_Arm_to_Fpga\n");
    Start("debug", {"debug", "1"});
    ExpectEnd(1, "", "zrpeer: no service at /tmp/CtrlStream_Arm_to_Fpga\n");
}

} // namespace
