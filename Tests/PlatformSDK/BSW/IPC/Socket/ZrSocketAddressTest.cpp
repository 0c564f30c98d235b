// Binding, listening, accepting and a socket's own address.
#include "SocketSupport.h"

#include <filesystem>
#include <fstream>
#include <thread>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "Interrupter.h"

namespace {

class ZrSocketAddress : public SocketTest {
  protected:
    std::string _Name(int handle) {
        Buffer<16> ip;
        ZR_U16 port = 0;
        if (zr_get_sockname(handle, ip, 16, &port) != 0)
            return "failed";
        return ip.Str() + (port != 0 ? ":port" : ":0");
    }
};

} // namespace

TEST_F(ZrSocketAddress, BindsToAnAddressAndPort) {
    const Handle first = zr_socket(EM_TCP_SOCK), second = zr_socket(EM_TCP_SOCK);
    EXPECT_EQ(_Name(first), "0.0.0.0:0");
    ASSERT_EQ(zr_bind(first, EM_SA_INET, Text("127.0.0.1"), 0), 0);
    EXPECT_EQ(_Name(first), "127.0.0.1:port");
    Buffer<16> ip;
    ZR_U16 port = 0;
    ASSERT_EQ(zr_get_sockname(first, ip, 16, &port), 0);
    ASSERT_EQ(zr_listen(first, 1), 0);
    EXPECT_EQ(_Logged(), "");
    EXPECT_EQ(zr_bind(second, EM_SA_INET, Text("127.0.0.1"), port), -1);
    EXPECT_EQ(_Logged(), "E bind failure, errno = 98!");
    // The very port: a connection to it arrives.
    EXPECT_EQ(zr_block_connect(second, Text("127.0.0.1"), port), 0);
}

TEST_F(ZrSocketAddress, BindsToAChosenPort) {
    ZR_U16 port = 0;
    { port = UdpPeer().port; } // one that was free a moment ago
    const Handle socket = zr_socket(EM_UDP_SOCK);
    ASSERT_EQ(zr_bind(socket, EM_SA_INET, Text("127.0.0.2"), port), 0);
    sockaddr_in address = {};
    socklen_t length = sizeof(address);
    getsockname(socket, reinterpret_cast<sockaddr *>(&address), &length);
    EXPECT_EQ(ntohs(address.sin_port), port);
    EXPECT_EQ(ntohl(address.sin_addr.s_addr), 0x7f000002U);
}

TEST_F(ZrSocketAddress, BindsToAnyAddress) {
    const Handle socket = zr_socket(EM_UDP_SOCK);
    EXPECT_EQ(zr_bind(socket, EM_SA_INET, nullptr, 0), 0);
    EXPECT_EQ(_Name(socket), "0.0.0.0:port");
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketAddress, BindsToAnIpv6Address) {
    const Handle socket6 = socket(AF_INET6, SOCK_DGRAM, 0);
    if (socket6 < 0 || !std::filesystem::exists("/proc/net/if_inet6") ||
        ReadWholeFile("/proc/net/if_inet6").find("00000000000000000000000000000001") == std::string::npos)
        GTEST_SKIP() << "no IPv6 on the loopback interface";
    ASSERT_EQ(zr_bind(socket6, EM_SA_INET6, Text("::1"), 0), 0);
    sockaddr_in6 address = {};
    socklen_t length = sizeof(address);
    getsockname(socket6, reinterpret_cast<sockaddr *>(&address), &length);
    EXPECT_TRUE(IN6_IS_ADDR_LOOPBACK(&address.sin6_addr));
    const Handle again = socket(AF_INET6, SOCK_DGRAM, 0);
    EXPECT_EQ(zr_bind(again, EM_SA_INET6, Text("::1"), ntohs(address.sin6_port)), -1);
    EXPECT_EQ(_Logged(), "E bind failure, errno = 98!");
    // It has no IPv4 address.
    EXPECT_EQ(_Name(socket6), "failed");
    EXPECT_EQ(_Logged(), "E no IPv4 socket!");
}

