// Unix-domain streams.
#include "SocketSupport.h"

#include <filesystem>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>

#include "Interrupter.h"

namespace {

const ZR_U8 *Path(const std::string &path) {
    return reinterpret_cast<const ZR_U8 *>(path.c_str());
}

const ZR_U8 *Data(const std::string &bytes) {
    return reinterpret_cast<const ZR_U8 *>(bytes.data());
}

class ZrSocketLocal : public SocketTest {
  protected:
    // Two connected sockets.
    struct Pair {
        Pair() {
            int ends[2];
            socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
            near = ends[0];
            far = ends[1];
        }
        ~Pair() {
            close(near);
            close(far);
        }
        int near, far;
    };

    std::string _Receive(int handle, ZR_U32 most) {
        std::string data(most, 0);
        const ZR_S32 count = zr_local_tcp_recv(handle, reinterpret_cast<ZR_U8 *>(data.data()), most);
        data.resize(static_cast<std::size_t>(std::max(count, 0)));
        return data;
    }
};

} // namespace

TEST_F(ZrSocketLocal, ServerAndClientExchange) {
    std::ofstream("s.sock") << "stale";
    const Handle server = zr_create_local_tcpsvr(Text("s.sock"));
    ASSERT_GT(server, 0);
    EXPECT_TRUE(std::filesystem::is_socket("s.sock"));
    ASSERT_EQ(zr_listen(server, 3), 0);
    const Handle client = zr_socket(EM_TCP_LOCAL_SOCK);
    ASSERT_EQ(zr_local_tcp_connect(client, Path("s.sock")), 0);
    Buffer<16> peer;
    ZR_U16 port = 77;
    const Handle connection = zr_accept(server, peer, 16, &port);
    ASSERT_GT(connection, 0);
    EXPECT_EQ(peer.Str(), "");
    EXPECT_EQ(port, 0);
    EXPECT_EQ(zr_local_tcp_send(client, Data("hello"), 5), 5);
    EXPECT_EQ(_Receive(connection, 100), "hello");
    EXPECT_EQ(zr_local_tcp_send(connection, Data("good day"), 8), 8);
    EXPECT_EQ(_Receive(client, 4), "good");
    EXPECT_EQ(_Receive(client, 100), " day");
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketLocal, PathsHaveTheLengthsOfTheDatagrams) {
    for (const std::size_t size : {107U, 108U, 109U, 180U}) {
        const std::string path(size, static_cast<char>('a' + size % 26));
        const Handle server = zr_create_local_tcpsvr(Text(path)), client = zr_socket(EM_TCP_LOCAL_SOCK);
        ASSERT_GT(server, 0);
        EXPECT_TRUE(std::filesystem::is_socket(path.substr(0, size <= 108 ? size : 107)));
        EXPECT_EQ(zr_listen(server, 1), 0);
        EXPECT_EQ(zr_local_tcp_connect(client, Path(path)), 0);
    }
}

TEST_F(ZrSocketLocal, ReportsWhatCannotBeMade) {
    EXPECT_EQ(zr_create_local_tcpsvr(nullptr), -1);
    EXPECT_EQ(_Logged(), "E bad parameters!");
    const int next = ClosedDescriptor();
    EXPECT_EQ(zr_create_local_tcpsvr(Text("missing/s.sock")), -1);
    EXPECT_EQ(_Logged(), "E bind failure, errno = 2!");
    EXPECT_EQ(ClosedDescriptor(), next); // nothing left open
}

TEST_F(ZrSocketLocal, ReportsConnectionsThatFail) {
    const Handle client = zr_socket(EM_TCP_LOCAL_SOCK);
    EXPECT_EQ(zr_local_tcp_connect(client, nullptr), -1);
    EXPECT_EQ(_Logged(), "E bad parameters!");
    EXPECT_EQ(zr_local_tcp_connect(client, Path("nobody")), -1);
    EXPECT_EQ(_Logged(), "E connect failure, errno = 2!");
    const Handle deaf = zr_create_local_tcpsvr(Text("deaf.sock"));
    EXPECT_EQ(zr_local_tcp_connect(client, Path("deaf.sock")), -1);
    EXPECT_EQ(_Logged(), "E connect failure, errno = 111!");
    EXPECT_EQ(zr_local_tcp_connect(ClosedDescriptor(), Path("deaf.sock")), -1);
    EXPECT_EQ(_Logged(), "E connect failure, errno = 9!");
}

