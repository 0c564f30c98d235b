// The endpoint without its thread: set-up, sending, direct receiving, clean-up.
#include "BSW/IPC/ZRIpc.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Descriptors.h"
#include "FailingCalls.h"
#include "LocalSockets.h"
#include "PeerProcess.h"
#include "Support/LogCapture.h"
#include "Support/WaitUntil.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

bool Init(CZRIpc &ipc, std::string path, bool bRecv, int nPort = 50000) {
    return ipc.Init(0, path.data(), nPort, 3072, 40, bRecv, false);
}

int Send(CZRIpc &ipc, Bytes data) {
    return ipc.SendIPCMsg(50000, reinterpret_cast<char *>(data.data()), static_cast<ZR_U32>(data.size()));
}

int IgnoreDatagram(void *, int, void *) {
    return 0;
}
int AlsoIgnore(void *, int, void *) {
    return 1;
}

class ZRIpc : public testing::Test {
  protected:
    LogCapture m_log;
    int m_descriptors = OpenDescriptors();
};

} // namespace

TEST_F(ZRIpc, ReceiveTypes) {
    EXPECT_EQ(EM_IPC_NOBLOCK, 0);
    EXPECT_EQ(EM_IPC_BLOCK, 1);
}

TEST_F(ZRIpc, PortIsOnlyRangeTested) {
    CZRIpc ipc;
    for (const int port : {65536, -1, 1000000}) {
        m_log.Clear();
        EXPECT_FALSE(Init(ipc, "a.sock", true, port));
        EXPECT_THAT(m_log.Texts(), ElementsAre("E bad parameter!"));
        EXPECT_EQ(OpenDescriptors(), m_descriptors);
        EXPECT_FALSE(std::filesystem::exists("a.sock"));
    }
    m_log.Clear();
    for (const int port : {0, 65535}) {
        EXPECT_TRUE(Init(ipc, "a.sock", true, port));
        EXPECT_TRUE(ipc.CleanUp());
    }
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(ZRIpc, NullPathIsRefused) {
    CZRIpc ipc;
    EXPECT_FALSE(ipc.Init(0, nullptr, 1, 8, 8, true, false));
    EXPECT_THAT(m_log.Texts(), ElementsAre("E bad parameter!"));
}

TEST_F(ZRIpc, FailedSocketFailsInit) {
    CZRIpc ipc;
    {
        NoDescriptorsLeft exhausted;
        EXPECT_FALSE(Init(ipc, "a.sock", true));
    }
    EXPECT_FALSE(Init(ipc, "missing/a.sock", true));
    EXPECT_THAT(m_log.Texts(), ElementsAre("E create socket failure,errno = 24!", "E create socket failure!!",
                                           "E create socket failure!", "E bind failure!!", "E create socket failure!"));
    EXPECT_TRUE(ipc.CleanUp());
    EXPECT_EQ(OpenDescriptors(), m_descriptors);
    EXPECT_TRUE(Init(ipc, "a.sock", true));
    EXPECT_TRUE(ipc.CleanUp());
}

TEST_F(ZRIpc, PathIsKeptToItsFirst63Characters) {
    CZRIpc ipc;
    const std::string path(80, 'p');
    EXPECT_TRUE(Init(ipc, path, true));
    EXPECT_TRUE(std::filesystem::is_socket(path.substr(0, 63)));
    EXPECT_EQ(Send(ipc, {1, 2}), 2); // to itself
    EXPECT_TRUE(ipc.CleanUp());
}

TEST_F(ZRIpc, SendingEndpointLeavesTheFileAlone) {
    std::ofstream("a.sock") << "mine";
    const int threads = UsesOf(SystemCall::ThreadCreate);
    CZRIpc ipc;
    EXPECT_TRUE(Init(ipc, "a.sock", false));
    EXPECT_EQ(ReadWholeFile("a.sock"), "mine");
    EXPECT_EQ(UsesOf(SystemCall::ThreadCreate), threads);
    EXPECT_TRUE(ipc.CleanUp());
}

TEST_F(ZRIpc, SendRefusesBadArgumentsInTheirOrder) {
    CZRIpc ipc;
    Init(ipc, "a.sock", false);
    char byte = 1;
    EXPECT_EQ(ipc.SendIPCMsg(65536, nullptr, 0), -1);
    EXPECT_EQ(ipc.SendIPCMsg(-1, &byte, 1), -1);
    EXPECT_EQ(ipc.SendIPCMsg(65535, &byte, 0), -1);
    EXPECT_EQ(ipc.SendIPCMsg(0, nullptr, 1), -1);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E bad port number!!", "E bad port number!!", "E bad data or dataLen!!",
                                           "E bad data or dataLen!!"));
    ipc.CleanUp();
}

