// The peer message byte by byte: layout, values on the socket, check byte.
#include "AudioStreamIpcDef.h"

#include <cstring>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

namespace {

stModIpcMsg AudioMessage() {
    stModIpcMsg msg = {};
    msg.u8HDR[0] = IPC_HDR_0;
    msg.u8HDR[1] = IPC_HDR_1;
    msg.u8Cmd = EM_IPC_MSGCMD_AUDIO;
    msg.u8Describe = EM_IPC_MODTYPE_FPGA;
    msg.u16DataLen = IPC_PAYLOAD_BYTES;
    msg.u8XOR8 = IpcMsgXor8(msg);
    return msg;
}

std::vector<ZR_U8> OnTheSocket(const stModIpcMsg &msg) {
    std::vector<ZR_U8> bytes(sizeof(msg));
    std::memcpy(bytes.data(), &msg, sizeof(msg));
    return bytes;
}

} // namespace

TEST(PeerMessage, FieldsStandWhereThePeersExpectThem) {
    EXPECT_EQ(sizeof(stModIpcMsg), 1547u);
    EXPECT_EQ(alignof(stModIpcMsg), 1u);
    EXPECT_EQ(offsetof(stModIpcMsg, u8HDR), 0u);
    EXPECT_EQ(offsetof(stModIpcMsg, u8Cmd), 2u);
    EXPECT_EQ(offsetof(stModIpcMsg, u8Describe), 3u);
    EXPECT_EQ(offsetof(stModIpcMsg, u16DataLen), 4u);
    EXPECT_EQ(offsetof(stModIpcMsg, u32seq), 6u);
    EXPECT_EQ(offsetof(stModIpcMsg, u8XOR8), 10u);
    EXPECT_EQ(offsetof(stModIpcMsg, pBuf), 11u);
    EXPECT_EQ(sizeof(stModIpcMsg::u8HDR), 2u);
    EXPECT_EQ(sizeof(stModIpcMsg::pBuf), 1536u);
    EXPECT_TRUE((std::is_same_v<decltype(stModIpcMsg::u16DataLen), ZR_U16>));
    EXPECT_TRUE((std::is_same_v<decltype(stModIpcMsg::u32seq), ZR_U32>));
    EXPECT_EQ(offsetof(StreamCtrl, u8Cmd), 0u);
    EXPECT_EQ(offsetof(StreamCtrl, u8Chl), 1u);
    EXPECT_EQ(sizeof(StreamCtrl), 2u);
    EXPECT_EQ(sizeof(StreamDebug), 1u);
}

TEST(PeerMessage, NumbersThatPeersUse) {
    EXPECT_EQ(EM_IPC_MODTYPE_FPGA, 0);
    EXPECT_EQ(EM_IPC_MODTYPE_AUDSTREAM, 1);
    EXPECT_EQ(EM_IPC_MODTYPE_SYSCTRL, 2);
    EXPECT_EQ(EM_IPC_MODTYPE_DAEMON, 3);
    EXPECT_EQ(EM_IPC_MODTYPE_ZEGO, 4);
    EXPECT_EQ(EM_IPC_MSGCMD_AUDIO, 0);
    EXPECT_EQ(EM_IPC_MSGCMD_CTRL, 1);
    EXPECT_EQ(EM_IPC_MSGCMD_DEBUG, 2);
    EXPECT_EQ(EM_IPC_MSGCMD_MAX, 3);
    EXPECT_EQ(EM_STREAM_CTRL_NULL, 0);
    EXPECT_EQ(EM_STREAM_CTRL_OPEN, 1);
    EXPECT_EQ(EM_STREAM_CTRL_CLOSE, 2);
    EXPECT_EQ(EM_STREAM_CTRL_MAX, 3);
}

TEST(PeerMessage, AudioMessageOnTheSocket) {
    stModIpcMsg msg = AudioMessage();
    msg.pBuf[0] = 0x12;
    msg.pBuf[1535] = 0x34;
    const auto bytes = OnTheSocket(msg);
    const std::vector<ZR_U8> header = {0xAA, 0xBB, 0, 0, 0x00, 0x06, 0, 0, 0, 0, 0x11};
    EXPECT_EQ(std::vector<ZR_U8>(bytes.begin(), bytes.begin() + 11), header);
    EXPECT_EQ(bytes[11], 0x12);
    EXPECT_EQ(bytes[1546], 0x34);
}

TEST(PeerMessage, MultiByteFieldsAreLittleEndian) {
    stModIpcMsg msg = {};
    msg.u16DataLen = 0x1234;
    msg.u32seq = 0x56789ABC;
    const auto bytes = OnTheSocket(msg);
    const std::vector<ZR_U8> fields = {0x34, 0x12, 0xBC, 0x9A, 0x78, 0x56};
    EXPECT_EQ(std::vector<ZR_U8>(bytes.begin() + 4, bytes.begin() + 10), fields);
}

TEST(PeerMessage, ControlRequestStandsAtTheStartOfThePayload) {
    stModIpcMsg msg = AudioMessage();
    const StreamCtrl request = {EM_STREAM_CTRL_OPEN, 7};
    std::memcpy(msg.pBuf, &request, sizeof(request));
    EXPECT_EQ(OnTheSocket(msg)[11], 1);
    EXPECT_EQ(OnTheSocket(msg)[12], 7);
}

TEST(PeerMessage, CheckByteOfAnAudioMessageFollowsTheLengthsLowByte) {
    stModIpcMsg msg = AudioMessage();
    for (int length = 0; length <= 0xFFFF; ++length) {
        msg.u16DataLen = static_cast<ZR_U16>(length);
        ASSERT_EQ(IpcMsgXor8(msg), 0x11 ^ (length & 0xFF));
    }
}

TEST(PeerMessage, CheckByteStartsFromTheFirstByteWithoutAnotherValue) {
    EXPECT_EQ(IpcMsgXor8(stModIpcMsg{}), 0);
    stModIpcMsg msg = {};
    msg.u8HDR[0] = 0x01;
    msg.u8HDR[1] = 0x02;
    msg.u8Cmd = 0x04;
    msg.u8Describe = 0x08;
    msg.u32seq = 0x10;
    msg.u16DataLen = 0x20;
    EXPECT_EQ(IpcMsgXor8(msg), 0x3F);
}

// Every single changed bit of the message shows in the check byte if it is covered, in
// the same bit, and does not if it is not.
TEST(PeerMessage, CheckByteCoversSixBytesOfTheHeader) {
    const auto isCovered = [](std::size_t offset) { return offset <= 4 || offset == 6; };
    const ZR_U8 good = AudioMessage().u8XOR8;
    for (std::size_t offset = 0; offset < sizeof(stModIpcMsg); ++offset) {
        for (int bit = 0; bit < 8; ++bit) {
            auto bytes = OnTheSocket(AudioMessage());
            bytes[offset] = static_cast<ZR_U8>(bytes[offset] ^ (1 << bit));
            stModIpcMsg msg;
            std::memcpy(&msg, bytes.data(), sizeof(msg));
            ASSERT_EQ(IpcMsgXor8(msg), good ^ (isCovered(offset) ? 1 << bit : 0)) << offset;
        }
    }
}