TEST_F(ZrSocketAddress, BindsToAPathOfAtMost107Characters) {
    for (const std::size_t size : {6U, 106U, 107U, 108U, 109U, 500U}) {
        const std::string path(size, static_cast<char>('a' + size % 26));
        const Handle socket = zr_socket(EM_UDP_LOCAL_SOCK);
        EXPECT_EQ(zr_bind(socket, EM_SA_UNIX, Text(path), 9), 0);
        EXPECT_TRUE(std::filesystem::is_socket(path.substr(0, 107))) << size;
        EXPECT_EQ(std::filesystem::exists(path.substr(0, 108)), size <= 107) << size;
    }
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketAddress, FileAtThePathStays) {
    std::ofstream("here") << "kept";
    const Handle socket = zr_socket(EM_TCP_LOCAL_SOCK);
    EXPECT_EQ(zr_bind(socket, EM_SA_UNIX, Text("here"), 0), -1);
    EXPECT_EQ(_Logged(), "E bind failure, errno = 98!");
    EXPECT_EQ(ReadWholeFile("here"), "kept");
}

TEST_F(ZrSocketAddress, BindRefusesBadParameters) {
    const Handle socket = zr_socket(EM_UDP_SOCK);
    EXPECT_EQ(zr_bind(socket, EM_SA_INET, Text("127.0.0.1.1"), 0), -1);
    EXPECT_EQ(zr_bind(socket, EM_SA_INET, Text(""), 0), -1);
    EXPECT_EQ(zr_bind(socket, EM_SA_INET6, Text("127.0.0.1"), 0), -1);
    EXPECT_EQ(zr_bind(socket, EM_SA_INET6, nullptr, 0), -1);
    EXPECT_EQ(zr_bind(socket, EM_SA_UNIX, nullptr, 0), -1);
    EXPECT_EQ(zr_bind(socket, static_cast<SA_FAMILY_E>(3), Text("127.0.0.1"), 0), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(6, "E bad parameters!"));
    m_log.Clear();
    EXPECT_EQ(zr_bind(ClosedDescriptor(), EM_SA_INET, nullptr, 0), -1);
    EXPECT_EQ(_Logged(), "E bind failure, errno = 9!");
    EXPECT_EQ(zr_bind(socket, EM_SA_UNIX, Text("path"), 0), -1); // another family's socket
    EXPECT_EQ(_Logged(), "E bind failure, errno = 97!");
}

TEST_F(ZrSocketAddress, ListenReportsItsFailures) {
    const Handle socket = zr_socket(EM_TCP_SOCK), datagram = zr_socket(EM_UDP_SOCK);
    EXPECT_EQ(zr_listen(socket, -1), -1);
    EXPECT_EQ(_Logged(), "E bad parameters!");
    EXPECT_EQ(zr_listen(datagram, 5), -1);
    EXPECT_EQ(_Logged(), "E listen failure, errno = 95!");
    EXPECT_EQ(zr_listen(ClosedDescriptor(), 5), -1);
    EXPECT_EQ(_Logged(), "E listen failure, errno = 9!");
}

TEST_F(ZrSocketAddress, AcceptTellsThePeer) {
    const Listener listener;
    const Handle client = zr_socket(EM_TCP_SOCK);
    ASSERT_EQ(zr_bind(client, EM_SA_INET, Text("127.0.0.3"), 0), 0);
    ASSERT_EQ(zr_block_connect(client, Text("127.0.0.1"), listener.port), 0);
    Buffer<16> own, peer;
    ZR_U16 ownPort = 0, peerPort = 0;
    const Handle connection = zr_accept(listener.socket, peer, 10, &peerPort); // exactly large enough
    ASSERT_GT(connection, 0);
    EXPECT_EQ(peer.Str(), "127.0.0.3");
    EXPECT_TRUE(peer.Untouched(10));
    EXPECT_EQ(zr_get_sockname(client, own, 16, &ownPort), 0);
    EXPECT_EQ(peerPort, ownPort);
    EXPECT_EQ(send(connection, "hi", 2, 0), 2);
    EXPECT_EQ(RawRead(client, 2), "hi");
}

TEST_F(ZrSocketAddress, AcceptClosesAConnectionWhoseAddressDoesNotFit) {
    const Listener listener;
    const Handle client = zr_socket(EM_TCP_SOCK);
    ASSERT_EQ(zr_block_connect(client, Text("127.0.0.1"), listener.port), 0);
    Buffer<16> peer;
    ZR_U16 port = 7;
    const int next = ClosedDescriptor();
    EXPECT_EQ(zr_accept(listener.socket, peer, 9, &port), -1);
    EXPECT_EQ(_Logged(), "E address buffer of 9 bytes too small!");
    EXPECT_TRUE(peer.Untouched());
    EXPECT_EQ(port, 7);
    EXPECT_EQ(ClosedDescriptor(), next);
    ASSERT_TRUE(Readable(client, 5000));
    char byte;
    EXPECT_LE(recv(client, &byte, 1, 0), 0);
}

