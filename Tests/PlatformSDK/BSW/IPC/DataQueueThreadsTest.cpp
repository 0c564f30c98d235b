// The record queue between threads: blocking ends, a stress with many of each end, and
// tear-down under blocked calls.
#include "BSW/IPC/DataQueue.h"

#include <atomic>
#include <cstring>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "FailingCalls.h"
#include "Support/LogCapture.h"
#include "Support/WaitUntil.h"

namespace {

// A record whose every word tells sender and number, so that a torn one shows.
struct Record {
    std::uint32_t sender, number, check[9];
};

Record MakeRecord(std::uint32_t sender, std::uint32_t number) {
    Record record{sender, number, {}};
    for (std::uint32_t i = 0; i < 9; ++i)
        record.check[i] = sender * 1000003U + number * 17U + i;
    return record;
}

bool IsWhole(const Record &record) {
    const Record expected = MakeRecord(record.sender, record.number);
    return std::memcmp(&record, &expected, sizeof(record)) == 0;
}

int Send(CDataQueue &queue, std::uint32_t sender, std::uint32_t number, ZR_U8 block) {
    Record record = MakeRecord(sender, number);
    return queue.SendData(&record, sizeof(record), block);
}

// A call on a thread of its own.
class Call {
  public:
    explicit Call(std::function<int()> body)
        : m_thread([this, body = std::move(body)] {
              m_result = body();
              m_done = true;
          }) {}
    ~Call() { m_thread.join(); }

    bool Done() const { return m_done; }
    int Result() const { return m_result; }

  private:
    std::atomic<int> m_result{-99};
    std::atomic<bool> m_done{false};
    std::thread m_thread;
};

// Waits until blocked calls have begun `waits` waits in all since the object was made. A
// wait that has begun holds the queue's lock until it sleeps.
class BlockedCalls {
  public:
    bool Reach(int waits) const {
        return WaitUntil([&] { return UsesOf(SystemCall::CondWait) >= m_before + waits; });
    }

  private:
    int m_before = UsesOf(SystemCall::CondWait);
};

// Reads the private state of a queue.
template <auto Member> struct StateOf {
    friend iMsgQueueHandle2 &State(CDataQueue &queue) { return *(queue.*Member); }
};
template struct StateOf<&CDataQueue::m_pstMsgQueue>;
iMsgQueueHandle2 &State(CDataQueue &queue);

bool IsLocked(CDataQueue &queue) {
    const bool locked = pthread_mutex_trylock(&State(queue).lock) != 0;
    if (!locked)
        pthread_mutex_unlock(&State(queue).lock);
    return locked;
}

int BlockingReceive(CDataQueue *queue) {
    Record record = {};
    const int received = queue->RecvData(&record, sizeof(record), EM_IPC_BLOCK);
    return received == static_cast<int>(sizeof(record)) ? static_cast<int>(record.number) : received;
}

} // namespace

TEST(DataQueueThreads, BlockedReceiverGetsTheNextRecord) {
    CDataQueue queue(sizeof(Record), 2);
    const BlockedCalls blocked;
    Call receiver([&] { return BlockingReceive(&queue); });
    ASSERT_TRUE(blocked.Reach(1));
    EXPECT_FALSE(receiver.Done());
    Send(queue, 0, 41, EM_IPC_NOBLOCK);
    EXPECT_TRUE(WaitUntil([&] { return receiver.Done(); }));
    EXPECT_EQ(receiver.Result(), 41);
}

TEST(DataQueueThreads, BlockedSenderGoesOnWhenARecordIsTaken) {
    LogCapture log;
    CDataQueue queue(sizeof(Record), 2);
    log.Clear();
    Send(queue, 0, 0, EM_IPC_BLOCK);
    Send(queue, 0, 1, EM_IPC_BLOCK);
    const BlockedCalls blocked;
    Call sender([&] { return Send(queue, 0, 2, EM_IPC_BLOCK); });
    ASSERT_TRUE(blocked.Reach(1));
    for (int number = 0; number < 3; ++number)
        EXPECT_EQ(BlockingReceive(&queue), number);
    EXPECT_TRUE(WaitUntil([&] { return sender.Done(); }));
    EXPECT_EQ(sender.Result(), static_cast<int>(sizeof(Record)));
    EXPECT_TRUE(log.Texts().empty()); // nothing was dropped
}

