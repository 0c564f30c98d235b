// Options of a socket, read back from the system.
#include "NetTest.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace {

class ZrSocketOption : public SocketTest {
  protected:
    // The option follows `set` both ways; any value but 0 is on.
    void _ExpectSwitch(ZR_S32 (*set)(ZR_S32, ZR_S32), int handle, int level, int option, const std::string &name) {
        for (const ZR_S32 onOff : {1, 0, -3, 0, 256}) {
            EXPECT_EQ(set(handle, onOff), 0) << name;
            EXPECT_EQ(OptionOf(handle, level, option) != 0, onOff != 0) << name;
        }
        EXPECT_EQ(_Logged(), "");
        EXPECT_EQ(set(ClosedDescriptor(), 1), -1);
        EXPECT_EQ(_Logged(), "E set " + name + " failure, errno = 9!");
    }

    Handle m_tcp{zr_socket(EM_TCP_SOCK)};
    Handle m_udp{zr_socket(EM_UDP_SOCK)};
};

class ZrSocketOptionNet : public NetTest {};

} // namespace

TEST_F(ZrSocketOption, Switches) {
    _ExpectSwitch(zr_set_sockbroadcast, m_udp, SOL_SOCKET, SO_BROADCAST, "SO_BROADCAST");
    _ExpectSwitch(zr_set_sockkeepalive, m_tcp, SOL_SOCKET, SO_KEEPALIVE, "SO_KEEPALIVE");
    _ExpectSwitch(zr_set_sockreuseaddr, m_tcp, SOL_SOCKET, SO_REUSEADDR, "SO_REUSEADDR");
    _ExpectSwitch(zr_set_socknodelay, m_tcp, IPPROTO_TCP, TCP_NODELAY, "TCP_NODELAY");
    _ExpectSwitch(zr_set_sockmulticast_noLoop, m_udp, IPPROTO_IP, IP_MULTICAST_LOOP, "IP_MULTICAST_LOOP");
}

TEST_F(ZrSocketOption, NodelayIsForTcpAlone) {
    EXPECT_EQ(zr_set_socknodelay(m_udp, 1), -1);
    EXPECT_EQ(_Logged(), "E set TCP_NODELAY failure, errno = 92!");
}

TEST_F(ZrSocketOption, BufferSizesAreDoubledByTheSystem) {
    EXPECT_EQ(zr_set_socksndbuf(m_udp, 20000), 0);
    EXPECT_EQ(OptionOf(m_udp, SOL_SOCKET, SO_SNDBUF), 40000);
    EXPECT_EQ(zr_set_sockrcvbuf(m_udp, 30000), 0);
    EXPECT_EQ(OptionOf(m_udp, SOL_SOCKET, SO_RCVBUF), 60000);
    EXPECT_EQ(OptionOf(m_udp, SOL_SOCKET, SO_SNDBUF), 40000);
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketOption, BufferSizesReportTheirFailures) {
    for (const auto set : {zr_set_socksndbuf, zr_set_sockrcvbuf}) {
        const int before = OptionOf(m_udp, SOL_SOCKET, SO_SNDBUF);
        EXPECT_EQ(set(m_udp, 0), -1);
        EXPECT_EQ(set(m_udp, -1), -1);
        EXPECT_EQ(m_log.Texts(), std::vector<std::string>(2, "E bad parameters!"));
        EXPECT_EQ(OptionOf(m_udp, SOL_SOCKET, SO_SNDBUF), before);
        m_log.Clear();
    }
    EXPECT_EQ(zr_set_socksndbuf(ClosedDescriptor(), 9000), -1);
    EXPECT_EQ(_Logged(), "E set SO_SNDBUF failure, errno = 9!");
    EXPECT_EQ(zr_set_sockrcvbuf(ClosedDescriptor(), 9000), -1);
    EXPECT_EQ(_Logged(), "E set SO_RCVBUF failure, errno = 9!");
}

