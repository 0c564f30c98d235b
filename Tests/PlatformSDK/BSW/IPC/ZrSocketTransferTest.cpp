// Datagrams through the socket functions: lengths, sender's path, failures and texts.
#include "BSW/IPC/zr_socket.h"

#include <algorithm>
#include <atomic>
#include <numeric>
#include <string>
#include <thread>

#include <csignal>
#include <pthread.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LocalSockets.h"
#include "PeerProcess.h"
#include "Support/LogCapture.h"
#include "Support/WaitUntil.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

int Create(std::string path, bool bRecv) {
    return zr_create_local_udpsvr(reinterpret_cast<ZR_S8 *>(path.data()), bRecv);
}

int Send(int handle, std::string path, Bytes data) {
    return zr_local_udp_send(handle, reinterpret_cast<ZR_U8 *>(path.data()), data.data(),
                             static_cast<ZR_U32>(data.size()));
}

class ZrSocketTransfer : public testing::Test {
  protected:
    ~ZrSocketTransfer() override {
        zr_close(m_receiver);
        zr_close(m_sender);
    }

    // What a path buffer of `size` bytes holds after a datagram from a socket at `path`.
    std::string _SenderPath(const std::string &path, std::size_t size) {
        const int peer = RawSocket(path);
        EXPECT_TRUE(RawSend(peer, "a.sock", {1, 2, 3}));
        std::string buffer(size + 4, '#');
        Bytes data(10);
        EXPECT_EQ(zr_local_udp_recv(m_receiver, reinterpret_cast<ZR_U8 *>(buffer.data()), static_cast<ZR_U32>(size),
                                    data.data(), 10),
                  3);
        close(peer);
        EXPECT_EQ(buffer.substr(size), "####");
        return buffer.substr(0, size);
    }

    LogCapture m_log;
    int m_receiver = Create("a.sock", true);
    int m_sender = Create("a.sock", false);
};

std::string Padded(std::string text, std::size_t size) {
    text.resize(size);
    return text;
}

} // namespace