TEST(DataQueueThreads, FlushLetsABlockedSenderGoOn) {
    CDataQueue queue(sizeof(Record), 1);
    Send(queue, 0, 0, EM_IPC_BLOCK);
    const BlockedCalls blocked;
    Call sender([&] { return Send(queue, 0, 1, EM_IPC_BLOCK); });
    ASSERT_TRUE(blocked.Reach(1));
    EXPECT_EQ(queue.FlushData(), static_cast<int>(sizeof(Record)));
    EXPECT_TRUE(WaitUntil([&] { return sender.Done(); }));
    EXPECT_EQ(BlockingReceive(&queue), 1);
}

TEST(DataQueueThreads, FlushLeavesABlockedReceiverWaiting) {
    CDataQueue queue(sizeof(Record), 1);
    const BlockedCalls blocked;
    Call receiver([&] { return BlockingReceive(&queue); });
    ASSERT_TRUE(blocked.Reach(1));
    EXPECT_EQ(queue.FlushData(), 0);
    ASSERT_TRUE(blocked.Reach(2));
    EXPECT_FALSE(receiver.Done());
    Send(queue, 0, 5, EM_IPC_NOBLOCK);
    EXPECT_TRUE(WaitUntil([&] { return receiver.Done(); }));
    EXPECT_EQ(receiver.Result(), 5);
}

TEST(DataQueueThreads, ManySendersAndReceiversLoseAndMixNothing) {
    constexpr std::uint32_t ENDS = 4, RECORDS = 3000;
    CDataQueue queue(sizeof(Record), 7);
    std::atomic<int> damaged{0}, disorder{0};
    std::atomic<std::uint64_t> sum{0};
    std::vector<std::thread> threads;
    for (std::uint32_t sender = 0; sender < ENDS; ++sender)
        threads.emplace_back([&, sender] {
            for (std::uint32_t number = 1; number <= RECORDS; ++number)
                Send(queue, sender, number, EM_IPC_BLOCK);
        });
    for (std::uint32_t receiver = 0; receiver < ENDS; ++receiver)
        threads.emplace_back([&] {
            std::uint32_t last[ENDS] = {};
            Record record;
            for (std::uint32_t i = 0; i < RECORDS; ++i) {
                if (queue.RecvData(&record, sizeof(record), EM_IPC_BLOCK) != sizeof(record) || !IsWhole(record)) {
                    ++damaged;
                    continue;
                }
                disorder += record.number <= last[record.sender] ? 1 : 0;
                last[record.sender] = record.number;
                sum += record.number;
            }
        });
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(damaged, 0);
    EXPECT_EQ(disorder, 0);
    EXPECT_EQ(sum, std::uint64_t{ENDS} * RECORDS * (RECORDS + 1) / 2);
    EXPECT_EQ(queue.FlushData(), 0);
}

TEST(DataQueueThreads, EveryDroppedRecordHasItsWarning) {
    constexpr std::uint32_t ENDS = 2, RECORDS = 150;
    LogCapture log;
    CDataQueue queue(sizeof(Record), 3);
    log.Clear();
    std::atomic<std::uint32_t> received{0};
    std::atomic<int> damaged{0};
    {
        std::vector<std::unique_ptr<Call>> senders;
        for (std::uint32_t sender = 0; sender < ENDS; ++sender)
            senders.push_back(std::make_unique<Call>([&, sender] {
                for (std::uint32_t number = 1; number <= RECORDS; ++number)
                    Send(queue, sender, number, EM_IPC_NOBLOCK);
                return 0;
            }));
        Record record;
        const auto finished = [&] { return senders[0]->Done() && senders[1]->Done(); };
        for (bool last = false; !last;) {
            last = finished();
            while (queue.RecvData(&record, sizeof(record), EM_IPC_NOBLOCK) > 0) {
                ++received;
                damaged += IsWhole(record) ? 0 : 1;
            }
        }
    }
    EXPECT_EQ(damaged, 0);
    const auto texts = log.TextsOf("DataQueue.cpp");
    EXPECT_EQ(texts.size() + received, ENDS * RECORDS);
    for (const std::string &text : texts)
        EXPECT_EQ(text, "W MsgQueue full read first data [44], and drop!");
}

