// Checking messages and taking control datagrams, without any socket.
#include <cstring>
#include <initializer_list>

#include <gmock/gmock.h>

#include "Support/DatagramSocket.h"
#include "Support/LogCapture.h"
#include "ZRFpgaMng/AudioNetMng/AudioNet.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class AudioNetMsg : public testing::Test {
  protected:
    static stModIpcMsg Parse(const DatagramSocket::Bytes &bytes) {
        stModIpcMsg msg;
        std::memcpy(&msg, bytes.data(), sizeof(msg));
        return msg;
    }

    int Check(const DatagramSocket::Bytes &bytes) {
        const stModIpcMsg msg = Parse(bytes);
        return AudioNet::_CheckIpcMsgXOR(&msg);
    }

    int Control(DatagramSocket::Bytes bytes) {
        return AudioNet::_CtrlMsgProcessCallBack(bytes.data(), static_cast<int>(bytes.size()), &m_user);
    }

    LogCapture m_log;
    int m_user = 0;
};

TEST_F(AudioNetMsg, GoodMessagesYieldTheirCommand) {
    for (int command : {0, 1, 2, 7, 255})
        EXPECT_EQ(Check(message::Make(static_cast<uint8_t>(command), {})), command);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(AudioNetMsg, NullIsRefused) {
    EXPECT_EQ(AudioNet::_CheckIpcMsgXOR(nullptr), -1);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E bad param!!!!"));
}

TEST_F(AudioNetMsg, EitherWrongStartMarkIsRefused) {
    auto msg = message::Make(0, {});
    msg[0] = 0xAB;
    EXPECT_EQ(Check(msg), -2);
    msg = message::Make(0, {});
    msg[1] = 0xBA;
    EXPECT_EQ(Check(msg), -2);
    EXPECT_EQ(Check(DatagramSocket::Bytes(1547)), -2);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E pag head[0] = 171,u8HDR[1] = 187", "E pag head[0] = 170,u8HDR[1] = 186",
                                           "E pag head[0] = 0,u8HDR[1] = 0"));
}

TEST_F(AudioNetMsg, OnlyTheAudioStreamModuleIsAccepted) {
    for (const uint8_t sender : std::initializer_list<uint8_t>{0, 2, 3, 4, 0xFE}) {
        auto msg = message::Make(0, {});
        msg[3] = sender;
        msg[10] = message::CheckByte(msg);
        EXPECT_EQ(Check(msg), -3);
    }
    EXPECT_THAT(m_log.Texts(),
                ElementsAre("E stream describe is 0x0", "E stream describe is 0x2", "E stream describe is 0x3",
                            "E stream describe is 0x4", "E stream describe is 0xfe"));
}

TEST_F(AudioNetMsg, WrongCheckByteIsRefusedWithBothValues) {
    auto msg = message::Make(0, {});
    EXPECT_EQ(msg[10], 0x10);
    msg[10] = 0x55;
    EXPECT_EQ(Check(msg), -4);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E pstMsg->u8XOR8[85] != u8XOR8[16]"));
}

TEST_F(AudioNetMsg, TheFirstFailureDecides) {
    auto msg = message::Make(0, {});
    msg[0] = 1;
    msg[3] = 0;
    msg[10] = 0xFF;
    EXPECT_EQ(Check(msg), -2);
    msg[0] = 0xAA;
    EXPECT_EQ(Check(msg), -3);
}

TEST_F(AudioNetMsg, CheckByteCoversTheLowestBytesOnly) {
    for (const std::size_t uncovered : {5u, 7u, 8u, 9u, 11u, 1546u}) {
        auto msg = message::Make(0, {});
        msg[uncovered] ^= 0x5A;
        EXPECT_EQ(Check(msg), 0) << "byte " << uncovered;
    }
    for (const std::size_t covered : {2u, 4u, 6u}) {
        auto msg = message::Make(0, {});
        msg[covered] ^= 0x5A;
        EXPECT_EQ(Check(msg), -4) << "byte " << covered;
    }
}

TEST_F(AudioNetMsg, ControlNeedsDataAndContext) {
    auto msg = message::Make(1, {1, 5});
    EXPECT_EQ(AudioNet::_CtrlMsgProcessCallBack(nullptr, 1547, &m_user), -1);
    EXPECT_EQ(AudioNet::_CtrlMsgProcessCallBack(msg.data(), 1547, nullptr), -1);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E bad param !!!!!", "E bad param !!!!!"));
}

TEST_F(AudioNetMsg, ControlOfAnyOtherSizeIsOnlyWarnedOf) {
    for (const std::size_t size : {1u, 1546u, 1548u}) {
        auto msg = message::Make(1, {1, 5});
        msg.resize(size);
        EXPECT_EQ(Control(msg), -2);
    }
    EXPECT_THAT(m_log.Texts(), ElementsAre("W nDataLen(1) != sizeof(stModIpcMsg){1547}",
                                           "W nDataLen(1546) != sizeof(stModIpcMsg){1547}",
                                           "W nDataLen(1548) != sizeof(stModIpcMsg){1547}"));
}

TEST_F(AudioNetMsg, OnlyCommandOneOpens) {
    for (const uint8_t command : std::initializer_list<uint8_t>{1, 2, 0, 3, 255})
        EXPECT_EQ(Control(message::Make(1, {command, static_cast<uint8_t>(200 + command % 50)})), 0);
    EXPECT_THAT(m_log.Texts(),
                ElementsAre("D _CtrlMsgProcessCallBack", "I open 201 streamer", "D _CtrlMsgProcessCallBack",
                            "I close 202 streamer", "D _CtrlMsgProcessCallBack", "I close 200 streamer",
                            "D _CtrlMsgProcessCallBack", "I close 203 streamer", "D _CtrlMsgProcessCallBack",
                            "I close 205 streamer"));
}

TEST_F(AudioNetMsg, DebugRequestIsLogged) {
    EXPECT_EQ(Control(message::Make(2, {254})), 0);
    EXPECT_THAT(m_log.Texts(), ElementsAre("D _CtrlMsgProcessCallBack", "I pMsgDebug->u8Cmd = 254"));
}

TEST_F(AudioNetMsg, AudioAndBadMessagesAreNoControl) {
    EXPECT_EQ(Control(message::Make(0, {})), -3);
    EXPECT_EQ(Control(message::Make(7, {})), -3);
    EXPECT_EQ(Control(DatagramSocket::Bytes(1547)), -3);
    EXPECT_THAT(m_log.Texts(), ElementsAre("D _CtrlMsgProcessCallBack", "E bad MODULE_IPC_STREAMER CMD!!!!",
                                           "D _CtrlMsgProcessCallBack", "E bad MODULE_IPC_STREAMER CMD!!!!",
                                           "D _CtrlMsgProcessCallBack", "E pag head[0] = 0,u8HDR[1] = 0",
                                           "E bad MODULE_IPC_STREAMER CMD!!!!"));
}

} // namespace