TEST_F(ZrSocketOption, Linger) {
    const auto read = [&] {
        linger value = {};
        socklen_t length = sizeof(value);
        getsockopt(m_tcp, SOL_SOCKET, SO_LINGER, &value, &length);
        return std::to_string(value.l_onoff) + " " + std::to_string(value.l_linger);
    };
    EXPECT_EQ(zr_set_socklinger(m_tcp, 5, 7), 0);
    EXPECT_EQ(read(), "1 7");
    EXPECT_EQ(zr_set_socklinger(m_tcp, 0, 0), 0);
    EXPECT_EQ(read().substr(0, 1), "0");
    EXPECT_EQ(_Logged(), "");
    EXPECT_EQ(zr_set_socklinger(m_tcp, 1, -1), -1);
    EXPECT_EQ(_Logged(), "E bad parameters!");
    EXPECT_EQ(zr_set_socklinger(ClosedDescriptor(), 1, 1), -1);
    EXPECT_EQ(_Logged(), "E set SO_LINGER failure, errno = 9!");
}

TEST_F(ZrSocketOption, LingerOfZeroSecondsBreaksOff) {
    TcpPair pair;
    EXPECT_EQ(zr_set_socklinger(pair.near, 1, 0), 0);
    pair.near.Close();
    ASSERT_TRUE(Readable(pair.far, 5000));
    char byte;
    EXPECT_EQ(recv(pair.far, &byte, 1, 0), -1);
    EXPECT_EQ(errno, ECONNRESET);
}

TEST_F(ZrSocketOption, NonBlockingModeKeepsTheOtherFlags) {
    ASSERT_EQ(fcntl(m_udp, F_SETFL, O_ASYNC), 0);
    const int before = fcntl(m_udp, F_GETFL);
    EXPECT_EQ(zr_set_socknoblock(m_udp, 2), 0);
    EXPECT_EQ(fcntl(m_udp, F_GETFL), before | O_NONBLOCK);
    EXPECT_EQ(zr_set_socknoblock(m_udp, 0), 0);
    EXPECT_EQ(fcntl(m_udp, F_GETFL), before);
    EXPECT_EQ(_Logged(), "");
    EXPECT_EQ(zr_set_socknoblock(ClosedDescriptor(), 1), -1);
    EXPECT_EQ(_Logged(), "E set O_NONBLOCK failure, errno = 9!");
}

TEST_F(ZrSocketOption, ReuseAddressLetsADatagramAddressBeShared) {
    const Handle other = zr_socket(EM_UDP_SOCK);
    ASSERT_EQ(zr_set_sockreuseaddr(m_udp, 1), 0);
    ASSERT_EQ(zr_set_sockreuseaddr(other, 1), 0);
    ASSERT_EQ(zr_bind(m_udp, EM_SA_INET, Text("127.0.0.1"), 0), 0);
    Buffer<16> ip;
    ZR_U16 port = 0;
    ASSERT_EQ(zr_get_sockname(m_udp, ip, 16, &port), 0);
    EXPECT_EQ(zr_bind(other, EM_SA_INET, Text("127.0.0.1"), port), 0);
}

TEST_F(ZrSocketOption, BindToInterfaceReportsItsFailures) {
    EXPECT_EQ(zr_bind2device(m_udp, nullptr), -1);
    EXPECT_EQ(zr_bind2device(m_udp, Text("")), -1);
    EXPECT_EQ(zr_bind2device(m_udp, Text("sixteen-letters!")), -1);
    EXPECT_EQ(zr_bind2device(m_udp, Text(std::string(100000, 'x'))), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(4, "E bad parameters!"));
    m_log.Clear();
    EXPECT_EQ(zr_bind2device(m_udp, Text("fifteen-letters")), -1);
    EXPECT_EQ(_Logged(), "E set SO_BINDTODEVICE failure, errno = 19!");
    EXPECT_EQ(zr_bind2device(ClosedDescriptor(), Text("lo")), -1);
    EXPECT_EQ(_Logged(), "E set SO_BINDTODEVICE failure, errno = 9!");
}

TEST_F(ZrSocketOptionNet, SocketBoundToAnInterfaceHearsThatAlone) {
    UdpPeer sender, local, remote;
    ASSERT_EQ(zr_bind2device(local.socket, Text("lo")), 0);
    ASSERT_EQ(zr_bind2device(remote.socket, Text("zr1")), 0);
    for (const ZR_U16 port : {remote.port, local.port})
        EXPECT_EQ(zr_udp_send(sender.socket, Text("x"), 1, Text("127.0.0.1"), port), 1);
    EXPECT_TRUE(Readable(local.socket, 5000));
    EXPECT_FALSE(Readable(remote.socket, 50));
    EXPECT_EQ(_Logged(), "");
}
