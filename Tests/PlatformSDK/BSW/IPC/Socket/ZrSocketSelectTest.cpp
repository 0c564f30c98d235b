// Waiting for readiness.
#include "SocketSupport.h"

#include <thread>

#include <sys/socket.h>

#include "Interrupter.h"

namespace {

class ZrSocketSelect : public SocketTest {
  protected:
    // One select on all three pairs' near ends; the flags as text ("010"), "none" for 0.
    std::string _Select(SELECT_TYPE_E type, ZR_S32 timeout) {
        ZR_S32 sockets[] = {m_pairs[0].near, m_pairs[1].near, m_pairs[2].near}, flags[] = {7, 7, 7, 7};
        const ZR_S32 count = zr_select(sockets, 3, type, timeout, flags);
        EXPECT_EQ(flags[3], 7);
        EXPECT_EQ(count, flags[0] + flags[1] + flags[2]);
        std::string text;
        for (int i = 0; i < 3; ++i)
            text += std::to_string(flags[i]);
        return text;
    }

    TcpPair m_pairs[3];
};

} // namespace

TEST_F(ZrSocketSelect, TellsWhichAreReadyToRead) {
    EXPECT_EQ(_Select(EM_SELECT_READ, 0), "000");
    send(m_pairs[1].far, "x", 1, 0);
    EXPECT_EQ(_Select(EM_SELECT_READ, 5000), "010");
    m_pairs[2].far.Close();
    ASSERT_TRUE(Readable(m_pairs[2].near, 5000));
    EXPECT_EQ(_Select(EM_SELECT_READ, 5000), "011");
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketSelect, TellsWhichAreReadyToWrite) {
    EXPECT_EQ(_Select(EM_SELECT_WRITE, 5000), "111");
    const std::string data = Bytes(1000000);
    ZR_S32 full = m_pairs[0].near, flag = 0;
    while (zr_select(&full, 1, EM_SELECT_WRITE, 50, &flag) == 1)
        send(full, data.data(), data.size(), MSG_DONTWAIT);
    EXPECT_EQ(_Select(EM_SELECT_WRITE, 5000), "011");
}

TEST_F(ZrSocketSelect, TellsWhichHaveUrgentData) {
    send(m_pairs[0].far, "x", 1, 0);
    ASSERT_TRUE(Readable(m_pairs[0].near, 5000));
    EXPECT_EQ(_Select(EM_SELECT_EXCEPT, 0), "000");
    send(m_pairs[2].far, "!", 1, MSG_OOB);
    EXPECT_EQ(_Select(EM_SELECT_EXCEPT, 5000), "001");
}

TEST_F(ZrSocketSelect, GivesUpWhenTheTimeIsUp) {
    const Stopwatch watch;
    EXPECT_EQ(_Select(EM_SELECT_READ, 300), "000");
    EXPECT_GE(watch.Milliseconds(), 290);
    EXPECT_LE(watch.Milliseconds(), 20000);
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketSelect, TimeCountsFromTheBeginningThoughInterrupted) {
    const Interrupter interrupter;
    const Stopwatch watch;
    EXPECT_EQ(_Select(EM_SELECT_READ, 300), "000");
    EXPECT_GE(watch.Milliseconds(), 290);
    EXPECT_LE(watch.Milliseconds(), 20000);
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketSelect, NegativeTimeWaitsForTheEvent) {
    std::thread sender([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(400)); // the wait lasts
        send(m_pairs[0].far, "x", 1, 0);
    });
    EXPECT_EQ(_Select(EM_SELECT_READ, -1), "100");
    sender.join();
}

TEST_F(ZrSocketSelect, DescriptorsBeyondASingleSet) {
    if (const std::string missing = NoDescriptorsUpTo(3 * FD_SETSIZE); !missing.empty())
        GTEST_SKIP() << missing;
    const Handle second = dup2(m_pairs[1].near, FD_SETSIZE), third = dup2(m_pairs[2].near, 2 * FD_SETSIZE + 1);
    ZR_S32 sockets[] = {third, m_pairs[0].near, second}, flags[] = {7, 7, 7};
    EXPECT_EQ(zr_select(sockets, 3, EM_SELECT_READ, 0, flags), 0);
    send(m_pairs[2].far, "x", 1, 0);
    EXPECT_EQ(zr_select(sockets, 3, EM_SELECT_READ, 5000, flags), 1);
    EXPECT_EQ(flags[0], 1);
    EXPECT_EQ(flags[1], 0);
    EXPECT_EQ(flags[2], 0);
    send(m_pairs[1].far, "x", 1, 0);
    ASSERT_TRUE(Readable(second, 5000));
    EXPECT_EQ(zr_select(sockets, 3, EM_SELECT_READ, 5000, flags), 2);
    EXPECT_EQ(flags[2], 1);
}

TEST_F(ZrSocketSelect, RefusesBadParameters) {
    ZR_S32 socket = m_pairs[0].near, flag = 7;
    EXPECT_EQ(zr_select(nullptr, 1, EM_SELECT_READ, 0, &flag), -1);
    EXPECT_EQ(zr_select(&socket, 0, EM_SELECT_READ, 0, &flag), -1);
    EXPECT_EQ(zr_select(&socket, -1, EM_SELECT_READ, 0, &flag), -1);
    EXPECT_EQ(zr_select(&socket, 1, EM_SELECT_TYPE_UNKNOWN, 0, &flag), -1);
    EXPECT_EQ(zr_select(&socket, 1, static_cast<SELECT_TYPE_E>(0), 0, &flag), -1);
    EXPECT_EQ(zr_select(&socket, 1, static_cast<SELECT_TYPE_E>(3), 0, &flag), -1);
    EXPECT_EQ(zr_select(&socket, 1, EM_SELECT_READ, 0, nullptr), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(7, "E bad parameters!"));
    EXPECT_EQ(flag, 7);
}

TEST_F(ZrSocketSelect, RefusesDescriptorsThatAreNotOpen) {
    for (const ZR_S32 bad : {ZR_S32(ClosedDescriptor()), -1, 2147483647}) {
        ZR_S32 sockets[] = {m_pairs[0].near, bad}, flags[] = {7, 7};
        EXPECT_EQ(zr_select(sockets, 2, EM_SELECT_WRITE, 0, flags), -1);
        EXPECT_EQ(_Logged(), "E select of a bad socket, errno = 9!");
        EXPECT_EQ(flags[0], 7);
    }
}
