// Audio through the network bridge, both ways, each channel with a signal of its own.
#include <algorithm>

#include <gmock/gmock.h>

#include "AudioNetFixture.h"

using testing::ElementsAre;

namespace {

// The message that carries `payload` to the peer.
DatagramSocket::Bytes Outgoing(const DatagramSocket::Bytes &payload) {
    const unsigned char header[] = {0xAA, 0xBB, 0, 0, 0x00, 0x06, 0, 0, 0, 0, 0x11};
    DatagramSocket::Bytes msg(sizeof(header) + payload.size());
    std::ranges::copy(payload, std::ranges::copy(header, msg.begin()).out);
    return msg;
}

TEST_F(AudioNetBridge, SendsEveryRecordInOrder) {
    DatagramSocket peer(TO_PEER);
    for (unsigned period = 0; period < 40; ++period)
        Capture(1536, message::PlanarPayload(period));
    for (unsigned period = 0; period < 40; ++period)
        ASSERT_EQ(peer.Receive(), Outgoing(message::PlanarPayload(period))) << "period " << period;
    EXPECT_TRUE(WaitUntil([&] { return Counters().front() == "D [Net]SendThread RdBuffer:40 SndSuc:40 SndErr:0"; }));
}

TEST_F(AudioNetBridge, SendsTheLengthThatTheRecordNames) {
    DatagramSocket peer(TO_PEER);
    Capture(0x1234, message::PlanarPayload(3));
    auto expected = Outgoing(message::PlanarPayload(3));
    expected[4] = 0x34;
    expected[5] = 0x12;
    expected[10] = 0x11 ^ 0x34;
    EXPECT_EQ(peer.Receive(), expected);
}

// A record of no bytes reads as none, yet a message goes out: length 0 and silence.
TEST_F(AudioNetBridge, SendsSilenceAfterAFailedRead) {
    DatagramSocket peer(TO_PEER);
    iovec nothing[2] = {{nullptr, 0}, {nullptr, 0}};
    CZRBuffer::instance()->Write(m_capture, nothing, 2);
    DatagramSocket::Bytes expected(1547);
    expected[0] = 0xAA;
    expected[1] = 0xBB;
    expected[10] = 0x11;
    EXPECT_EQ(peer.Receive(), expected);
    EXPECT_TRUE(WaitUntil([&] { return Counters().front() == "D [Net]SendThread RdBuffer:0 SndSuc:1 SndErr:0"; }));
}

TEST_F(AudioNetBridge, CountsWhatNoPeerTook) {
    Capture(1536, message::PlanarPayload(0));
    EXPECT_TRUE(WaitUntil([&] { return Counters().front() == "D [Net]SendThread RdBuffer:1 SndSuc:0 SndErr:1"; }));
    EXPECT_TRUE(m_log.WaitFor("E send ret:-1 err 2 /tmp/AudioStream_Fpga_to_Arm "));

    DatagramSocket latePeer(TO_PEER);
    Capture(1536, message::PlanarPayload(1));
    EXPECT_EQ(latePeer.Receive(), Outgoing(message::PlanarPayload(1)));
}

TEST_F(AudioNetBridge, APeerThatComesBackGoesOn) {
    {
        DatagramSocket peer(TO_PEER);
        Capture(1536, message::PlanarPayload(0));
        EXPECT_EQ(peer.Receive(), Outgoing(message::PlanarPayload(0)));
    }
    DatagramSocket restarted(TO_PEER);
    Capture(1536, message::PlanarPayload(1));
    EXPECT_EQ(restarted.Receive(), Outgoing(message::PlanarPayload(1)));
}

// A peer that reads nothing blocks the sender; the buffer then drops its oldest records.
TEST_F(AudioNetBridge, AStalledPeerCostsTheOldestRecords) {
    DatagramSocket peer(TO_PEER);
    const unsigned written = 300;
    Capture(1536, message::PlanarPayload(0));
    ASSERT_TRUE(WaitUntil([&] { return Counters().front() == "D [Net]SendThread RdBuffer:1 SndSuc:1 SndErr:0"; }));
    for (unsigned period = 1; period < written; ++period)
        Capture(1536, message::PlanarPayload(period));

    std::vector<DatagramSocket::Bytes> received;
    while (received.empty() || received.back() != Outgoing(message::PlanarPayload(written - 1))) {
        auto datagram = peer.Receive();
        ASSERT_TRUE(datagram) << "after " << received.size();
        received.push_back(*datagram);
    }
    EXPECT_EQ(received.front(), Outgoing(message::PlanarPayload(0)));
    EXPECT_GE(received.size(), 66u); // what the buffer holds
    EXPECT_LT(received.size(), written);
    for (std::size_t i = 1; i <= 66; ++i)
        EXPECT_EQ(received[received.size() - i], Outgoing(message::PlanarPayload(written - static_cast<unsigned>(i))));
}

TEST_F(AudioNetBridge, WritesEveryMessageInOrder) {
    for (unsigned period = 0; period < 40; ++period) {
        ASSERT_TRUE(m_sender.SendTo(FROM_PEER, message::Make(0, message::PlanarPayload(period))));
        const Record record = Play();
        ASSERT_EQ(record.size, 1538);
        ASSERT_EQ(record.length, 1536);
        ASSERT_EQ(record.payload, message::PlanarPayload(period)) << "period " << period;
    }
    EXPECT_TRUE(WaitForReceiveCounters("WrBuffer:40 RcvSuc:40 RcvErr:0"));
}

TEST_F(AudioNetBridge, WritesTheWholePayloadWhateverTheLengthSays) {
    m_sender.SendTo(FROM_PEER, message::Make(0, message::PlanarPayload(9), 7));
    const Record record = Play();
    EXPECT_EQ(record.size, 1538);
    EXPECT_EQ(record.length, 7);
    EXPECT_EQ(record.payload, message::PlanarPayload(9));
}

} // namespace
