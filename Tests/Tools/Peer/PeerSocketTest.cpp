// The peer's socket, also against a second process.
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Peer/ZRPeer.h"
#include "Support/ChildProcess.h"
#include "Support/ScratchDir.h"
#include "Support/WaitUntil.h"

namespace {

constexpr const char *ECHO_PEER = ZR_BINARY_DIR "/bin/zr_echo_peer";

zrpeer::AudioBlock BlockNumber(int number) {
    zrpeer::AudioBlock block;
    for (std::size_t channel = 0; channel < block.size(); ++channel)
        for (std::size_t frame = 0; frame < block[channel].size(); ++frame)
            block[channel][frame] = static_cast<std::int16_t>(static_cast<int>(channel * 1000 + frame) + number * 32);
    return block;
}

int ElapsedMs(const std::chrono::steady_clock::time_point &from) {
    const auto passed = std::chrono::steady_clock::now() - from;
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(passed).count());
}

class PeerSocket : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(m_receiver.Bind("r.sock"), 0);
        ASSERT_EQ(m_sender.Open(), 0);
    }

    ScratchDir m_directory;
    zrpeer::Socket m_receiver;
    zrpeer::Socket m_sender;
    stModIpcMsg m_msg{};
};

TEST_F(PeerSocket, EchoOfASecondProcessIsExactInOrderOnEveryChannel) {
    ChildProcess peer("peer", {ECHO_PEER, "peer.sock", "r.sock"});
    const auto first = zrpeer::AudioMessage(BlockNumber(0), EM_IPC_MODTYPE_FPGA);
    ASSERT_TRUE(WaitUntil([&] { return m_sender.Send(first, "peer.sock", 1000) == 0; }));
    for (int number = 0; number < 200; ++number) {
        ASSERT_EQ(m_receiver.Receive(m_msg, 5000), 1547);
        ASSERT_EQ(zrpeer::Check(m_msg, 1547, EM_IPC_MODTYPE_AUDSTREAM), zrpeer::Fault::None);
        zrpeer::AudioBlock block{};
        ASSERT_TRUE(zrpeer::GetAudio(m_msg, block));
        ASSERT_EQ(block, BlockNumber(number)) << number;
        const auto next = zrpeer::AudioMessage(BlockNumber(number + 1), EM_IPC_MODTYPE_FPGA);
        ASSERT_EQ(m_sender.Send(next, "peer.sock", 1000), 0);
    }
}

TEST_F(PeerSocket, AFileLeftByAKilledProcessIsReplaced) {
    ChildProcess peer("peer", {ECHO_PEER, "peer.sock", "r.sock"});
    const auto msg = zrpeer::AudioMessage(BlockNumber(0));
    ASSERT_TRUE(WaitUntil([&] { return m_sender.Send(msg, "peer.sock", 1000) == 0; }));
    zrpeer::Socket successor;
    EXPECT_EQ(successor.Bind("peer.sock"), -EADDRINUSE);
    peer.Signal(SIGKILL);
    peer.Wait();
    EXPECT_EQ(m_sender.Send(msg, "peer.sock", 0), -ECONNREFUSED);
    ASSERT_TRUE(std::filesystem::exists("peer.sock"));
    ASSERT_EQ(successor.Bind("peer.sock"), 0);
    EXPECT_EQ(m_sender.Send(msg, "peer.sock", 0), 0);
    EXPECT_EQ(successor.Receive(m_msg, 1000), 1547);
}

TEST_F(PeerSocket, APathInUseStaysWithItsOwner) {
    zrpeer::Socket other;
    EXPECT_EQ(other.Bind("r.sock"), -EADDRINUSE);
    EXPECT_FALSE(other.IsOpen());
    ASSERT_EQ(m_sender.Send(zrpeer::DebugMessage(1), "r.sock", 0), 0);
    EXPECT_EQ(m_receiver.Receive(m_msg, 1000), 1547);
}

TEST_F(PeerSocket, AFileThatIsNoSocketStays) {
    std::ofstream("notes.txt") << "text";
    zrpeer::Socket other;
    EXPECT_EQ(other.Bind("notes.txt"), -EADDRINUSE);
    EXPECT_EQ(ReadWholeFile("notes.txt"), "text");
}

