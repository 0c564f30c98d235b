// Sending over TCP, to peers that read, do not read and go away.
#include "SocketSupport.h"

#include <atomic>
#include <ctime>
#include <thread>

#include <sys/resource.h>
#include <sys/socket.h>

#include "Interrupter.h"
#include "Support/WaitUntil.h"

namespace {

using SendFunction = decltype(&zr_tcp_block_send);

constexpr SendFunction EVERY_SEND[] = {zr_tcp_block_send, zr_tcp_noblock_send, zr_tcp_noblock_send_ccufile};

constexpr int MANY = 12000000; // more than a connection holds

class ZrSocketTcpSend : public SocketTest {
  protected:
    // Sends portions until the connection takes no more; how much it took. What is on its way
    // may make room a little later.
    std::size_t _Fill() {
        std::size_t filled = 0;
        for (int refusals = 0; refusals < 4;) {
            const ssize_t sent = send(m_pair.near, m_data.data(), m_data.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
            if (sent > 0) {
                filled += static_cast<std::size_t>(sent);
                refusals = 0;
            } else {
                ++refusals;
                _Writable(50);
            }
        }
        return filled;
    }

    bool _Writable(int timeoutMs) {
        ZR_S32 handle = m_pair.near, flag = 0;
        return zr_select(&handle, 1, EM_SELECT_WRITE, timeoutMs, &flag) == 1;
    }

    TcpPair m_pair;
    const std::string m_data = Bytes(MANY);
};

} // namespace

TEST_F(ZrSocketTcpSend, SmallDataGoesOutWhole) {
    for (const SendFunction function : EVERY_SEND) {
        EXPECT_EQ(function(m_pair.near, Text("hello"), 5), 5);
        EXPECT_EQ(RawRead(m_pair.far, 5), "hello");
    }
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketTcpSend, NoblockSendReturnsTheFirstPortion) {
    for (const int nonBlocking : {1, 0}) {
        TcpPair pair;
        ASSERT_EQ(zr_set_socknoblock(pair.near, nonBlocking), 0);
        const ZR_S32 sent = zr_tcp_noblock_send(pair.near, Text(m_data), MANY);
        EXPECT_GT(sent, 0);
        EXPECT_LT(sent, MANY); // nobody reads: it cannot all have gone
        const auto count = static_cast<std::size_t>(sent);
        EXPECT_TRUE(RawRead(pair.far, count) == m_data.substr(0, count));
        EXPECT_FALSE(Readable(pair.far, 50));
    }
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketTcpSend, NoblockSendPausesUntilAFullConnectionHasRoom) {
    ASSERT_EQ(zr_set_socknoblock(m_pair.near, 1), 0);
    const std::size_t filled = _Fill();
    std::atomic<ZR_S32> sent{0};
    std::atomic<int> waited{0}; // pauses seen as the thread's own rests
    std::thread sender([&] {
        sent = zr_tcp_noblock_send(m_pair.near, Text("more"), 4);
        rusage usage = {};
        getrusage(RUSAGE_THREAD, &usage);
        waited = static_cast<int>(usage.ru_nvcsw);
    });
    const Stopwatch watch;
    EXPECT_FALSE(WaitUntil([&] { return sent != 0; }, 400));
    EXPECT_TRUE(RawRead(m_pair.far, filled).size() == filled);
    sender.join();
    EXPECT_EQ(sent, 4);
    EXPECT_GE(waited, 2);
    EXPECT_LE(waited, watch.Milliseconds() / 20 + 20); // one rest in 20 ms
    EXPECT_EQ(RawRead(m_pair.far, 4), "more");
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketTcpSend, CcufileGoesOnUntilAllIsOut) {
    for (const int nonBlocking : {1, 0}) {
        TcpPair pair;
        ASSERT_EQ(zr_set_socknoblock(pair.near, nonBlocking), 0);
        std::string read;
        std::thread reader([&] { read = RawRead(pair.far, MANY); });
        EXPECT_EQ(zr_tcp_noblock_send_ccufile(pair.near, Text(m_data), MANY), MANY);
        reader.join();
        EXPECT_TRUE(read == m_data);
    }
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketTcpSend, EveryWholeSendGoesOnThoughInterrupted) {
    for (const SendFunction function : {zr_tcp_block_send, zr_tcp_noblock_send_ccufile}) {
        TcpPair pair;
        std::string read;
        Interrupter interrupter;
        std::thread reader([&] {
            interrupter.Await();
            read = RawRead(pair.far, MANY);
        });
        EXPECT_EQ(function(pair.near, Text(m_data), MANY), MANY);
        reader.join();
        EXPECT_TRUE(read == m_data);
    }
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketTcpSend, BlockSendWaitsInNonBlockingModeToo) {
    ASSERT_EQ(zr_set_socknoblock(m_pair.near, 1), 0);
    std::string read;
    std::thread reader([&] { read = RawRead(m_pair.far, MANY); });
    EXPECT_EQ(zr_tcp_block_send(m_pair.near, Text(m_data), MANY), MANY);
    reader.join();
    EXPECT_TRUE(read == m_data);
}

TEST_F(ZrSocketTcpSend, BlockSendEndsWithTheSocketsOwnTimeOut) {
    const timeval limit{0, 100000};
    setsockopt(m_pair.near, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
    EXPECT_EQ(zr_tcp_block_send(m_pair.near, Text(m_data), MANY), -1);
    EXPECT_EQ(_Logged(), "E send failure, errno = 11!");
}

TEST_F(ZrSocketTcpSend, PeerThatClosesInTheMiddleIsAFailureAndNoSignal) {
    const linger dropped{1, 0};
    for (const SendFunction function : {zr_tcp_block_send, zr_tcp_noblock_send_ccufile}) {
        TcpPair pair;
        setsockopt(pair.far, SOL_SOCKET, SO_LINGER, &dropped, sizeof(dropped));
        std::thread peer([&] {
            RawRead(pair.far, 100000);
            pair.far.Close();
        });
        EXPECT_EQ(function(pair.near, Text(m_data), MANY), -1);
        peer.join();
        const std::string logged = _Logged(); // which of the two is a matter of time
        EXPECT_TRUE(logged == "E send failure, errno = 104!" || logged == "E send failure, errno = 32!") << logged;
    }
}

TEST_F(ZrSocketTcpSend, SendingAfterTheEndIsAFailureAndNoSignal) {
    shutdown(m_pair.near, SHUT_WR);
    for (const SendFunction function : EVERY_SEND) {
        EXPECT_EQ(function(m_pair.near, Text("x"), 1), -1);
        EXPECT_EQ(_Logged(), "E send failure, errno = 32!");
    }
}

TEST_F(ZrSocketTcpSend, RefusesBadParameters) {
    for (const SendFunction function : EVERY_SEND) {
        EXPECT_EQ(function(m_pair.near, nullptr, 5), -1);
        EXPECT_EQ(function(m_pair.near, Text("x"), 0), -1);
        EXPECT_EQ(function(m_pair.near, Text("x"), -1), -1);
        EXPECT_EQ(m_log.Texts(), std::vector<std::string>(3, "E bad parameters!"));
        m_log.Clear();
        EXPECT_EQ(function(ClosedDescriptor(), Text("x"), 1), -1);
        EXPECT_EQ(_Logged(), "E send failure, errno = 9!");
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        EXPECT_EQ(function(ends[1], Text("x"), 1), -1);
        EXPECT_EQ(_Logged(), "E send failure, errno = 88!");
        close(ends[0]);
        close(ends[1]);
    }
    EXPECT_FALSE(Readable(m_pair.far, 0));
}
