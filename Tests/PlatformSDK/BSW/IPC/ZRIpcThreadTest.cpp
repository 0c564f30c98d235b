// The endpoint with its receive thread: queue, callback, switch-over, stop and failures.
#include "BSW/IPC/ZRIpc.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

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

constexpr char PATH[] = "a.sock";

bool Init(CZRIpc &ipc, ZR_U32 msgSize, ZR_U32 maxMsgNum, bool bRecv = true) {
    std::string path = PATH;
    return ipc.Init(0, path.data(), 50001, msgSize, maxMsgNum, bRecv, true);
}

// Kernel thread id of the receive thread, as /proc names it; 0 when there is none.
int ReceiveThread() {
    for (const auto &task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::string name;
        std::getline(std::ifstream(task.path() / "comm"), name);
        if (name == "CZRIpc")
            return std::stoi(task.path().filename());
    }
    return 0;
}

// True once there is none; the kernel lists a thread a moment beyond its end.
bool ReceiveThreadIsGone() {
    return WaitUntil([] { return ReceiveThread() == 0; });
}

// What a callback got, kept for the test's thread.
class Inbox {
  public:
    static int Take(void *data, int length, void *context) {
        auto *inbox = static_cast<Inbox *>(context);
        const auto *bytes = static_cast<unsigned char *>(data);
        const std::lock_guard guard(inbox->m_mutex);
        inbox->m_datagrams.emplace_back(bytes, bytes + length);
        return -3; // ignored
    }
    std::vector<Bytes> Datagrams() {
        const std::lock_guard guard(m_mutex);
        return m_datagrams;
    }
    bool WaitFor(std::size_t count) {
        return WaitUntil([&] { return Datagrams().size() >= count; });
    }

  private:
    std::mutex m_mutex;
    std::vector<Bytes> m_datagrams;
};

class ZRIpcThread : public testing::Test {
  protected:
    ~ZRIpcThread() override { close(m_peer); }

    void _Send(const Bytes &datagram) { EXPECT_TRUE(RawSend(m_peer, PATH, datagram)); }

    // The next record, waited for; `size` is the record size given to Init.
    Bytes _Record(std::size_t size) {
        Bytes record(size);
        EXPECT_EQ(m_ipc.RecvIPCMsg(record.data(), 1, EM_IPC_BLOCK), static_cast<int>(size));
        return record;
    }

    LogCapture m_log;
    int m_peer = RawSocket();
    CZRIpc m_ipc;
};

} // namespace

TEST_F(ZRIpcThread, CarriesItsNameAndAnnouncesItself) {
    ASSERT_TRUE(Init(m_ipc, 8, 4));
    ASSERT_TRUE(WaitForThreadNamed("CZRIpc"));
    const std::string line = "D Enter CZRIpc Thread, thread PID = " + std::to_string(ReceiveThread()) +
                             ", PPID = " + std::to_string(getppid()) + ".a.sock";
    EXPECT_TRUE(m_log.WaitFor(line));
    EXPECT_EQ(m_log.TextsOf("ZRIpc.cpp"), std::vector<std::string>{line});
    m_ipc.CleanUp();
    EXPECT_TRUE(ReceiveThreadIsGone());
}

TEST_F(ZRIpcThread, QueuesTheDatagramsOfASecondProcess) {
    ASSERT_TRUE(Init(m_ipc, 1547, 40));
    PeerProcess peer = PeerProcess::Sending(PATH, SeededDatagrams(30, 1547));
    for (unsigned i = 0; i < 30; ++i)
        EXPECT_EQ(_Record(1547), Pattern(1547, i));
    EXPECT_EQ(peer.Wait(), 0);
    m_ipc.CleanUp();
}

TEST_F(ZRIpcThread, EmptyQueueRefusesWithoutBlocking) {
    ASSERT_TRUE(Init(m_ipc, 8, 4));
    Bytes record(8);
    EXPECT_EQ(m_ipc.RecvIPCMsg(record.data(), 8, EM_IPC_NOBLOCK), -1);
    m_ipc.CleanUp();
}

TEST_F(ZRIpcThread, RecordHoldsWhatEarlierDatagramsLeft) {
    ASSERT_TRUE(Init(m_ipc, 6, 4));
    _Send({'a', 'b', 'c', 'd'});
    EXPECT_EQ(_Record(6), (Bytes{'a', 'b', 'c', 'd', 0, 0}));
    _Send({'x', 'y'});
    EXPECT_EQ(_Record(6), (Bytes{'x', 'y', 'c', 'd', 0, 0}));
    _Send({});
    EXPECT_EQ(_Record(6), (Bytes{'x', 'y', 'c', 'd', 0, 0}));
    _Send({'1', '2', '3', '4', '5', '6', '7', '8'}); // only its first six bytes
    EXPECT_EQ(_Record(6), (Bytes{'1', '2', '3', '4', '5', '6'}));
    m_ipc.CleanUp();
}

