// Datagrams that are no audio message: every size and field wrong in turn, on both
// sockets; after each the bridge goes on.
#include <gmock/gmock.h>

#include "AudioNetFixture.h"

using testing::ElementsAre;

namespace {

DatagramSocket::Bytes Resized(DatagramSocket::Bytes msg, std::size_t size) {
    msg.resize(size, 0xEE);
    return msg;
}

TEST_F(AudioNetBridge, ShortDatagramsAreCountedAndNothingElse) {
    const auto audio = message::Make(0, message::PlanarPayload(1));
    for (const std::size_t size : {0u, 1u, 10u})
        m_sender.SendTo(FROM_PEER, Resized(audio, size));
    EXPECT_TRUE(WaitForReceiveCounters("WrBuffer:0 RcvSuc:0 RcvErr:3"));
    EXPECT_EQ(Play(0).size, 0);
}

// Only the header is checked, so a cut payload is taken, its missing end silent.
TEST_F(AudioNetBridge, ACutPayloadIsPlayedWithASilentEnd) {
    for (const std::size_t size : {11u, 1546u}) {
        m_sender.SendTo(FROM_PEER, Resized(message::Make(0, message::PlanarPayload(2)), size));
        auto expected = Resized(message::PlanarPayload(2), size - 11);
        expected.resize(1536);
        EXPECT_EQ(Play().payload, expected);
    }
}

TEST_F(AudioNetBridge, BytesBehindAMessageAreIgnored) {
    for (const std::size_t size : {1548u, 1600u, 1601u, 65000u}) {
        m_sender.SendTo(FROM_PEER, Resized(message::Make(0, message::PlanarPayload(4)), size));
        EXPECT_EQ(Play().payload, message::PlanarPayload(4)) << size;
    }
    EXPECT_TRUE(WaitForReceiveCounters("WrBuffer:4 RcvSuc:4 RcvErr:0"));
}

TEST_F(AudioNetBridge, EachWrongFieldIsRefusedAndAudioGoesOn) {
    for (const std::size_t field : {0u, 1u, 2u, 3u, 4u, 6u, 10u}) {
        auto msg = message::Make(0, message::PlanarPayload(5));
        msg[field] ^= 0x21;
        m_sender.SendTo(FROM_PEER, msg);
    }
    m_sender.SendTo(FROM_PEER, message::Make(0, message::PlanarPayload(6)));
    EXPECT_EQ(Play().payload, message::PlanarPayload(6));
    EXPECT_TRUE(WaitForReceiveCounters("WrBuffer:1 RcvSuc:1 RcvErr:7"));
}

TEST_F(AudioNetBridge, ControlOnTheAudioSocketIsCountedAsAnError) {
    m_sender.SendTo(FROM_PEER, message::Make(1, {1, 3}));
    m_sender.SendTo(FROM_PEER, message::Make(2, {4}));
    m_sender.SendTo(FROM_PEER, message::Make(7, {}));
    EXPECT_TRUE(WaitForReceiveCounters("WrBuffer:0 RcvSuc:0 RcvErr:3"));
    EXPECT_EQ(Play(0).size, 0);
}

TEST_F(AudioNetBridge, ControlDatagramsReachTheLog) {
    m_sender.SendTo(CONTROL, message::Make(1, {1, 17}));
    EXPECT_TRUE(m_log.WaitFor("I open 17 streamer"));
    m_sender.SendTo(CONTROL, message::Make(1, {2, 18}));
    EXPECT_TRUE(m_log.WaitFor("I close 18 streamer"));
    m_sender.SendTo(CONTROL, message::Make(2, {42}));
    EXPECT_TRUE(m_log.WaitFor("I pMsgDebug->u8Cmd = 42"));
    m_sender.SendTo(CONTROL, message::Make(0, message::PlanarPayload(1)));
    EXPECT_TRUE(m_log.WaitFor("E bad MODULE_IPC_STREAMER CMD!!!!"));
    EXPECT_TRUE(WaitForReceiveCounters("WrBuffer:0 RcvSuc:0 RcvErr:0"));
}

// The endpoint receives at most 1600 bytes, so every longer datagram is warned of with 1600.
TEST_F(AudioNetBridge, ControlOfAnyOtherSizeIsOnlyWarnedOf) {
    for (const std::size_t size : {0u, 1u, 10u, 11u, 1546u, 1548u, 1600u, 1601u, 65000u})
        m_sender.SendTo(CONTROL, Resized(message::Make(1, {1, 1}), size));
    EXPECT_TRUE(WaitUntil([&] { return m_log.TextsOf("AudioNetMsg.cpp").size() == 9; }));
    std::vector<std::string> expected;
    for (const char *size : {"0", "1", "10", "11", "1546", "1548", "1600", "1600", "1600"})
        expected.push_back(std::string("W nDataLen(") + size + ") != sizeof(stModIpcMsg){1547}");
    EXPECT_EQ(m_log.TextsOf("AudioNetMsg.cpp"), expected);
}

} // namespace
