// Ethernet frames over a virtual cable of the test's own.
#include "NetTest.h"

#include <cstring>
#include <thread>

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/socket.h>

#include "Interrupter.h"

namespace {

constexpr ZR_U16 TYPE = 0x88B5;

// A raw socket that its test closes.
struct RawSocket {
    RawSocket(const char *face, const char *destination, ZR_U16 type = TYPE) {
        info.fd = -1;
        EXPECT_EQ(zr_socket_raw(type, Text(destination), Text(face), &info), 0);
    }
    ~RawSocket() { close(info.fd); }
    RawSocket(const RawSocket &) = delete;
    RawSocket &operator=(const RawSocket &) = delete;

    ZR_S32 Send(const std::string &data) {
        return zr_socket_raw_send(&info, reinterpret_cast<const ZR_U8 *>(data.data()),
                                  static_cast<ZR_U32>(data.size()));
    }

    // Data of one frame, or "time" after `timeoutMs`.
    std::string Receive(ZR_S32 timeoutMs = 5000) {
        Buffer<2000> data;
        const ZR_S32 count = zr_socket_raw_recv(info.fd, data, 2000, timeoutMs, &header);
        EXPECT_GE(count, 0);
        return count <= 0 ? "time" : data.Bytes(static_cast<std::size_t>(count));
    }

    RAW_SOCKINFO_S info = {};
    RAW_ETHHDR_S header = {};
};

class ZrSocketRaw : public NetTest {
  protected:
    // Sends a whole frame, header and all, into "zr0", unseen by the library.
    static void _SendFrame(const std::string &destination, ZR_U16 type, const std::string &data) {
        const Handle handle = socket(AF_PACKET, SOCK_RAW, 0);
        const ZR_U16 wire = htons(type);
        const std::string frame =
            destination + "\x02\x11\x22\x33\x44\x55" + std::string(reinterpret_cast<const char *>(&wire), 2) + data;
        sockaddr_ll address = {};
        address.sll_family = AF_PACKET;
        address.sll_ifindex = static_cast<int>(if_nametoindex("zr0"));
        EXPECT_EQ(
            sendto(handle, frame.data(), frame.size(), 0, reinterpret_cast<sockaddr *>(&address), sizeof(address)),
            static_cast<ssize_t>(frame.size()));
    }
};

const std::string MAC_OF_ZR1("\x02\x00\x00\x00\x00\x02", 6);

} // namespace

TEST_F(ZrSocketRaw, DescribesItself) {
    RawSocket raw("zr0", "02:00:00:00:00:02");
    EXPECT_GT(raw.info.fd, 0);
    EXPECT_EQ(raw.info.s32InterfaceIdx, static_cast<ZR_S32>(if_nametoindex("zr0")));
    EXPECT_STREQ(reinterpret_cast<char *>(raw.info.u8Interface), "zr0");
    const unsigned char expected[14] = {2, 0, 0, 0, 0, 2, 2, 0, 0, 0, 0, 1, 0x88, 0xB5};
    EXPECT_EQ(memcmp(&raw.info.stEthHdr, expected, 14), 0);
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketRaw, FramesThereAndBack) {
    RawSocket near("zr0", "02:00:00:00:00:02"), far("zr1", "02:00:00:00:00:01");
    EXPECT_EQ(near.Send("hello over there, on the other side of the cable"), 48);
    EXPECT_EQ(far.Receive(), "hello over there, on the other side of the cable");
    EXPECT_EQ(memcmp(&far.header, &near.info.stEthHdr, 14), 0);
    const std::string largest = Bytes(1500);
    EXPECT_EQ(far.Send(largest), 1500);
    EXPECT_TRUE(near.Receive() == largest);
    EXPECT_EQ(near.Receive(0), "time"); // not what it has sent itself
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketRaw, OnlyFramesOfItsTypeArrive) {
    RawSocket far("zr1", "02:00:00:00:00:01");
    _SendFrame(MAC_OF_ZR1, 0x88B6, "another type");
    _SendFrame(MAC_OF_ZR1, TYPE, "its type");
    EXPECT_EQ(far.Receive(), "its type");
    EXPECT_EQ(far.Receive(100), "time");
}

TEST_F(ZrSocketRaw, OnlyFramesToItselfOrAGroupArrive) {
    ASSERT_TRUE(NetNamespace::Ip("link set zr1 promisc on\n")); // the interface itself takes all
    RawSocket far("zr1", "02:00:00:00:00:01");
    _SendFrame("\x02\x77\x77\x77\x77\x77", TYPE, "to another");
    _SendFrame(std::string("\x02\x00\x00\x00\x00\x03", 6), TYPE, "low half differs");
    _SendFrame(std::string("\x04\x00\x00\x00\x00\x02", 6), TYPE, "high half differs");
    _SendFrame(MAC_OF_ZR1, TYPE, "to itself");
    _SendFrame("\xff\xff\xff\xff\xff\xff", TYPE, "to everybody");
    _SendFrame("\x03\x77\x77\x77\x77\x77", TYPE, "to a group");
    EXPECT_EQ(far.Receive(), "to itself");
    EXPECT_EQ(far.Receive(), "to everybody");
    EXPECT_EQ(far.Receive(), "to a group");
    EXPECT_EQ(far.Receive(100), "time");
}

TEST_F(ZrSocketRaw, OnlyItsInterfaceIsHeard) {
    RawSocket deaf("zr0", "02:00:00:00:00:02"), far("zr1", "02:00:00:00:00:01");
    _SendFrame("\xff\xff\xff\xff\xff\xff", TYPE, "out of zr0");
    EXPECT_EQ(far.Receive(), "out of zr0");
    EXPECT_EQ(deaf.Receive(50), "time");
}

