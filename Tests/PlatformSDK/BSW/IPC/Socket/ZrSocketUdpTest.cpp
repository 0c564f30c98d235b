// IPv4 datagrams.
#include "SocketSupport.h"

#include <thread>

#include <sys/socket.h>

#include "Interrupter.h"

namespace {

class ZrSocketUdp : public SocketTest {
  protected:
    // One datagram at the peer, at most `most` bytes, as "data from ip:near/other".
    std::string _Receive(ZR_S32 most = 64) {
        Buffer<64> data;
        Buffer<16> ip;
        ZR_U16 port = 0;
        const ZR_S32 count = zr_udp_recv(m_peer.socket, data, 64, ip, 16, &port, most);
        if (count < 0)
            return "failed";
        EXPECT_TRUE(data.Untouched(static_cast<std::size_t>(count)));
        return data.Bytes(static_cast<std::size_t>(count)) + " from " + ip.Str() +
               (port == m_near.port ? ":near" : ":other");
    }

    ZR_S32 _Send(const std::string &data, const char *address = "127.0.0.1") {
        return zr_udp_send(m_near.socket, Text(data), static_cast<ZR_S32>(data.size()), Text(address), m_peer.port);
    }

    UdpPeer m_near, m_peer;
};

} // namespace

TEST_F(ZrSocketUdp, DatagramsWithTheirSender) {
    EXPECT_EQ(_Send("hello"), 5);
    EXPECT_EQ(_Send("you"), 3);
    EXPECT_EQ(_Receive(), "hello from 127.0.0.1:near");
    EXPECT_EQ(_Receive(), "you from 127.0.0.1:near");
    const std::string large = Bytes(60000);
    EXPECT_EQ(_Send(large), 60000);
    EXPECT_TRUE(RawRead(m_peer.socket, 60000) == large);
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketUdp, CutsADatagramToWhatIsWanted) {
    EXPECT_EQ(_Send("hello"), 5);
    EXPECT_EQ(_Send("you"), 3);
    EXPECT_EQ(_Receive(4), "hell from 127.0.0.1:near");
    EXPECT_EQ(_Receive(4), "you from 127.0.0.1:near");
}

TEST_F(ZrSocketUdp, EmptyDatagram) {
    const Handle sender = socket(AF_INET, SOCK_DGRAM, 0);
    ASSERT_EQ(zr_block_connect(sender, Text("127.0.0.1"), m_peer.port), 0);
    ASSERT_EQ(send(sender, "", 0, 0), 0);
    EXPECT_EQ(_Receive(), " from 127.0.0.1:other");
}

TEST_F(ZrSocketUdp, ReceiveWaitsThoughInterrupted) {
    Interrupter interrupter;
    std::thread sender([&] {
        interrupter.Await();
        EXPECT_EQ(_Send("late"), 4);
    });
    EXPECT_EQ(_Receive(), "late from 127.0.0.1:near");
    sender.join();
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketUdp, ReceiveReportsItsFailures) {
    ASSERT_EQ(zr_set_socknoblock(m_peer.socket, 1), 0);
    EXPECT_EQ(_Receive(), "failed");
    EXPECT_EQ(_Logged(), "E recv failure, errno = 11!");
    Buffer<8> data;
    Buffer<16> ip;
    ZR_U16 port = 7;
    EXPECT_EQ(zr_udp_recv(ClosedDescriptor(), data, 8, ip, 16, &port, 8), -1);
    EXPECT_EQ(_Logged(), "E recv failure, errno = 9!");
    EXPECT_EQ(_Send("x"), 1);
    ASSERT_TRUE(Readable(m_peer.socket, 5000));
    EXPECT_EQ(zr_udp_recv(m_peer.socket, data, 8, ip, 9, &port, 8), -1);
    EXPECT_EQ(_Logged(), "E address buffer of 9 bytes too small!");
    EXPECT_TRUE(ip.Untouched());
    EXPECT_EQ(port, 7);
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, ends), 0);
    const Handle near = ends[0], far = ends[1];
    send(far, "x", 1, 0);
    EXPECT_EQ(zr_udp_recv(near, data, 8, ip, 16, &port, 8), -1);
    EXPECT_EQ(_Logged(), "E no IPv4 sender!");
}

TEST_F(ZrSocketUdp, ReceiveRefusesBadParameters) {
    Buffer<8> data;
    Buffer<16> ip;
    ZR_U16 port = 7;
    EXPECT_EQ(_Send("x"), 1);
    EXPECT_EQ(zr_udp_recv(m_peer.socket, nullptr, 8, ip, 16, &port, 8), -1);
    EXPECT_EQ(zr_udp_recv(m_peer.socket, data, 0, ip, 16, &port, 0), -1);
    EXPECT_EQ(zr_udp_recv(m_peer.socket, data, -8, ip, 16, &port, -8), -1);
    EXPECT_EQ(zr_udp_recv(m_peer.socket, data, 7, ip, 16, &port, 8), -1); // would not fit
    EXPECT_EQ(zr_udp_recv(m_peer.socket, data, 8, nullptr, 16, &port, 8), -1);
    EXPECT_EQ(zr_udp_recv(m_peer.socket, data, 8, ip, 0, &port, 8), -1);
    EXPECT_EQ(zr_udp_recv(m_peer.socket, data, 8, ip, 16, nullptr, 8), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(7, "E bad parameters!"));
    EXPECT_EQ(_Receive(), "x from 127.0.0.1:near"); // still there
    EXPECT_TRUE(data.Untouched());
}

TEST_F(ZrSocketUdp, SendRefusesBadParameters) {
    EXPECT_EQ(zr_udp_send(m_near.socket, nullptr, 1, Text("127.0.0.1"), m_peer.port), -1);
    EXPECT_EQ(zr_udp_send(m_near.socket, Text("x"), 0, Text("127.0.0.1"), m_peer.port), -1);
    EXPECT_EQ(zr_udp_send(m_near.socket, Text("x"), -1, Text("127.0.0.1"), m_peer.port), -1);
    EXPECT_EQ(zr_udp_send(m_near.socket, Text("x"), 1, nullptr, m_peer.port), -1);
    for (const char *address : {"", "1", "127.0.0.1.", "127.0.0.01x", "localhost"})
        EXPECT_EQ(_Send("x", address), -1) << address;
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(9, "E bad parameters!"));
    EXPECT_FALSE(Readable(m_peer.socket, 0));
}

TEST_F(ZrSocketUdp, SendReportsItsFailures) {
    EXPECT_EQ(_Send(Bytes(70000)), -1);
    EXPECT_EQ(_Logged(), "E send failure, errno = 90!");
    EXPECT_EQ(zr_udp_send(ClosedDescriptor(), Text("x"), 1, Text("127.0.0.1"), 9), -1);
    EXPECT_EQ(_Logged(), "E send failure, errno = 9!");
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    EXPECT_EQ(zr_udp_send(ends[1], Text("x"), 1, Text("127.0.0.1"), 9), -1);
    EXPECT_EQ(_Logged(), "E send failure, errno = 88!");
    close(ends[0]);
    close(ends[1]);
}
