// The message queue: order, limits, user data, waiting.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "BSW/BasicFun/Function.h"
#include "BSW/MultiTask/MsgQue.h"

namespace {

bool Send(CMsgQue &queue, std::uint32_t wpa, int priority = 0) {
    return queue.SendMsg(XM_TIMER, wpa, 0, priority, nullptr, 0);
}

// The wpa of every message held, in the order they are received.
std::vector<std::uint32_t> ReceiveAll(CMsgQue &queue) {
    std::vector<std::uint32_t> received;
    for (XMSG message; queue.RecvMsg(&message, false);)
        received.push_back(message.wpa);
    return received;
}

} // namespace

TEST(MsgQue, AcceptsUpToItsSizeAndNothingAfterQuit) {
    CMsgQue queue("size2", 2);
    EXPECT_TRUE(Send(queue, 1));
    EXPECT_TRUE(Send(queue, 2));
    EXPECT_FALSE(Send(queue, 3));
    EXPECT_EQ(queue.GetMsgCount(), 2U);
    EXPECT_EQ(queue.GetMsgSize(), 2);

    XMSG message;
    ASSERT_TRUE(queue.RecvMsg(&message, false));
    queue.QuitMsg();
    EXPECT_FALSE(Send(queue, 4));
    EXPECT_EQ(ReceiveAll(queue), std::vector<std::uint32_t>{1});
    EXPECT_FALSE(Send(queue, 5));
}

TEST(MsgQue, SizeCanBeChanged) {
    CMsgQue queue(nullptr, 1);
    EXPECT_TRUE(Send(queue, 1));
    queue.SetMsgSize(2);
    EXPECT_EQ(queue.GetMsgSize(), 2);
    EXPECT_TRUE(Send(queue, 2));
    queue.SetMsgSize(1);
    EXPECT_FALSE(Send(queue, 3));
    EXPECT_EQ(queue.GetMsgCount(), 2U);
}

TEST(MsgQue, TheNewestComesFirstAndPriority1Last) {
    CMsgQue queue("order", 10);
    ASSERT_TRUE(Send(queue, 'A'));
    ASSERT_TRUE(Send(queue, 'B'));
    EXPECT_EQ(ReceiveAll(queue), (std::vector<std::uint32_t>{'B', 'A'}));

    ASSERT_TRUE(Send(queue, 'A'));
    ASSERT_TRUE(Send(queue, 'P', 1));
    ASSERT_TRUE(Send(queue, 'B'));
    ASSERT_TRUE(Send(queue, 'Q', 1));
    ASSERT_TRUE(Send(queue, 'C', -1));
    EXPECT_EQ(ReceiveAll(queue), (std::vector<std::uint32_t>{'C', 'B', 'A', 'P', 'Q'}));
}

TEST(MsgQue, RefusesAPriorityAboveOne) {
    CMsgQue queue("priority", 10);
    EXPECT_FALSE(Send(queue, 1, 2));
    EXPECT_EQ(queue.GetMsgCount(), 0U);
}

TEST(MsgQue, CarriesItsFieldsAndTheTimeOfSending) {
    CMsgQue queue("fields", 1);
    const std::uint64_t before = SystemGetMSCount();
    ASSERT_TRUE(queue.SendMsg(XM_WIFI_STATUS, 0xFFFFFFFFU, 0x123456789ABCUL, 0, nullptr, 0));
    const std::uint64_t after = SystemGetMSCount();
    XMSG message;
    ASSERT_TRUE(queue.RecvMsg(&message, false));
    EXPECT_EQ(message.msg, static_cast<std::uint32_t>(XM_WIFI_STATUS));
    EXPECT_EQ(message.wpa, 0xFFFFFFFFU);
    EXPECT_EQ(message.lpa, 0x123456789ABCUL);
    EXPECT_GE(message.time, before);
    EXPECT_LE(message.time, after);
    EXPECT_EQ(message.pUserData, nullptr);
    EXPECT_EQ(message.u32UserDataLen, 0U);
}

TEST(MsgQue, UserDataIsACopyThatTheReceiverFrees) {
    CMsgQue queue("data", 4);
    std::string data("abc\0def", 7);
    ASSERT_TRUE(queue.SendMsg(XM_MSG_USERDATA, 0, 0, 0, data.data(), 7));
    data.assign("xxxxxxx");
    XMSG message;
    ASSERT_TRUE(queue.RecvMsg(&message, false));
    ASSERT_EQ(message.u32UserDataLen, 7U);
    EXPECT_EQ(std::string(message.pUserData, 7), std::string("abc\0def", 7));
    free(message.pUserData);
}

TEST(MsgQue, OnlyAUserDataMessageWithDataCarriesSome) {
    CMsgQue queue("none", 4);
    const char data[] = "abc";
    ASSERT_TRUE(queue.SendMsg(XM_TIMER, 0, 0, 0, data, 3));
    ASSERT_TRUE(queue.SendMsg(XM_MSG_USERDATA, 0, 0, 0, data, 0));
    ASSERT_TRUE(queue.SendMsg(XM_MSG_USERDATA, 0, 0, 0, nullptr, 3));
    for (XMSG message; queue.RecvMsg(&message, false);) {
        EXPECT_EQ(message.pUserData, nullptr);
        EXPECT_EQ(message.u32UserDataLen, 0U);
    }
}

TEST(MsgQue, AnEmptyQueueAnswersFalseAndLeavesTheRecord) {
    CMsgQue queue("empty", 1);
    XMSG message = {};
    message.wpa = 77;
    EXPECT_FALSE(queue.RecvMsg(&message, false));
    EXPECT_EQ(message.wpa, 77U);
}

TEST(MsgQue, ClearDropsMessagesTheirDataAndTheirCounts) {
    CMsgQue queue("clear", 4);
    ASSERT_TRUE(queue.SendMsg(XM_MSG_USERDATA, 0, 0, 0, "abc", 3));
    ASSERT_TRUE(Send(queue, 1));
    queue.ClearMsg();
    EXPECT_EQ(queue.GetMsgCount(), 0U);

    // A count left behind would wake this receiver for nothing.
    std::atomic<bool> returned = false;
    bool result = false;
    XMSG message = {};
    std::thread receiver([&] {
        result = queue.RecvMsg(&message, true);
        returned = true;
    });
    EXPECT_FALSE(returned);
    ASSERT_TRUE(Send(queue, 2));
    receiver.join();
    EXPECT_TRUE(result);
    EXPECT_EQ(message.wpa, 2U);
}

TEST(MsgQue, DestructionFreesWhatIsHeld) {
    CMsgQue queue("held", 4);
    EXPECT_TRUE(queue.SendMsg(XM_MSG_USERDATA, 0, 0, 0, "abc", 3));
}