TEST(DataQueueThreads, TearDownReleasesBlockedReceivers) {
    for (int round = 0; round < 20; ++round) {
        const BlockedCalls blocked;
        auto queue = std::make_unique<CDataQueue>(static_cast<ZR_U32>(sizeof(Record)), 2U);
        std::vector<std::unique_ptr<Call>> receivers;
        for (int i = 0; i < 3; ++i)
            receivers.push_back(std::make_unique<Call>([&queue = *queue] { return BlockingReceive(&queue); }));
        ASSERT_TRUE(blocked.Reach(3));
        queue.reset();
        for (auto &receiver : receivers) {
            EXPECT_TRUE(WaitUntil([&] { return receiver->Done(); }));
            EXPECT_EQ(receiver->Result(), -1);
        }
    }
}

TEST(DataQueueThreads, TearDownReleasesBlockedSenders) {
    for (int round = 0; round < 20; ++round) {
        const BlockedCalls blocked;
        auto queue = std::make_unique<CDataQueue>(static_cast<ZR_U32>(sizeof(Record)), 1U);
        Send(*queue, 0, 0, EM_IPC_BLOCK);
        std::vector<std::unique_ptr<Call>> senders;
        for (std::uint32_t i = 0; i < 3; ++i)
            senders.push_back(std::make_unique<Call>([&queue = *queue, i] { return Send(queue, i, 1, EM_IPC_BLOCK); }));
        ASSERT_TRUE(blocked.Reach(3));
        queue.reset();
        for (auto &sender : senders) {
            EXPECT_TRUE(WaitUntil([&] { return sender->Done(); }));
            EXPECT_EQ(sender->Result(), -1);
        }
    }
}

// A receiver that finds the queue closed keeps the lock, a sender releases it.
TEST(DataQueueThreads, ReceiveOnAClosedQueueKeepsTheLock) {
    const int destroyed = UsesOf(SystemCall::MutexDestroy);
    {
        CDataQueue queue(sizeof(Record), 2);
        Send(queue, 0, 41, EM_IPC_NOBLOCK);
        State(queue).u8Status = 0; // as a tear-down begins
        EXPECT_EQ(Send(queue, 0, 42, EM_IPC_BLOCK), -1);
        EXPECT_FALSE(IsLocked(queue));
        Call receiver([&] { return BlockingReceive(&queue); });
        EXPECT_TRUE(WaitUntil([&] { return receiver.Done(); }));
        EXPECT_EQ(receiver.Result(), -1);
        EXPECT_TRUE(IsLocked(queue));
        EXPECT_EQ(Send(queue, 0, 43, EM_IPC_BLOCK), -1); // does not wait for the lock
    }
    EXPECT_EQ(UsesOf(SystemCall::MutexDestroy), destroyed);
}

// What a blocked receiver kept is not destroyed; where nobody kept the lock, it is.
TEST(DataQueueThreads, TearDownLeavesTheKeptLockAlone) {
    for (const int receivers : {0, 1, 3}) {
        const int destroyed = UsesOf(SystemCall::MutexDestroy);
        const BlockedCalls blocked;
        auto queue = std::make_unique<CDataQueue>(static_cast<ZR_U32>(sizeof(Record)), 2U);
        std::vector<std::unique_ptr<Call>> calls;
        for (int i = 0; i < receivers; ++i)
            calls.push_back(std::make_unique<Call>([&queue = *queue] { return BlockingReceive(&queue); }));
        ASSERT_TRUE(blocked.Reach(receivers));
        queue.reset();
        EXPECT_EQ(UsesOf(SystemCall::MutexDestroy) - destroyed, receivers == 0 ? 1 : 0) << receivers;
    }
}
