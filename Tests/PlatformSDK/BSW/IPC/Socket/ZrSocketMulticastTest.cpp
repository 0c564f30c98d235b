// Multicast groups on the loopback interface.
#include "SocketSupport.h"

#include <netinet/in.h>
#include <sys/socket.h>

namespace {

const char GROUP[] = "239.255.77.1";

class ZrSocketMulticast : public SocketTest {
  protected:
    ZrSocketMulticast() {
        // Bound to the group, so that only its datagrams arrive.
        EXPECT_EQ(zr_bind(m_receiver, EM_SA_INET, Text(GROUP), 0), 0);
        Buffer<16> ip;
        EXPECT_EQ(zr_get_sockname(m_receiver, ip, 16, &m_port), 0);
    }

    // Multicast goes out of the interface that has the sender's own address, and with no hop
    // left never out of this machine.
    void SetUp() override {
        ASSERT_EQ(zr_bind(m_sender, EM_SA_INET, Text("127.0.0.1"), 0), 0);
        const int hops = 0;
        ASSERT_EQ(setsockopt(m_sender, IPPROTO_IP, IP_MULTICAST_TTL, &hops, sizeof(hops)), 0);
    }

    ZR_S32 _Send(const std::string &data) {
        return zr_udp_send(m_sender, Text(data), static_cast<ZR_S32>(data.size()), Text(GROUP), m_port);
    }

    std::string _Receive() {
        Buffer<16> data, ip;
        ZR_U16 port = 0;
        if (!Readable(m_receiver, 5000))
            return "nothing";
        const ZR_S32 count = zr_udp_recv(m_receiver, data, 16, ip, 16, &port, 16);
        return count < 0 ? "failed" : data.Bytes(static_cast<std::size_t>(count)) + " from " + ip.Str();
    }

    Handle m_receiver{zr_socket(EM_UDP_SOCK)};
    Handle m_sender{zr_socket(EM_UDP_SOCK)};
    ZR_U16 m_port = 0;
};

} // namespace

TEST_F(ZrSocketMulticast, GroupArrivesWhileJoined) {
    EXPECT_EQ(_Send("early"), 5);
    EXPECT_FALSE(Readable(m_receiver, 50));
    ASSERT_EQ(zr_set_sockaddmembership(m_receiver, Text(GROUP), Text("127.0.0.1")), 0);
    EXPECT_EQ(_Send("hello"), 5);
    EXPECT_EQ(_Receive(), "hello from 127.0.0.1");
    ASSERT_EQ(zr_set_sockdropmembership(m_receiver, Text(GROUP), Text("127.0.0.1")), 0);
    EXPECT_EQ(_Send("late"), 4);
    EXPECT_FALSE(Readable(m_receiver, 50));
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketMulticast, JoiningTwiceAndLeavingTwiceAreFailures) {
    ASSERT_EQ(zr_set_sockaddmembership(m_receiver, Text(GROUP), Text("127.0.0.1")), 0);
    EXPECT_EQ(zr_set_sockaddmembership(m_receiver, Text(GROUP), Text("127.0.0.1")), -1);
    EXPECT_EQ(_Logged(), "E set IP_ADD_MEMBERSHIP failure, errno = 98!");
    ASSERT_EQ(zr_set_sockdropmembership(m_receiver, Text(GROUP), Text("127.0.0.1")), 0);
    EXPECT_EQ(zr_set_sockdropmembership(m_receiver, Text(GROUP), Text("127.0.0.1")), -1);
    EXPECT_EQ(_Logged(), "E set IP_DROP_MEMBERSHIP failure, errno = 99!");
}

TEST_F(ZrSocketMulticast, RefusesBadParameters) {
    for (const auto set : {zr_set_sockaddmembership, zr_set_sockdropmembership}) {
        EXPECT_EQ(set(m_receiver, nullptr, Text("127.0.0.1")), -1);
        EXPECT_EQ(set(m_receiver, Text(GROUP), nullptr), -1);
        EXPECT_EQ(set(m_receiver, Text("239.255.77"), Text("127.0.0.1")), -1);
        EXPECT_EQ(set(m_receiver, Text(GROUP), Text("lo")), -1);
        EXPECT_EQ(m_log.Texts(), std::vector<std::string>(4, "E bad parameters!"));
        m_log.Clear();
    }
    EXPECT_EQ(zr_set_sockaddmembership(m_receiver, Text("127.0.0.1"), Text("127.0.0.1")), -1); // no group
    EXPECT_EQ(_Logged(), "E set IP_ADD_MEMBERSHIP failure, errno = 22!");
    EXPECT_EQ(zr_set_sockaddmembership(ClosedDescriptor(), Text(GROUP), Text("127.0.0.1")), -1);
    EXPECT_EQ(_Logged(), "E set IP_ADD_MEMBERSHIP failure, errno = 9!");
}
