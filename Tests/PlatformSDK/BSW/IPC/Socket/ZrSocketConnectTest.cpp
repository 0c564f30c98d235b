// IPv4 connections, with and without a time-out.
#include "NetTest.h"

#include <thread>

#include <fcntl.h>
#include <sys/socket.h>

#include "Interrupter.h"

namespace {

// A listener that answers nobody more: its backlog is full.
struct FullListener : Listener {
    FullListener() : Listener(0), first(zr_socket(EM_TCP_SOCK)) {
        EXPECT_EQ(zr_block_connect(first, Text("127.0.0.1"), port), 0);
        EXPECT_TRUE(Readable(socket, 5000));
    }
    Handle first;
};

class ZrSocketConnect : public SocketTest {
  protected:
    // Connects with a time-out of 300 ms to where nobody answers, and looks at what it does.
    void _ExpectTimeOut(const char *address, ZR_U16 port) {
        const Stopwatch watch;
        errno = 0;
        EXPECT_EQ(zr_noblock_connect(m_socket, Text(address), port, 300), -1);
        EXPECT_EQ(errno, ETIMEDOUT);
        EXPECT_GE(watch.Milliseconds(), 290);
        EXPECT_LE(watch.Milliseconds(), 20000);
        EXPECT_EQ(_Logged(), "E connect failure, errno = 110!");
        EXPECT_EQ(fcntl(m_socket, F_GETFL) & O_NONBLOCK, 0);
    }

    Handle m_socket{zr_socket(EM_TCP_SOCK)};
};

class ZrSocketConnectNet : public NetTest {};

} // namespace

TEST_F(ZrSocketConnect, Connects) {
    Listener listener;
    const Handle other = zr_socket(EM_TCP_SOCK);
    EXPECT_EQ(zr_noblock_connect(m_socket, Text("127.0.0.1"), listener.port, 5000), 0);
    EXPECT_EQ(zr_block_connect(other, Text("127.0.0.1"), listener.port), 0);
    for (const int near : {int(m_socket), int(other)}) {
        const Handle far = accept(listener.socket, nullptr, nullptr);
        EXPECT_EQ(send(near, "ok", 2, 0), 2);
        EXPECT_EQ(RawRead(far, 2), "ok");
    }
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketConnect, SocketKeepsItsMode) {
    for (const int nonBlocking : {0, 1}) {
        Listener listener;
        for (const bool timed : {true, false}) {
            const Handle socket = zr_socket(EM_TCP_SOCK);
            ASSERT_EQ(zr_set_socknoblock(socket, nonBlocking), 0);
            EXPECT_EQ(timed ? zr_noblock_connect(socket, Text("127.0.0.1"), listener.port, -1)
                            : zr_block_connect(socket, Text("127.0.0.1"), listener.port),
                      0);
            EXPECT_EQ((fcntl(socket, F_GETFL) & O_NONBLOCK) != 0, nonBlocking == 1);
        }
    }
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketConnect, RefusedConnection) {
    ZR_U16 port = 0;
    { port = Listener().port; }
    EXPECT_EQ(zr_noblock_connect(m_socket, Text("127.0.0.1"), port, 5000), -1);
    EXPECT_EQ(_Logged(), "E connect failure, errno = 111!");
    EXPECT_EQ(fcntl(m_socket, F_GETFL) & O_NONBLOCK, 0);
    const Handle other = zr_socket(EM_TCP_SOCK);
    EXPECT_EQ(zr_block_connect(other, Text("127.0.0.1"), port), -1);
    EXPECT_EQ(_Logged(), "E connect failure, errno = 111!");
}

TEST_F(ZrSocketConnect, TimeOutOfAnUnansweredConnection) {
    const FullListener listener;
    _ExpectTimeOut("127.0.0.1", listener.port);
}

TEST_F(ZrSocketConnect, TimeOutCountsFromTheBeginningThoughInterrupted) {
    const FullListener listener;
    const Interrupter interrupter;
    _ExpectTimeOut("127.0.0.1", listener.port);
}

TEST_F(ZrSocketConnect, InterruptedConnectionsComeAbout) {
    for (const bool timed : {true, false}) {
        FullListener listener;
        const Handle socket = zr_socket(EM_TCP_SOCK);
        Interrupter interrupter;
        std::thread peer([&] {
            interrupter.Await();
            close(accept(listener.socket, nullptr, nullptr)); // room: the next try is answered
        });
        EXPECT_EQ(timed ? zr_noblock_connect(socket, Text("127.0.0.1"), listener.port, 30000)
                        : zr_block_connect(socket, Text("127.0.0.1"), listener.port),
                  0);
        peer.join();
    }
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketConnect, DescriptorBeyondASingleSet) {
    if (const std::string missing = NoDescriptorsUpTo(FD_SETSIZE + 100); !missing.empty())
        GTEST_SKIP() << missing;
    Listener listener;
    const Handle high = dup2(m_socket, FD_SETSIZE + 50);
    ASSERT_EQ(high, FD_SETSIZE + 50);
    EXPECT_EQ(zr_noblock_connect(high, Text("127.0.0.1"), listener.port, 5000), 0);
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketConnect, RefusesBadParameters) {
    Listener listener;
    const std::string endless(100000, '1');
    for (const char *address : {"", "127.0.0", "127.0.0.1 ", "127.0.0.256", "localhost", "::1", endless.c_str()}) {
        EXPECT_EQ(zr_noblock_connect(m_socket, Text(address), listener.port, 1000), -1) << address;
        EXPECT_EQ(zr_block_connect(m_socket, Text(address), listener.port), -1) << address;
    }
    EXPECT_EQ(zr_noblock_connect(m_socket, nullptr, listener.port, 1000), -1);
    EXPECT_EQ(zr_block_connect(m_socket, nullptr, listener.port), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(16, "E bad parameters!"));
    EXPECT_FALSE(Readable(listener.socket, 0));
}

TEST_F(ZrSocketConnect, ReportsBadDescriptors) {
    EXPECT_EQ(zr_noblock_connect(ClosedDescriptor(), Text("127.0.0.1"), 1, 1000), -1);
    EXPECT_EQ(_Logged(), "E set non-blocking failure, errno = 9!");
    EXPECT_EQ(zr_block_connect(ClosedDescriptor(), Text("127.0.0.1"), 1), -1);
    EXPECT_EQ(_Logged(), "E connect failure, errno = 9!");
    const Handle file = open("file", O_RDWR | O_CREAT, 0600);
    EXPECT_EQ(zr_noblock_connect(file, Text("127.0.0.1"), 1, 1000), -1);
    EXPECT_EQ(_Logged(), "E connect failure, errno = 88!");
}

TEST_F(ZrSocketConnectNet, TimeOutOfAStationThatDoesNotExist) {
    const Handle socket = zr_socket(EM_TCP_SOCK);
    const Stopwatch watch;
    EXPECT_EQ(zr_noblock_connect(socket, Text("10.77.0.9"), 4000, 300), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(watch.Milliseconds(), 290);
    EXPECT_LE(watch.Milliseconds(), 20000);
    EXPECT_EQ(_Logged(), "E connect failure, errno = 110!");
}
