// Receiving over TCP.
#include "SocketSupport.h"

#include <thread>

#include <fcntl.h>
#include <sys/socket.h>

#include "Interrupter.h"

namespace {

class ZrSocketTcp : public SocketTest {
  protected:
    TcpPair m_pair;
    Buffer<16> m_buffer;
};

} // namespace

TEST_F(ZrSocketTcp, BlockReceivesWhatIsThere) {
    send(m_pair.far, "hello", 5, 0);
    EXPECT_EQ(zr_tcp_block_recv(m_pair.near, m_buffer, 16, 16), 5);
    EXPECT_EQ(m_buffer.Bytes(5), "hello");
    EXPECT_TRUE(m_buffer.Untouched(5));
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketTcp, NoMoreThanWanted) {
    send(m_pair.far, "hello you", 9, 0);
    ASSERT_TRUE(Readable(m_pair.near, 5000));
    EXPECT_EQ(zr_tcp_block_recv(m_pair.near, m_buffer, 16, 3), 3);
    EXPECT_TRUE(m_buffer.Untouched(3));
    EXPECT_EQ(zr_tcp_noblock_recv(m_pair.near, m_buffer, 16, 2), 2);
    EXPECT_EQ(m_buffer.Bytes(4), "lol#");
    EXPECT_EQ(zr_tcp_noblock_recv(m_pair.near, m_buffer, 16, 16), 4);
    EXPECT_EQ(m_buffer.Bytes(4), " you");
}

TEST_F(ZrSocketTcp, NoblockReceiveFindsNothingAndSaysSo) {
    errno = 0;
    EXPECT_EQ(zr_tcp_noblock_recv(m_pair.near, m_buffer, 16, 16), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(_Logged(), "E recv failure, errno = 11!");
    EXPECT_TRUE(m_buffer.Untouched());
}

TEST_F(ZrSocketTcp, BlockReceiveWaitsInEitherModeThoughInterrupted) {
    for (const int nonBlocking : {0, 1}) {
        ASSERT_EQ(zr_set_socknoblock(m_pair.near, nonBlocking), 0);
        Interrupter interrupter;
        std::thread sender([&] {
            interrupter.Await();
            send(m_pair.far, "late", 4, 0);
        });
        EXPECT_EQ(zr_tcp_block_recv(m_pair.near, m_buffer, 16, 16), 4);
        sender.join();
    }
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketTcp, PeerThatClosesGivesNothingMore) {
    send(m_pair.far, "end", 3, 0);
    m_pair.far.Close();
    EXPECT_EQ(zr_tcp_block_recv(m_pair.near, m_buffer, 16, 16), 3);
    EXPECT_EQ(zr_tcp_block_recv(m_pair.near, m_buffer, 16, 16), 0);
    EXPECT_EQ(zr_tcp_noblock_recv(m_pair.near, m_buffer, 16, 16), 0);
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketTcp, PeerThatBreaksOffIsAFailure) {
    const linger dropped{1, 0};
    for (const bool block : {true, false}) {
        TcpPair pair;
        setsockopt(pair.far, SOL_SOCKET, SO_LINGER, &dropped, sizeof(dropped));
        pair.far.Close();
        ASSERT_TRUE(Readable(pair.near, 5000));
        const auto receive = block ? zr_tcp_block_recv : zr_tcp_noblock_recv;
        EXPECT_EQ(receive(pair.near, m_buffer, 16, 16), -1);
        EXPECT_EQ(_Logged(), "E recv failure, errno = 104!");
    }
}

TEST_F(ZrSocketTcp, ReceiveRefusesBadParameters) {
    for (const auto receive : {zr_tcp_block_recv, zr_tcp_noblock_recv}) {
        EXPECT_EQ(receive(m_pair.near, nullptr, 16, 16), -1);
        EXPECT_EQ(receive(m_pair.near, m_buffer, 0, 0), -1);
        EXPECT_EQ(receive(m_pair.near, m_buffer, -1, -1), -1);
        EXPECT_EQ(receive(m_pair.near, m_buffer, 16, 0), -1);
        EXPECT_EQ(receive(m_pair.near, m_buffer, 16, -5), -1);
        EXPECT_EQ(receive(m_pair.near, m_buffer, 15, 16), -1); // would not fit
        EXPECT_EQ(m_log.Texts(), std::vector<std::string>(6, "E bad parameters!"));
        m_log.Clear();
        EXPECT_EQ(receive(ClosedDescriptor(), m_buffer, 16, 16), -1);
        EXPECT_EQ(_Logged(), "E recv failure, errno = 9!");
        const Handle file = open("file", O_RDWR | O_CREAT, 0600);
        EXPECT_EQ(receive(file, m_buffer, 16, 16), -1);
        EXPECT_EQ(_Logged(), "E recv failure, errno = 88!");
    }
    EXPECT_TRUE(m_buffer.Untouched());
}