TEST_F(ZrSocketAddress, AcceptWaitsThoughInterrupted) {
    const Listener listener;
    const Handle client = zr_socket(EM_TCP_SOCK);
    Interrupter interrupter;
    std::thread peer([&] {
        interrupter.Await();
        EXPECT_EQ(zr_block_connect(client, Text("127.0.0.1"), listener.port), 0);
    });
    Buffer<16> ip;
    ZR_U16 port = 0;
    const Handle connection = zr_accept(listener.socket, ip, 16, &port);
    peer.join();
    EXPECT_GT(connection, 0);
    EXPECT_EQ(ip.Str(), "127.0.0.1");
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketAddress, AcceptReportsItsFailures) {
    const Listener listener;
    Buffer<16> ip;
    ZR_U16 port = 0;
    EXPECT_EQ(zr_accept(listener.socket, nullptr, 16, &port), -1);
    EXPECT_EQ(zr_accept(listener.socket, ip, 0, &port), -1);
    EXPECT_EQ(zr_accept(listener.socket, ip, -1, &port), -1);
    EXPECT_EQ(zr_accept(listener.socket, ip, 16, nullptr), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(4, "E bad parameters!"));
    m_log.Clear();
    EXPECT_EQ(zr_accept(ClosedDescriptor(), ip, 16, &port), -1);
    EXPECT_EQ(_Logged(), "E accept failure, errno = 9!");
    const Handle deaf = zr_socket(EM_TCP_SOCK);
    EXPECT_EQ(zr_accept(deaf, ip, 16, &port), -1);
    EXPECT_EQ(_Logged(), "E accept failure, errno = 22!");
    ASSERT_EQ(zr_set_socknoblock(listener.socket, 1), 0);
    EXPECT_EQ(zr_accept(listener.socket, ip, 16, &port), -1);
    EXPECT_EQ(_Logged(), "E accept failure, errno = 11!");
}

TEST_F(ZrSocketAddress, OwnAddress) {
    const Listener listener;
    Buffer<16> ip;
    EXPECT_EQ(zr_get_sockipaddr(listener.socket, ip, 10), 0);
    EXPECT_EQ(ip.Str(), "127.0.0.1");
    Buffer<16> name;
    ZR_U16 port = 0;
    EXPECT_EQ(zr_get_sockname(listener.socket, name, 10, &port), 0);
    EXPECT_EQ(name.Str(), "127.0.0.1");
    EXPECT_EQ(port, listener.port);
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketAddress, OwnAddressReportsItsFailures) {
    const Listener listener;
    Buffer<16> ip;
    ZR_U16 port = 7;
    EXPECT_EQ(zr_get_sockname(listener.socket, nullptr, 16, &port), -1);
    EXPECT_EQ(zr_get_sockname(listener.socket, ip, 0, &port), -1);
    EXPECT_EQ(zr_get_sockname(listener.socket, ip, 16, nullptr), -1);
    EXPECT_EQ(zr_get_sockipaddr(listener.socket, nullptr, 16), -1);
    EXPECT_EQ(zr_get_sockipaddr(listener.socket, ip, -16), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(5, "E bad parameters!"));
    m_log.Clear();
    EXPECT_EQ(zr_get_sockname(listener.socket, ip, 9, &port), -1);
    EXPECT_EQ(_Logged(), "E address buffer of 9 bytes too small!");
    EXPECT_EQ(zr_get_sockipaddr(ClosedDescriptor(), ip, 16), -1);
    EXPECT_EQ(_Logged(), "E getsockname failure, errno = 9!");
    const Handle local = zr_socket(EM_UDP_LOCAL_SOCK);
    EXPECT_EQ(zr_get_sockname(local, ip, 16, &port), -1);
    EXPECT_EQ(_Logged(), "E no IPv4 socket!");
    EXPECT_TRUE(ip.Untouched());
    EXPECT_EQ(port, 7);
}
