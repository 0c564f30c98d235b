// The peer's messages, byte by byte.
#include <algorithm>
#include <array>
#include <cstring>

#include <gtest/gtest.h>

#include "Peer/ZRPeer.h"

namespace {

using Bytes = std::array<unsigned char, 1547>;

Bytes BytesOf(const stModIpcMsg &msg) {
    Bytes bytes{};
    static_assert(sizeof bytes == sizeof msg);
    std::memcpy(bytes.data(), &msg, sizeof msg);
    return bytes;
}

std::int16_t SampleOf(std::size_t channel, std::size_t frame) {
    return static_cast<std::int16_t>(static_cast<int>(channel * 1000 + frame) - 12000);
}

zrpeer::AudioBlock OwnSignals() {
    zrpeer::AudioBlock block;
    for (std::size_t channel = 0; channel < block.size(); ++channel)
        for (std::size_t frame = 0; frame < block[channel].size(); ++frame)
            block[channel][frame] = SampleOf(channel, frame);
    return block;
}

void ExpectHeader(const Bytes &bytes, const std::array<unsigned char, 11> &header) {
    EXPECT_TRUE(std::equal(header.begin(), header.end(), bytes.begin()));
}

TEST(PeerMessage, AudioToTheServiceByteByByte) {
    const Bytes bytes = BytesOf(zrpeer::AudioMessage(OwnSignals()));
    // 0xAA ^ 0xBB ^ 0 ^ 1 ^ 0 ^ 0x00 = 0x10
    ExpectHeader(bytes, {0xAA, 0xBB, 0x00, 0x01, 0x00, 0x06, 0x00, 0x00, 0x00, 0x00, 0x10});
    for (std::size_t channel = 0; channel < 24; ++channel)
        for (std::size_t frame = 0; frame < 32; ++frame) {
            const std::size_t at = 11 + channel * 64 + frame * 2;
            const auto sample = static_cast<std::uint16_t>(SampleOf(channel, frame));
            ASSERT_EQ(bytes[at], sample & 0xFF) << channel << " " << frame;
            ASSERT_EQ(bytes[at + 1], sample >> 8) << channel << " " << frame;
        }
}

TEST(PeerMessage, AudioFromTheServiceDiffersInSenderAndCheckByte) {
    const Bytes bytes = BytesOf(zrpeer::AudioMessage(OwnSignals(), EM_IPC_MODTYPE_FPGA));
    ExpectHeader(bytes, {0xAA, 0xBB, 0x00, 0x00, 0x00, 0x06, 0x00, 0x00, 0x00, 0x00, 0x11});
}

TEST(PeerMessage, ControlByteByByte) {
    const Bytes bytes = BytesOf(zrpeer::ControlMessage(EM_STREAM_CTRL_OPEN, 23));
    // 0xAA ^ 0xBB ^ 1 ^ 1 ^ 0 ^ 2 = 0x13
    ExpectHeader(bytes, {0xAA, 0xBB, 0x01, 0x01, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x13});
    EXPECT_EQ(bytes[11], 1);
    EXPECT_EQ(bytes[12], 23);
    EXPECT_TRUE(std::all_of(bytes.begin() + 13, bytes.end(), [](unsigned char byte) { return byte == 0; }));
    EXPECT_EQ(BytesOf(zrpeer::ControlMessage(EM_STREAM_CTRL_CLOSE, 1))[11], 2);
}

TEST(PeerMessage, DebugByteByByte) {
    const Bytes bytes = BytesOf(zrpeer::DebugMessage(200));
    // 0xAA ^ 0xBB ^ 2 ^ 1 ^ 0 ^ 1 = 0x13
    ExpectHeader(bytes, {0xAA, 0xBB, 0x02, 0x01, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x13});
    EXPECT_EQ(bytes[11], 200);
    EXPECT_TRUE(std::all_of(bytes.begin() + 12, bytes.end(), [](unsigned char byte) { return byte == 0; }));
}

TEST(PeerMessage, CheckByteCoversSixBytesOnly) {
    const Bytes good = BytesOf(zrpeer::AudioMessage(OwnSignals(), EM_IPC_MODTYPE_FPGA));
    for (std::size_t at = 0; at < good.size(); ++at) {
        Bytes bytes = good;
        bytes[at] ^= 0x40;
        stModIpcMsg msg;
        std::memcpy(&msg, bytes.data(), sizeof msg);
        zrpeer::Fault expected = zrpeer::Fault::None;
        if (at < 2)
            expected = zrpeer::Fault::StartMark;
        else if (at == 3)
            expected = zrpeer::Fault::Sender;
        else if (at == 2 || at == 4 || at == 6 || at == 10)
            expected = zrpeer::Fault::CheckByte;
        ASSERT_EQ(zrpeer::Check(msg), expected) << "byte " << at;
    }
}

TEST(PeerMessage, TheFirstFaultDecides) {
    stModIpcMsg msg = zrpeer::AudioMessage(OwnSignals());
    EXPECT_EQ(zrpeer::Check(msg), zrpeer::Fault::Sender);
    EXPECT_EQ(zrpeer::Check(msg, sizeof msg, EM_IPC_MODTYPE_AUDSTREAM), zrpeer::Fault::None);
    ++msg.u8XOR8;
    EXPECT_EQ(zrpeer::Check(msg), zrpeer::Fault::Sender);
    msg.u8HDR[1] = 0;
    EXPECT_EQ(zrpeer::Check(msg), zrpeer::Fault::StartMark);
    for (const std::size_t size : {0U, 1U, 10U, 11U, 1546U, 1548U})
        EXPECT_EQ(zrpeer::Check(msg, size), zrpeer::Fault::Size) << size;
}

TEST(PeerMessage, EachFaultHasItsOwnText) {
    const std::array<zrpeer::Fault, 5> faults{zrpeer::Fault::None, zrpeer::Fault::Size, zrpeer::Fault::StartMark,
                                              zrpeer::Fault::Sender, zrpeer::Fault::CheckByte};
    for (const zrpeer::Fault a : faults)
        for (const zrpeer::Fault b : faults)
            EXPECT_EQ(a == b, std::strcmp(zrpeer::FaultText(a), zrpeer::FaultText(b)) == 0);
}

TEST(PeerMessage, AudioComesOutAsItWentIn) {
    zrpeer::AudioBlock block{};
    ASSERT_TRUE(zrpeer::GetAudio(zrpeer::AudioMessage(OwnSignals()), block));
    EXPECT_EQ(block, OwnSignals());
}

TEST(PeerMessage, AnEmptyAudioMessageCarriesNoAudio) {
    zrpeer::AudioBlock block = OwnSignals();
    const stModIpcMsg msg = zrpeer::EmptyMessage(EM_IPC_MSGCMD_AUDIO, 0, EM_IPC_MODTYPE_FPGA);
    EXPECT_EQ(zrpeer::Check(msg), zrpeer::Fault::None);
    EXPECT_FALSE(zrpeer::GetAudio(msg, block));
    EXPECT_FALSE(zrpeer::GetAudio(zrpeer::ControlMessage(1, 1), block));
    EXPECT_EQ(block, OwnSignals());
}

TEST(PeerMessage, RequestsComeOutAsTheyWentIn) {
    StreamCtrl control{};
    StreamDebug debug{};
    const stModIpcMsg open = zrpeer::ControlMessage(EM_STREAM_CTRL_OPEN, 9);
    const stModIpcMsg number = zrpeer::DebugMessage(77);
    ASSERT_TRUE(zrpeer::GetControl(open, control));
    ASSERT_TRUE(zrpeer::GetDebug(number, debug));
    EXPECT_EQ(control.u8Cmd, EM_STREAM_CTRL_OPEN);
    EXPECT_EQ(control.u8Chl, 9);
    EXPECT_EQ(debug.u8Cmd, 77);
    EXPECT_FALSE(zrpeer::GetControl(number, control));
    EXPECT_FALSE(zrpeer::GetDebug(open, debug));
}

TEST(PeerMessage, ChannelsOneToTwentyFourAreReachedInPlace) {
    stModIpcMsg msg = zrpeer::EmptyMessage(EM_IPC_MSGCMD_AUDIO, IPC_PAYLOAD_BYTES);
    const zrpeer::AudioBlock block = OwnSignals();
    for (int channel = 1; channel <= 24; ++channel)
        ASSERT_TRUE(zrpeer::SetChannel(msg, channel, block[static_cast<std::size_t>(channel - 1)]));
    EXPECT_EQ(BytesOf(msg), BytesOf(zrpeer::AudioMessage(block)));
    for (int channel = 1; channel <= 24; ++channel) {
        zrpeer::ChannelBlock samples{};
        ASSERT_TRUE(zrpeer::GetChannel(msg, channel, samples));
        EXPECT_EQ(samples, block[static_cast<std::size_t>(channel - 1)]) << channel;
    }
}

TEST(PeerMessage, OtherChannelsAreRefused) {
    stModIpcMsg msg = zrpeer::AudioMessage(OwnSignals());
    const Bytes before = BytesOf(msg);
    zrpeer::ChannelBlock samples{};
    for (const int channel : {-1, 0, 25}) {
        EXPECT_FALSE(zrpeer::SetChannel(msg, channel, samples));
        EXPECT_FALSE(zrpeer::GetChannel(msg, channel, samples));
    }
    EXPECT_EQ(BytesOf(msg), before);
    EXPECT_EQ(samples, zrpeer::ChannelBlock{});
}

TEST(PeerMessage, SealMakesAChangedHeaderValidAgain) {
    stModIpcMsg msg = zrpeer::AudioMessage(OwnSignals(), EM_IPC_MODTYPE_FPGA);
    msg.u32seq = 0x01020304;
    EXPECT_EQ(zrpeer::Check(msg), zrpeer::Fault::CheckByte);
    zrpeer::Seal(msg);
    EXPECT_EQ(zrpeer::Check(msg), zrpeer::Fault::None);
    EXPECT_EQ(msg.u8XOR8, 0x11 ^ 0x04);
}

} // namespace