TEST_F(ZRIpcThread, RecordLargerThanADatagramEndsInZeros) {
    ASSERT_TRUE(Init(m_ipc, 3072, 4));
    for (const unsigned size : {1600U, 1601U, 65000U}) {
        _Send(Pattern(size, size));
        Bytes expected = Pattern(1600, size);
        expected.resize(3072);
        EXPECT_EQ(_Record(3072), expected);
    }
    m_ipc.CleanUp();
}

TEST_F(ZRIpcThread, FullQueueDropsItsOldestRecord) {
    ASSERT_TRUE(Init(m_ipc, 2, 3));
    for (unsigned char i = 0; i < 5; ++i)
        _Send({i, i});
    const std::vector<std::string> drops(2, "W MsgQueue full read first data [2], and drop!");
    EXPECT_TRUE(WaitUntil([&] {
        const auto texts = m_log.TextsOf("DataQueue.cpp");
        return std::count(texts.begin(), texts.end(), drops[0]) == 2;
    }));
    for (unsigned char i = 2; i < 5; ++i)
        EXPECT_EQ(_Record(2), (Bytes{i, i}));
    m_ipc.CleanUp();
}

TEST_F(ZRIpcThread, CallbackGetsEveryDatagramAndTheQueueStaysEmpty) {
    const std::vector<unsigned> SIZES = {0, 1, 10, 1546, 1547, 1548, 1600, 1601, 65000};
    ASSERT_TRUE(Init(m_ipc, 3072, 40));
    Inbox inbox;
    ASSERT_TRUE(m_ipc.RegisterIPCCallback(Inbox::Take, &inbox));
    PeerProcess peer = PeerProcess::Sending(PATH, DatagramsOfSizes(SIZES));
    ASSERT_TRUE(inbox.WaitFor(std::size(SIZES)));
    const auto datagrams = inbox.Datagrams();
    ASSERT_EQ(datagrams.size(), std::size(SIZES));
    for (std::size_t i = 0; i < std::size(SIZES); ++i)
        EXPECT_EQ(datagrams[i], Pattern(std::min(SIZES[i], 1600U), SIZES[i])) << SIZES[i];
    Bytes record(3072);
    EXPECT_EQ(m_ipc.RecvIPCMsg(record.data(), 3072, EM_IPC_NOBLOCK), -1);
    EXPECT_EQ(peer.Wait(), 0);
    m_ipc.CleanUp();
    EXPECT_TRUE(m_ipc.UnregisterIPCCallback(Inbox::Take, &inbox));
}

TEST_F(ZRIpcThread, RegisteringAndUnregisteringSwitchesDelivery) {
    ASSERT_TRUE(Init(m_ipc, 1, 40));
    Inbox inbox;
    for (unsigned char round = 0; round < 5; ++round) {
        _Send({round});
        EXPECT_EQ(_Record(1), Bytes{round});
        ASSERT_TRUE(m_ipc.RegisterIPCCallback(Inbox::Take, &inbox));
        _Send({static_cast<unsigned char>(100 + round)});
        ASSERT_TRUE(inbox.WaitFor(round + 1U));
        EXPECT_EQ(inbox.Datagrams().back(), Bytes{static_cast<unsigned char>(100 + round)});
        ASSERT_TRUE(m_ipc.UnregisterIPCCallback(Inbox::Take, &inbox));
    }
    m_ipc.CleanUp();
}

TEST_F(ZRIpcThread, SwitchingUnderTrafficNeverMeetsAnEmptySlot) {
    ASSERT_TRUE(Init(m_ipc, 1, 1000));
    Inbox inbox;
    std::atomic<bool> stop{false};
    std::thread traffic([&] {
        while (!stop)
            RawSend(m_peer, PATH, {1});
    });
    // A call with an empty context or function would crash.
    for (int round = 0; round < 2000; ++round) {
        EXPECT_TRUE(m_ipc.RegisterIPCCallback(Inbox::Take, &inbox));
        EXPECT_TRUE(m_ipc.UnregisterIPCCallback(Inbox::Take, &inbox));
    }
    EXPECT_TRUE(m_ipc.RegisterIPCCallback(Inbox::Take, &inbox));
    EXPECT_TRUE(inbox.WaitFor(1));
    stop = true;
    traffic.join();
    m_ipc.CleanUp();
}

TEST_F(ZRIpcThread, QueueWithoutReceivingEndsTheThreadAtOnce) {
    ASSERT_TRUE(Init(m_ipc, 8, 4, false));
    EXPECT_TRUE(WaitUntil([&] { return m_log.TextsOf("ZRIpc.cpp").size() == 1; }));
    EXPECT_TRUE(ReceiveThreadIsGone());
    EXPECT_FALSE(std::filesystem::exists(PATH));
    Bytes record(8);
    EXPECT_EQ(m_ipc.RecvIPCMsg(record.data(), 8, EM_IPC_NOBLOCK), -1);
    EXPECT_TRUE(m_ipc.CleanUp());
}