TEST_F(PeerSocket, CloseRemovesItsOwnFileOnly) {
    m_receiver.Close();
    EXPECT_FALSE(std::filesystem::exists("r.sock"));
    ASSERT_EQ(m_receiver.Bind("r.sock"), 0);
    std::filesystem::rename("r.sock", "moved.sock"); // keeps the inode from being used again
    zrpeer::Socket successor;
    ASSERT_EQ(successor.Bind("r.sock"), 0);
    m_receiver.Close();
    EXPECT_TRUE(std::filesystem::exists("r.sock"));
}

TEST_F(PeerSocket, ReceiveEndsAfterItsTime) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(m_receiver.Receive(m_msg, 0), -EAGAIN);
    EXPECT_EQ(m_receiver.Receive(m_msg, 50), -EAGAIN);
    EXPECT_GE(ElapsedMs(begin), 50);
}

TEST_F(PeerSocket, SendEndsAfterItsTimeWhileNobodyReads) {
    int sent = 0;
    while (sent < 10000 && m_sender.Send(zrpeer::DebugMessage(3), "r.sock", 0) == 0)
        ++sent;
    ASSERT_LT(sent, 10000);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(m_sender.Send(zrpeer::DebugMessage(3), "r.sock", 50), -EAGAIN);
    EXPECT_GE(ElapsedMs(begin), 49); // the kernel counts in ticks
    ASSERT_EQ(m_receiver.Receive(m_msg, 0), 1547);
    EXPECT_EQ(m_sender.Send(zrpeer::DebugMessage(3), "r.sock", 50), 0);
}

TEST_F(PeerSocket, AnyDatagramIsReportedWithItsSizeAndZeroedBehind) {
    const std::vector<char> data(65000, 'x');
    for (const int size : {0, 1, 10, 11, 1546, 1547, 1548, 1600, 1601, 65000}) {
        std::memset(&m_msg, 0x55, sizeof m_msg);
        ASSERT_EQ(m_sender.SendBytes(data.data(), static_cast<std::size_t>(size), "r.sock", 0), 0) << size;
        ASSERT_EQ(m_receiver.Receive(m_msg, 1000), size);
        const auto *bytes = reinterpret_cast<const unsigned char *>(&m_msg);
        for (int at = 0; at < 1547; ++at)
            ASSERT_EQ(bytes[at], at < size ? 'x' : 0) << size << " " << at;
    }
}

TEST_F(PeerSocket, NobodyThereAndBadUseAreTold) {
    const std::string longest(107, 'p');
    EXPECT_EQ(m_sender.Send(m_msg, "absent.sock", 100), -ENOENT);
    EXPECT_EQ(m_sender.Send(m_msg, longest.c_str(), 100), -ENOENT);
    EXPECT_EQ(m_sender.Send(m_msg, (longest + "p").c_str(), 100), -ENAMETOOLONG);
    zrpeer::Socket other;
    EXPECT_EQ(other.Bind((longest + "p").c_str()), -ENAMETOOLONG);
    EXPECT_EQ(other.Bind("absent/a.sock"), -ENOENT);
    EXPECT_EQ(other.Descriptor(), -1);
    EXPECT_EQ(other.Send(m_msg, "r.sock", 0), -EBADF);
    EXPECT_EQ(other.Receive(m_msg, 0), -EBADF);
}

TEST_F(PeerSocket, ALongestPathCanBeBoundAndIsRemoved) {
    const std::string longest(107, 'p');
    zrpeer::Socket other;
    ASSERT_EQ(other.Bind(longest.c_str()), 0);
    ASSERT_EQ(m_sender.Send(zrpeer::DebugMessage(1), longest.c_str(), 0), 0);
    EXPECT_EQ(other.Receive(m_msg, 1000), 1547);
    other.Close();
    EXPECT_FALSE(std::filesystem::exists(longest));
}

TEST(PeerPaths, AreTheServices) {
    EXPECT_STREQ(zrpeer::AUDIO_FROM_SERVICE, "/tmp/AudioStream_Fpga_to_Arm");
    EXPECT_STREQ(zrpeer::AUDIO_TO_SERVICE, "/tmp/AudioStream_Arm_to_Fpga");
    EXPECT_STREQ(zrpeer::CONTROL_TO_SERVICE, "/tmp/CtrlStream_Arm_to_Fpga");
}

} // namespace
