// Audio through the running service, period by period on the card's manual clock, and
// what it does when a peer or the card misbehaves.
#include <initializer_list>

#include <gmock/gmock.h>

#include "CardSignal.h"
#include "ServiceFixture.h"
#include "Support/WaitUntil.h"

namespace {

constexpr uint64_t FRAMES = CARD_PERIOD_FRAMES;

class ServiceAudio : public Service {};

TEST_F(ServiceAudio, EveryCapturedPeriodReachesThePeer) {
    StartStopped();
    DatagramSocket peer(TO_PEER);
    for (uint64_t period = 0; period < 200; ++period)
        ASSERT_EQ(CaptureOne(peer), ExpectedMessage(period * FRAMES)) << "period " << period;
}

TEST_F(ServiceAudio, EveryMessageIsPlayedBehindOneSilentPeriod) {
    StartStopped();
    FillPlayback();
    for (unsigned period = 5; period < 200; ++period)
        PlayOne(message::PlanarPayload(period));

    EXPECT_EQ(Played(0), (std::array<uint32_t, CARD_PERIOD_WORDS>{})) << "silence without tags";
    for (unsigned period = 0; period < 200; ++period)
        ASSERT_EQ(Played(period + 1), ExpectedWords(message::PlanarPayload(period))) << "period " << period;
}

TEST_F(ServiceAudio, ALateAndARestartedPeerHearTheNextPeriod) {
    StartStopped();
    m_card.Advance(1); // nobody is there
    EXPECT_TRUE(WaitForLog("E send ret:-1 err 2 /tmp/AudioStream_Fpga_to_Arm "));
    {
        DatagramSocket late(TO_PEER);
        EXPECT_EQ(CaptureOne(late), ExpectedMessage(1 * FRAMES));
    }
    DatagramSocket restarted(TO_PEER);
    EXPECT_EQ(CaptureOne(restarted), ExpectedMessage(2 * FRAMES));
}

// The socket holds 11 messages, then the sender waits; the ring behind it drops its oldest.
TEST_F(ServiceAudio, APeerThatReadsNothingCostsTheOldestPeriods) {
    StartStopped();
    DatagramSocket peer(TO_PEER);
    const uint64_t periods = 300;
    for (uint64_t period = 0; period < periods; ++period) {
        m_card.Advance(1);
        ASSERT_TRUE(m_card.WaitForTap(CardSide::Capture, period + 1, 10000));
    }
    std::vector<DatagramSocket::Bytes> received;
    do {
        auto datagram = peer.Receive(10000);
        ASSERT_TRUE(datagram) << "after " << received.size();
        received.push_back(*datagram);
    } while (received.back() != ExpectedMessage((periods - 1) * FRAMES));
    EXPECT_LT(received.size(), periods);
    for (std::size_t i = 1; i <= 60; ++i)
        EXPECT_EQ(received[received.size() - i], ExpectedMessage((periods - i) * FRAMES));
    EXPECT_EQ(CaptureOne(peer), ExpectedMessage(periods * FRAMES));
}

TEST_F(ServiceAudio, AHardCardErrorSendsOneSilentPeriod) {
    StartStopped();
    DatagramSocket peer(TO_PEER);
    EXPECT_EQ(CaptureOne(peer), ExpectedMessage(0));
    m_card.Inject(CardSide::Capture, CardFault::HardError);
    DatagramSocket::Bytes silent = {0xAA, 0xBB, 0, 0, 0x00, 0x06, 0, 0, 0, 0, 0x11};
    silent.resize(1547);
    EXPECT_EQ(CaptureOne(peer), silent);
    EXPECT_EQ(peer.Receive(10000), ExpectedMessage(1 * FRAMES)) << "the error took nothing from the card";
    EXPECT_TRUE(WaitForLog("E card:hw:0,0,read -5 error:Input/output error"));
    EXPECT_TRUE(WaitForLog("E Read error!"));
    EXPECT_TRUE(WaitForLog("E alsa read failed"));
    EXPECT_EQ(CaptureOne(peer), ExpectedMessage(2 * FRAMES));
}

TEST_F(ServiceAudio, AnOverrunIsRecoveredFrom) {
    StartStopped();
    DatagramSocket peer(TO_PEER);
    EXPECT_EQ(CaptureOne(peer), ExpectedMessage(0));
    m_card.Inject(CardSide::Capture, CardFault::Overrun);
    m_card.Advance(1);
    EXPECT_TRUE(WaitForLog("E card:hw:0,0, <readi> overrun occurred.-->snd_pcm_prepare()"));
    m_card.Advance(1);
    while (auto datagram = peer.Receive(200)) // what was on its way
        EXPECT_EQ(datagram->size(), 1547u);
    const auto next = CaptureOne(peer);
    ASSERT_EQ(next.size(), 1547u);
    const auto *samples = reinterpret_cast<const int16_t *>(next.data() + 11);
    int16_t planar[CARD_PERIOD_WORDS];
    memcpy(planar, samples, sizeof(planar));
    EXPECT_EQ(next, ExpectedMessage(zr_card_frame_of_planar(planar))) << "bit-exact again";
}

TEST_F(ServiceAudio, AudioGoesOnWhenTheClockComesBack) {
    StartStopped();
    DatagramSocket peer(TO_PEER);
    EXPECT_EQ(CaptureOne(peer), ExpectedMessage(0));
    EXPECT_FALSE(peer.Receive(300)) << "no clock, no audio";
    m_card.StartClock();
    for (uint64_t period = 1; period < 50; ++period)
        ASSERT_EQ(peer.Receive(10000), ExpectedMessage(period * FRAMES)) << "period " << period;
}

TEST_F(ServiceAudio, AnUnpluggedCardLeavesTheSocketsAlive) {
    StartStopped();
    m_card.SetPresence(CardPresence::Missing);
    m_card.StartClock();
    EXPECT_TRUE(WaitForRolledLog("alsa read failed"));
    m_sender.SendTo(CONTROL, message::Make(1, {1, 21}));
    EXPECT_TRUE(WaitForRolledLog("open 21 streamer"));
    EXPECT_TRUE(m_service->IsRunning());
}

// Wrong tags cost what they hit; the message goes out all the same.
TEST_F(ServiceAudio, WrongTagsNeverStopTheStream) {
    StartStopped();
    DatagramSocket peer(TO_PEER);
    EXPECT_EQ(CaptureOne(peer), ExpectedMessage(0));
    for (const CardTags tags : {CardTags::Zero, CardTags::TwentyFive, CardTags::Repeated}) {
        m_card.SetTags(tags, 1);
        EXPECT_EQ(CaptureOne(peer).size(), 1547u);
    }
    m_card.SetTags(CardTags::Rotated, 1);
    EXPECT_EQ(CaptureOne(peer), ExpectedMessage(4 * FRAMES)) << "the tag decides, not the place";
    EXPECT_EQ(CaptureOne(peer), ExpectedMessage(5 * FRAMES));
}

// Sends datagrams of every wrong size to both sockets, then waits until the service has
// read them all: the control socket ends with debug request `mark`.
void SendStorm(DatagramSocket &sender, uint8_t mark) {
    for (int round = 0; round < 100; ++round)
        for (const std::size_t size : {0u, 1u, 10u, 11u, 1546u, 1547u, 1548u, 1600u, 1601u, 65000u}) {
            const DatagramSocket::Bytes percentSigns(size, '%');
            ASSERT_TRUE(sender.SendTo(FROM_PEER, percentSigns));
            ASSERT_TRUE(sender.SendTo(CONTROL, percentSigns));
        }
    ASSERT_TRUE(sender.SendTo(CONTROL, message::Make(2, {mark})));
}

TEST_F(ServiceAudio, AStormOfBadDatagramsCostsNothing) {
    StartStopped();
    DatagramSocket peer(TO_PEER);
    EXPECT_EQ(CaptureOne(peer), ExpectedMessage(0));
    for (const uint8_t warmUp : std::initializer_list<uint8_t>{71, 72})
        SendStorm(m_sender, warmUp);
    ASSERT_TRUE(WaitForLog("I pMsgDebug->u8Cmd = 72", 30000));
    const int descriptors = Descriptors();
    const long residentKb = ResidentKb();
    for (const uint8_t measured : std::initializer_list<uint8_t>{73, 74})
        SendStorm(m_sender, measured);
    ASSERT_TRUE(WaitForLog("I pMsgDebug->u8Cmd = 74", 30000));
    EXPECT_EQ(CaptureOne(peer), ExpectedMessage(1 * FRAMES));
    EXPECT_EQ(Descriptors(), descriptors);
    EXPECT_LT(ResidentKb() - residentKb, 4096); // of 4000 datagrams
}

} // namespace