TEST_F(ZRIpcThread, QueueOfNoRecordsDropsDatagrams) {
    ASSERT_TRUE(Init(m_ipc, 0, 40));
    EXPECT_TRUE(m_log.WaitFor("E bad parameters!\n"));
    _Send({1, 2, 3});
    Bytes record(8);
    EXPECT_EQ(m_ipc.RecvIPCMsg(record.data(), 8, EM_IPC_BLOCK), -1);
    // The thread goes on: what comes once there is a callback arrives.
    Inbox inbox;
    m_ipc.RegisterIPCCallback(Inbox::Take, &inbox);
    _Send({4});
    EXPECT_TRUE(inbox.WaitFor(1));
    m_ipc.CleanUp();
}

TEST_F(ZRIpcThread, CleanUpEndsThreadSocketAndQueueWithinTheSelectTimeOut) {
    const int descriptors = OpenDescriptors();
    ASSERT_TRUE(Init(m_ipc, 8, 4));
    ASSERT_TRUE(WaitForThreadNamed("CZRIpc"));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(m_ipc.CleanUp());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(3));
    EXPECT_TRUE(ReceiveThreadIsGone());
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_TRUE(std::filesystem::is_socket(PATH));
    EXPECT_EQ(m_log.Texts().back(), "D MsgQueue destroy successed!");
    EXPECT_TRUE(m_ipc.CleanUp());
}

TEST_F(ZRIpcThread, CleanUpReleasesABlockedReceiver) {
    ASSERT_TRUE(Init(m_ipc, 8, 4));
    const int waits = UsesOf(SystemCall::CondWait);
    std::atomic<int> result{0};
    std::thread receiver([&] {
        Bytes record(8);
        result = m_ipc.RecvIPCMsg(record.data(), 8, EM_IPC_BLOCK);
    });
    EXPECT_TRUE(WaitUntil([&] { return UsesOf(SystemCall::CondWait) > waits; }));
    m_ipc.CleanUp();
    receiver.join();
    EXPECT_EQ(result, -1);
}

TEST_F(ZRIpcThread, RunsAgainAfterCleanUp) {
    for (unsigned char round = 0; round < 2; ++round) {
        ASSERT_TRUE(Init(m_ipc, 1, 4));
        _Send({round});
        EXPECT_EQ(_Record(1), Bytes{round});
        m_ipc.CleanUp();
    }
}

TEST_F(ZRIpcThread, DestructionWithoutCleanUpEndsTheThreadAndLeavesTheSocket) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // In a process of its own, as socket and queue are never freed.
    const auto destroy = [] {
        const int descriptors = OpenDescriptors();
        auto ipc = std::make_unique<CZRIpc>();
        bool right = Init(*ipc, 8, 4) && WaitForThreadNamed("CZRIpc");
        ipc.reset();
        right = right && ReceiveThreadIsGone() && OpenDescriptors() == descriptors + 1;
        ExitAtOnce(right ? 0 : 1);
    };
    EXPECT_EXIT(destroy(), testing::ExitedWithCode(0), "");
}

TEST_F(ZRIpcThread, ThreadThatCannotStartLeavesTheQueue) {
    {
        FailingCall refused(SystemCall::ThreadCreate);
        EXPECT_FALSE(Init(m_ipc, 8, 4));
    }
    EXPECT_TRUE(ReceiveThreadIsGone());
    Bytes record(8);
    EXPECT_EQ(m_ipc.RecvIPCMsg(record.data(), 8, EM_IPC_NOBLOCK), -1); // the queue's answer: no blocking
    EXPECT_TRUE(m_ipc.CleanUp());
}

TEST_F(ZRIpcThread, FailedReceiveIsLoggedAndTheLoopGoesOn) {
    const int handle = NextDescriptor();
    ASSERT_TRUE(Init(m_ipc, 1, 4));
    const int saved = fcntl(handle, F_DUPFD_CLOEXEC, 100);
    // A pipe with a byte in it is readable, but no socket.
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "x", 1), 1);
    ASSERT_EQ(dup2(ends[0], handle), handle);
    EXPECT_TRUE(m_log.WaitFor("E zr_udp_recv error!"));
    ASSERT_EQ(dup2(saved, handle), handle);
    _Send({9});
    EXPECT_EQ(_Record(1), Bytes{9});
    EXPECT_TRUE(m_log.WaitFor("E recv err 88"));
    for (const int fd : {saved, ends[0], ends[1]})
        close(fd);
    m_ipc.CleanUp();
}

TEST_F(ZRIpcThread, DescriptorThatNoReadSetHoldsStillReceives) {
    rlimit limit;
    getrlimit(RLIMIT_NOFILE, &limit);
    ASSERT_GE(limit.rlim_max, FD_SETSIZE + 20U);
    const rlimit raised{FD_SETSIZE + 20U, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &raised), 0);
    std::vector<int> taken;
    while (NextDescriptor() < FD_SETSIZE)
        taken.push_back(dup(m_peer));
    ASSERT_TRUE(Init(m_ipc, 1, 4));
    _Send({9});
    EXPECT_EQ(_Record(1), Bytes{9});
    m_ipc.CleanUp();
    for (const int fd : taken)
        close(fd);
}