TEST_F(ZRIpc, SendToAnAbsentPeerFailsUntilItComes) {
    CZRIpc ipc;
    Init(ipc, "peer.sock", false);
    EXPECT_EQ(Send(ipc, {1}), -1);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E send ret:-1 err 2 peer.sock "));
    const int peer = RawSocket("peer.sock");
    EXPECT_EQ(Send(ipc, {7}), 1);
    EXPECT_EQ(RawReceive(peer), Bytes{7});
    close(peer);
    EXPECT_EQ(Send(ipc, {1}), -1);
    const int restarted = RawSocket("peer.sock");
    EXPECT_EQ(Send(ipc, {8}), 1);
    EXPECT_EQ(RawReceive(restarted), Bytes{8});
    close(restarted);
    ipc.CleanUp();
}

TEST_F(ZRIpc, SendsToASecondProcess) {
    const std::vector<unsigned> SIZES = {1, 1547, 1600, 1601, 65000};
    PeerProcess peer = PeerProcess::Receiving("peer.sock", DatagramsOfSizes(SIZES));
    CZRIpc ipc;
    ASSERT_TRUE(Init(ipc, "peer.sock", false));
    for (const unsigned size : SIZES)
        EXPECT_EQ(Send(ipc, Pattern(size, size)), static_cast<int>(size));
    EXPECT_EQ(peer.Wait(), 0);
    ipc.CleanUp();
}

TEST_F(ZRIpc, ReceivesDirectlyFromASecondProcess) {
    const std::vector<unsigned> SIZES = {0, 1, 1547, 1599, 1600, 1601, 65000};
    CZRIpc ipc;
    ASSERT_TRUE(Init(ipc, "a.sock", true));
    PeerProcess peer = PeerProcess::Sending("a.sock", DatagramsOfSizes(SIZES));
    for (const unsigned size : SIZES) {
        Bytes area(CZRIpc::RECV_BYTES + 8, 0xEE);
        const unsigned expected = std::min(size, 1600U);
        EXPECT_EQ(ipc.RecvIPCMsg(area.data(), 1, EM_IPC_BLOCK), static_cast<int>(expected)); // not 1 byte
        const Bytes sent = Pattern(size, size);
        EXPECT_TRUE(std::equal(sent.begin(), sent.begin() + expected, area.begin()));
        EXPECT_EQ(std::count(area.begin() + expected, area.end(), 0xEE), static_cast<long>(area.size() - expected));
    }
    EXPECT_EQ(peer.Wait(), 0);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
    ipc.CleanUp();
}

TEST_F(ZRIpc, DirectReceiveBlocksEvenWhereItWasAskedNotTo) {
    CZRIpc ipc;
    ASSERT_TRUE(Init(ipc, "a.sock", true));
    std::atomic<int> received{-99};
    std::thread receiver([&] {
        Bytes area(CZRIpc::RECV_BYTES);
        received = ipc.RecvIPCMsg(area.data(), 1547, EM_IPC_NOBLOCK);
    });
    EXPECT_FALSE(WaitUntil([&] { return received != -99; }, 150));
    EXPECT_EQ(Send(ipc, Bytes(5)), 5);
    EXPECT_TRUE(WaitUntil([&] { return received == 5; }));
    receiver.join();
    ipc.CleanUp();
}

TEST_F(ZRIpc, SenderBlocksWhileThePeersSocketIsFull) {
    int backlog = 10;
    std::ifstream("/proc/sys/net/unix/max_dgram_qlen") >> backlog;
    const int peer = RawSocket("peer.sock");
    CZRIpc ipc;
    ASSERT_TRUE(Init(ipc, "peer.sock", false));
    std::atomic<int> sent{0};
    const int total = backlog + 10;
    std::thread sender([&] {
        for (int i = 0; i < total; ++i)
            sent += Send(ipc, Pattern(1547, static_cast<unsigned>(i))) == 1547 ? 1 : 0;
    });
    EXPECT_TRUE(WaitUntil([&] { return sent == backlog + 1; }));
    EXPECT_FALSE(WaitUntil([&] { return sent > backlog + 1; }, 150));
    for (int i = 0; i < total; ++i)
        EXPECT_EQ(RawReceive(peer), Pattern(1547, static_cast<unsigned>(i)));
    sender.join();
    EXPECT_EQ(sent, total);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
    close(peer);
    ipc.CleanUp();
}

TEST_F(ZRIpc, CleanUpClosesTheSocketAndLeavesTheFile) {
    CZRIpc ipc;
    ASSERT_TRUE(Init(ipc, "a.sock", true));
    EXPECT_EQ(OpenDescriptors(), m_descriptors + 1);
    EXPECT_TRUE(ipc.CleanUp());
    EXPECT_EQ(OpenDescriptors(), m_descriptors);
    EXPECT_TRUE(std::filesystem::is_socket("a.sock"));
    EXPECT_THAT(m_log.Texts(), IsEmpty());
    EXPECT_EQ(Send(ipc, {1}), -1);
    Bytes area(CZRIpc::RECV_BYTES);
    EXPECT_EQ(ipc.RecvIPCMsg(area.data(), 1600, EM_IPC_BLOCK), -1);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E send ret:-1 err 9 a.sock ", "E recv err 9"));
}