TEST_F(ZrSocketLocal, ConnectWaitsForAFullBacklogThoughInterrupted) {
    const Handle server = zr_create_local_tcpsvr(Text("s.sock"));
    ASSERT_EQ(zr_listen(server, 0), 0);
    const Handle first = zr_socket(EM_TCP_LOCAL_SOCK), second = zr_socket(EM_TCP_LOCAL_SOCK);
    ASSERT_EQ(zr_local_tcp_connect(first, Path("s.sock")), 0);
    ASSERT_EQ(zr_set_socknoblock(second, 1), 0);
    EXPECT_EQ(zr_local_tcp_connect(second, Path("s.sock")), -1);
    EXPECT_EQ(_Logged(), "E connect failure, errno = 11!");
    ASSERT_EQ(zr_set_socknoblock(second, 0), 0);
    Interrupter interrupter;
    std::thread peer([&] {
        interrupter.Await();
        close(accept(server, nullptr, nullptr));
    });
    EXPECT_EQ(zr_local_tcp_connect(second, Path("s.sock")), 0);
    peer.join();
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketLocal, SendsAllThroughAFullSocketOfEitherMode) {
    for (const int nonBlocking : {0, 1}) {
        Pair pair;
        ASSERT_EQ(zr_set_socknoblock(pair.near, nonBlocking), 0);
        const std::string data = Bytes(3000000);
        std::string read;
        std::thread reader([&] { read = RawRead(pair.far, data.size()); });
        EXPECT_EQ(zr_local_tcp_send(pair.near, Data(data), 3000000), 3000000);
        reader.join();
        EXPECT_TRUE(read == data);
    }
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketLocal, SendsAllThoughInterrupted) {
    Pair pair;
    const std::string data = Bytes(3000000);
    std::string read;
    Interrupter interrupter;
    std::thread reader([&] {
        interrupter.Await();
        read = RawRead(pair.far, data.size());
    });
    EXPECT_EQ(zr_local_tcp_send(pair.near, Data(data), 3000000), 3000000);
    reader.join();
    EXPECT_TRUE(read == data);
}

TEST_F(ZrSocketLocal, ReceiveWaitsInEitherModeThoughInterrupted) {
    for (const int nonBlocking : {0, 1}) {
        Pair pair;
        ASSERT_EQ(zr_set_socknoblock(pair.near, nonBlocking), 0);
        Interrupter interrupter;
        std::thread sender([&] {
            interrupter.Await();
            send(pair.far, "late", 4, 0);
        });
        EXPECT_EQ(_Receive(pair.near, 100), "late");
        sender.join();
    }
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketLocal, PeerThatCloses) {
    Pair pair;
    send(pair.far, "end", 3, 0);
    shutdown(pair.far, SHUT_RDWR);
    EXPECT_EQ(_Receive(pair.near, 100), "end");
    ZR_U8 byte = 0;
    EXPECT_EQ(zr_local_tcp_recv(pair.near, &byte, 1), 0);
    EXPECT_EQ(_Logged(), "");
    EXPECT_EQ(zr_local_tcp_send(pair.near, Data("x"), 1), -1); // and no SIGPIPE
    EXPECT_EQ(_Logged(), "E send failure, errno = 32!");
}

TEST_F(ZrSocketLocal, PeerThatClosesInTheMiddle) {
    Pair pair;
    const std::string data = Bytes(3000000);
    std::thread peer([&] {
        RawRead(pair.far, 100000);
        shutdown(pair.far, SHUT_RDWR);
    });
    EXPECT_EQ(zr_local_tcp_send(pair.near, Data(data), 3000000), -1);
    peer.join();
    EXPECT_EQ(_Logged(), "E send failure, errno = 32!");
}

TEST_F(ZrSocketLocal, RefusesBadParameters) {
    Pair pair;
    ZR_U8 byte = 0;
    EXPECT_EQ(zr_local_tcp_send(pair.near, nullptr, 1), -1);
    EXPECT_EQ(zr_local_tcp_send(pair.near, &byte, 0), -1);
    EXPECT_EQ(zr_local_tcp_send(pair.near, &byte, 0x80000000U), -1);
    EXPECT_EQ(zr_local_tcp_recv(pair.near, nullptr, 1), -1);
    EXPECT_EQ(zr_local_tcp_recv(pair.near, &byte, 0), -1);
    EXPECT_EQ(zr_local_tcp_recv(pair.near, &byte, 0x80000000U), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(6, "E bad parameters!"));
    m_log.Clear();
    EXPECT_EQ(zr_local_tcp_send(ClosedDescriptor(), &byte, 1), -1);
    EXPECT_EQ(_Logged(), "E send failure, errno = 9!");
    EXPECT_EQ(zr_local_tcp_recv(ClosedDescriptor(), &byte, 1), -1);
    EXPECT_EQ(_Logged(), "E recv failure, errno = 9!");
}