TEST_F(ZrSocketRaw, DataBeyondTheBufferIsLost) {
    RawSocket far("zr1", "02:00:00:00:00:01");
    _SendFrame(MAC_OF_ZR1, TYPE, "hello you");
    _SendFrame(MAC_OF_ZR1, TYPE, "next");
    Buffer<16> data;
    EXPECT_EQ(zr_socket_raw_recv(far.info.fd, data, 5, 5000, &far.header), 5);
    EXPECT_EQ(data.Bytes(5), "hello");
    EXPECT_TRUE(data.Untouched(5));
    EXPECT_EQ(far.Receive(), "next");
}

TEST_F(ZrSocketRaw, ReceiveGivesUpWhenTheTimeIsUp) {
    RawSocket far("zr1", "02:00:00:00:00:01");
    const Stopwatch watch;
    EXPECT_EQ(far.Receive(300), "time");
    EXPECT_GE(watch.Milliseconds(), 290);
    EXPECT_LE(watch.Milliseconds(), 20000);
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketRaw, ReceiveWaitsThoughInterrupted) {
    RawSocket near("zr0", "02:00:00:00:00:02"), far("zr1", "02:00:00:00:00:01");
    Interrupter interrupter;
    std::thread sender([&] {
        interrupter.Await();
        EXPECT_EQ(near.Send("late"), 4);
    });
    EXPECT_EQ(far.Receive(-1), "late");
    sender.join();
}

TEST_F(ZrSocketRaw, ReportsWhatCannotBeMade) {
    RAW_SOCKINFO_S info = {};
    info.fd = 77;
    const ZR_S8 *mac = Text("02:00:00:00:00:02"), *face = Text("zr0");
    EXPECT_EQ(zr_socket_raw(TYPE, mac, face, nullptr), -1);
    EXPECT_EQ(zr_socket_raw(0x05FF, mac, face, &info), -1);
    EXPECT_EQ(zr_socket_raw(TYPE, nullptr, face, &info), -1);
    EXPECT_EQ(zr_socket_raw(TYPE, Text("02:00:00:00:00"), face, &info), -1);
    EXPECT_EQ(zr_socket_raw(TYPE, mac, nullptr, &info), -1);
    EXPECT_EQ(zr_socket_raw(TYPE, mac, Text("sixteen-letters!"), &info), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(6, "E bad parameters!"));
    m_log.Clear();
    EXPECT_EQ(zr_socket_raw(TYPE, mac, Text("nobody"), &info), -1);
    EXPECT_EQ(_Logged(), "E SIOCGIFHWADDR failure, errno = 19!");
    EXPECT_EQ(info.fd, 77);
}

TEST_F(ZrSocketRaw, ReportsFramesThatCannotBeSent) {
    RawSocket near("zr0", "02:00:00:00:00:02");
    ZR_U8 byte = 0;
    EXPECT_EQ(zr_socket_raw_send(nullptr, &byte, 1), -1);
    EXPECT_EQ(zr_socket_raw_send(&near.info, nullptr, 1), -1);
    EXPECT_EQ(zr_socket_raw_send(&near.info, &byte, 0), -1);
    EXPECT_EQ(zr_socket_raw_send(&near.info, &byte, 0x80000000U), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(4, "E bad parameters!"));
    m_log.Clear();
    EXPECT_EQ(near.Send(Bytes(1501)), -1);
    EXPECT_EQ(_Logged(), "E send failure, errno = 90!");
    ASSERT_TRUE(NetNamespace::Ip("link set zr0 down\n"));
    EXPECT_EQ(near.Send("x"), -1);
    EXPECT_EQ(_Logged(), "E send failure, errno = 100!");
}

TEST_F(ZrSocketRaw, RefusesOtherSockets) {
    RAW_SOCKINFO_S info = {};
    RAW_ETHHDR_S header = {};
    Buffer<16> data;
    UdpPeer udp;
    for (const int other : {int(udp.socket), ClosedDescriptor(), -1}) {
        info.fd = other;
        const ZR_U8 byte = 0;
        EXPECT_EQ(zr_socket_raw_send(&info, &byte, 1), -1);
        EXPECT_EQ(zr_socket_raw_recv(other, data, 16, 0, &header), -1);
        EXPECT_EQ(m_log.Texts(), std::vector<std::string>(2, "E no raw socket!"));
        m_log.Clear();
    }
    RawSocket near("zr0", "02:00:00:00:00:02");
    EXPECT_EQ(zr_socket_raw_recv(near.info.fd, nullptr, 16, 0, &header), -1);
    EXPECT_EQ(zr_socket_raw_recv(near.info.fd, data, 0, 0, &header), -1);
    EXPECT_EQ(zr_socket_raw_recv(near.info.fd, data, -1, 0, &header), -1);
    EXPECT_EQ(zr_socket_raw_recv(near.info.fd, data, 16, 0, nullptr), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(4, "E bad parameters!"));
}

TEST_F(ZrSocketRaw, Closes) {
    RAW_SOCKINFO_S info = {};
    const int next = ClosedDescriptor();
    ASSERT_EQ(zr_socket_raw(TYPE, Text("02:00:00:00:00:02"), Text("zr0"), &info), 0);
    EXPECT_EQ(zr_socket_raw_close(info.fd), 0);
    EXPECT_EQ(ClosedDescriptor(), next);
    EXPECT_EQ(_Logged(), "");
    EXPECT_EQ(zr_socket_raw_close(info.fd), -1);
    EXPECT_EQ(_Logged(), "E  close failure,errno = 9!");
    EXPECT_EQ(zr_socket_raw_close(0), -1);
    EXPECT_EQ(zr_socket_raw_close(-1), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(2, "E bad parameters!"));
}