TEST_F(ZRIpc, CleanUpIsHarmlessTwiceAndWithoutInit) {
    CZRIpc ipc;
    EXPECT_TRUE(ipc.CleanUp());
    EXPECT_TRUE(ipc.CleanUp());
    ASSERT_TRUE(Init(ipc, "a.sock", true));
    EXPECT_TRUE(ipc.CleanUp());
    const int other = NextDescriptor(); // what takes over the number stays open
    ASSERT_EQ(dup(1), other);
    EXPECT_TRUE(ipc.CleanUp());
    EXPECT_EQ(close(other), 0);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(ZRIpc, SecondInitLeavesNothingOfTheFirst) {
    CZRIpc ipc;
    ASSERT_TRUE(Init(ipc, "a.sock", true));
    ASSERT_TRUE(Init(ipc, "b.sock", true));
    EXPECT_EQ(OpenDescriptors(), m_descriptors + 1);
    EXPECT_EQ(Send(ipc, {1, 2, 3}), 3);
    Bytes area(CZRIpc::RECV_BYTES);
    EXPECT_EQ(ipc.RecvIPCMsg(area.data(), 3, EM_IPC_BLOCK), 3);
    ipc.CleanUp();
}

TEST_F(ZRIpc, CallbackTableHasOneSlot) {
    CZRIpc ipc;
    int one = 1, two = 2;
    EXPECT_FALSE(ipc.RegisterIPCCallback(nullptr, &one));
    EXPECT_THAT(m_log.Texts(), ElementsAre("E bad parameter!"));
    m_log.Clear();
    EXPECT_FALSE(ipc.UnregisterIPCCallback(nullptr, nullptr));
    EXPECT_FALSE(ipc.UnregisterIPCCallback(IgnoreDatagram, &one));
    EXPECT_TRUE(ipc.RegisterIPCCallback(IgnoreDatagram, &one));
    EXPECT_FALSE(ipc.RegisterIPCCallback(AlsoIgnore, &two));
    EXPECT_FALSE(ipc.RegisterIPCCallback(IgnoreDatagram, &one));
    EXPECT_FALSE(ipc.UnregisterIPCCallback(IgnoreDatagram, &two));
    EXPECT_FALSE(ipc.UnregisterIPCCallback(AlsoIgnore, &one));
    EXPECT_FALSE(ipc.UnregisterIPCCallback(nullptr, &one));
    EXPECT_TRUE(ipc.UnregisterIPCCallback(IgnoreDatagram, &one));
    EXPECT_FALSE(ipc.UnregisterIPCCallback(IgnoreDatagram, &one));
    EXPECT_TRUE(ipc.RegisterIPCCallback(AlsoIgnore, nullptr));
    EXPECT_TRUE(ipc.UnregisterIPCCallback(AlsoIgnore, nullptr));
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(ZRIpc, NotifyCallsTheRegisteredFunction) {
    struct Seen {
        void *data = nullptr;
        int length = 0, calls = 0;
    } seen;
    CZRIpc ipc;
    char datagram[4];
    ipc.NotifyIPCEvent(datagram, 4);
    const zr_ipc_mng_cb note = [](void *data, int length, void *context) {
        auto *to = static_cast<Seen *>(context);
        *to = {data, length, to->calls + 1};
        return -1;
    };
    ASSERT_TRUE(ipc.RegisterIPCCallback(note, &seen));
    ipc.NotifyIPCEvent(datagram, 4);
    EXPECT_EQ(seen.data, datagram);
    EXPECT_EQ(seen.length, 4);
    ASSERT_TRUE(ipc.UnregisterIPCCallback(note, &seen));
    ipc.NotifyIPCEvent(datagram, 4);
    EXPECT_EQ(seen.calls, 1);
}

TEST_F(ZRIpc, WithoutItsControlRecordEverythingIsRefused) {
    std::unique_ptr<CZRIpc> ipc;
    {
        FailingCall noMemory(SystemCall::NothrowNew);
        ipc = std::make_unique<CZRIpc>();
    }
    EXPECT_THAT(m_log.Texts(), ElementsAre("E new failure!"));
    Bytes area(CZRIpc::RECV_BYTES);
    EXPECT_FALSE(Init(*ipc, "a.sock", true));
    EXPECT_EQ(Send(*ipc, {1}), -1);
    EXPECT_EQ(ipc->RecvIPCMsg(area.data(), 1600, EM_IPC_BLOCK), -1);
    EXPECT_TRUE(ipc->CleanUp());
    EXPECT_FALSE(std::filesystem::exists("a.sock"));
}