TEST_F(ZrSocketTransfer, SendsOneDatagram) {
    for (const unsigned size : {1U, 1547U, 65000U}) {
        EXPECT_EQ(Send(m_sender, "a.sock", Pattern(size, 1)), static_cast<int>(size));
        EXPECT_EQ(RawReceive(m_receiver), Pattern(size, 1));
    }
    ZR_U8 path[] = "a.sock", byte = 0;
    EXPECT_EQ(zr_local_udp_send(m_sender, path, &byte, 0), 0);
    EXPECT_EQ(RawReceive(m_receiver), Bytes{});
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(ZrSocketTransfer, SendRefusesNullDataSilently) {
    ZR_U8 path[] = "a.sock";
    EXPECT_EQ(zr_local_udp_send(m_sender, path, nullptr, 1), -1);
    EXPECT_EQ(zr_local_udp_send(m_sender, nullptr, nullptr, 1), -1);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(ZrSocketTransfer, SendReportsANullPath) {
    ZR_U8 byte = 0;
    EXPECT_EQ(zr_local_udp_send(m_sender, nullptr, &byte, 1), -1);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E bad parameters!"));
}

TEST_F(ZrSocketTransfer, SendReportsAbsentPeers) {
    EXPECT_EQ(Send(m_sender, "nobody", {1}), -1);
    close(RawSocket("stale"));
    EXPECT_EQ(Send(m_sender, "stale", {1}), -1);
    EXPECT_THAT(m_log.TextsOf("zr_socket.cpp"),
                ElementsAre("E send ret:-1 err 2 nobody ", "E send ret:-1 err 111 stale "));
}

TEST_F(ZrSocketTransfer, SendReportsADatagramThatIsTooLong) {
    EXPECT_EQ(Send(m_sender, "a.sock", Bytes(64 << 20)), -1);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E send ret:-1 err 90 a.sock "));
}

TEST_F(ZrSocketTransfer, SendUsesThePathLengthsOfTheBind) {
    for (const std::size_t size : {107U, 108U, 109U, 180U}) {
        const std::string path(size, static_cast<char>('a' + size % 26));
        const int receiver = Create(path, true);
        EXPECT_EQ(Send(m_sender, path, Pattern(5, 9)), 5);
        EXPECT_EQ(RawReceive(receiver), Pattern(5, 9));
        zr_close(receiver);
    }
    const std::string absent(108, 'x');
    EXPECT_EQ(Send(m_sender, absent, {1}), -1);
    EXPECT_EQ(Send(m_sender, absent + "yz", {1}), -1);
    EXPECT_THAT(m_log.Texts(),
                ElementsAre("E send ret:-1 err 2 " + absent + " ", "E send ret:-1 err 2 " + absent + "yz "));
}

TEST_F(ZrSocketTransfer, ReceiveCutsADatagramToTheCapacity) {
    const int raw = RawSocket();
    Bytes area(12, 0xEE);
    for (const std::size_t size : {0U, 1U, 9U, 10U, 11U, 65000U}) {
        ASSERT_TRUE(RawSend(raw, "a.sock", Pattern(size, 3)));
        std::fill(area.begin(), area.end(), 0xEE);
        const std::size_t expected = std::min<std::size_t>(size, 10);
        EXPECT_EQ(zr_local_udp_recv(m_receiver, nullptr, 0, area.data(), 10), static_cast<int>(expected));
        const Bytes sent = Pattern(size, 3);
        EXPECT_TRUE(std::equal(area.begin(), area.begin() + static_cast<long>(expected), sent.begin()));
        EXPECT_EQ(std::count(area.begin() + static_cast<long>(expected), area.end(), 0xEE),
                  static_cast<long>(12 - expected));
    }
    close(raw);
}

TEST_F(ZrSocketTransfer, ReceiveReportsTheSendersPath) {
    EXPECT_EQ(_SenderPath("peer", 64), Padded("peer", 64));
    EXPECT_EQ(_SenderPath(std::string(63, 'p'), 64), Padded(std::string(63, 'p'), 64));
    EXPECT_EQ(_SenderPath(std::string(64, 'p'), 64), std::string(64, 'p')); // no terminator
    EXPECT_EQ(_SenderPath(std::string(100, 'p'), 64), std::string(64, 'p'));
    EXPECT_EQ(_SenderPath(std::string(108, 'p'), 200), Padded(std::string(108, 'p'), 200));
    EXPECT_EQ(_SenderPath("peer", 1), "p");
}

TEST_F(ZrSocketTransfer, UnboundSenderHasAnEmptyPath) {
    EXPECT_EQ(_SenderPath("", 64), std::string(64, '\0'));
}

TEST_F(ZrSocketTransfer, PathBufferOfNoBytesIsNotTouched) {
    EXPECT_EQ(_SenderPath("peer", 0), "");
}

TEST_F(ZrSocketTransfer, ReceiveRefusesBadParameters) {
    ZR_U8 byte = 0;
    EXPECT_EQ(zr_local_udp_recv(m_receiver, nullptr, 0, nullptr, 10), -1);
    EXPECT_EQ(zr_local_udp_recv(m_receiver, nullptr, 0, &byte, 0), -1);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E bad parameter!!", "E bad parameter!!"));
}

TEST_F(ZrSocketTransfer, ReceiveReportsABadHandle) {
    ZR_U8 byte = 0, path[64];
    EXPECT_EQ(zr_local_udp_recv(-1, nullptr, 0, &byte, 1), -1);
    EXPECT_EQ(zr_local_udp_recv(-1, path, 64, &byte, 1), -1);
    EXPECT_THAT(m_log.TextsOf("zr_socket.cpp"), ElementsAre("E recv err 9", "E recv err 9"));
}

TEST_F(ZrSocketTransfer, InterruptedReceiveFailsLikeAnyOther) {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr);
    std::atomic<int> result{0};
    std::thread receiver([&] {
        ZR_U8 byte = 0;
        result = zr_local_udp_recv(m_receiver, nullptr, 0, &byte, 1);
    });
    const pthread_t handle = receiver.native_handle();
    EXPECT_TRUE(WaitUntil([&] {
        if (result == 0)
            pthread_kill(handle, SIGUSR1);
        return result == -1;
    }));
    receiver.join();
    EXPECT_THAT(m_log.Texts(), ElementsAre("E recv err 4"));
}

TEST_F(ZrSocketTransfer, ExchangesWithASecondProcess) {
    PeerProcess peer = PeerProcess::Echoing("peer.sock", "a.sock", SeededDatagrams(50, 100));
    for (unsigned i = 0; i < 50; ++i) {
        ASSERT_EQ(Send(m_sender, "peer.sock", Pattern(100, i)), 100);
        ASSERT_TRUE(HasDatagram(m_receiver)) << i;
        ZR_U8 data[300], path[64];
        ASSERT_EQ(zr_local_udp_recv(m_receiver, path, 64, data, 300), 101);
        Bytes expected = Pattern(100, i);
        expected.push_back(0x55); // the peer's mark
        EXPECT_EQ(Bytes(data, data + 101), expected);
        EXPECT_STREQ(reinterpret_cast<char *>(path), "peer.sock");
    }
    EXPECT_EQ(peer.Wait(), 0);
}
