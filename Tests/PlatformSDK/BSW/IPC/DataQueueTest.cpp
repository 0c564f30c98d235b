// The record queue on one thread: records, texts, drop-oldest, refusals, failed set-ups.
#include "BSW/IPC/DataQueue.h"

#include <array>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FailingCalls.h"
#include "Support/LogCapture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

constexpr ZR_U32 RECORD = 5;
using Record = std::array<unsigned char, RECORD>;

Record MakeRecord(unsigned number) {
    Record record;
    for (unsigned i = 0; i < RECORD; ++i)
        record[i] = static_cast<unsigned char>(number * 16 + i);
    return record;
}

int Send(CDataQueue &queue, unsigned number, ZR_U8 block = EM_IPC_NOBLOCK) {
    Record record = MakeRecord(number);
    return queue.SendData(record.data(), RECORD, block);
}

// Number of the record received without blocking; -1 for none, -2 for a damaged one.
int Receive(CDataQueue &queue) {
    Record record = {};
    if (queue.RecvData(record.data(), RECORD, EM_IPC_NOBLOCK) != static_cast<int>(RECORD))
        return -1;
    return record == MakeRecord(record[0] / 16U) ? record[0] / 16 : -2;
}

void ExpectRefusesEverything(CDataQueue &queue) {
    std::array<unsigned char, 64> area = {};
    const int locksBefore = UsesOf(SystemCall::MutexLock);
    for (int again = 0; again < 2; ++again)
        for (const ZR_U8 block : {ZR_U8{EM_IPC_NOBLOCK}, ZR_U8{EM_IPC_BLOCK}}) {
            EXPECT_EQ(queue.SendData(area.data(), 64, block), -1);
            EXPECT_EQ(queue.RecvData(area.data(), 64, block), -1);
            EXPECT_EQ(queue.FlushData(), 0);
        }
    EXPECT_EQ(queue.RecordSize(), 0U);
    EXPECT_EQ(UsesOf(SystemCall::MutexLock), locksBefore);
}

} // namespace

TEST(DataQueue, LogsItsLife) {
    LogCapture log;
    { CDataQueue queue(RECORD, 3); }
    const auto texts = log.TextsOf("DataQueue.cpp");
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_THAT(texts[0], MatchesRegex("D MsgQueue = 0x[0-9a-f]+ create successed!"));
    EXPECT_EQ(texts[1], "D MsgQueue destroy successed!");
}

TEST(DataQueue, KeepsOrderAndContent) {
    CDataQueue queue(RECORD, 3);
    EXPECT_EQ(queue.RecordSize(), RECORD);
    EXPECT_EQ(Receive(queue), -1);
    // Enough to wrap the storage at every record boundary many times.
    for (unsigned number = 0; number < 13; ++number) {
        EXPECT_EQ(Send(queue, number), 5);
        EXPECT_EQ(Send(queue, number + 1), 5);
        EXPECT_EQ(Receive(queue), static_cast<int>(number));
        EXPECT_EQ(Receive(queue), static_cast<int>(number + 1));
    }
    EXPECT_EQ(Receive(queue), -1);
}

TEST(DataQueue, FullQueueDropsExactlyTheOldestWithOneWarningEach) {
    LogCapture log;
    CDataQueue queue(RECORD, 3);
    log.Clear();
    for (unsigned number = 0; number < 3; ++number)
        EXPECT_EQ(Send(queue, number), 5);
    EXPECT_THAT(log.Texts(), IsEmpty());
    EXPECT_EQ(Send(queue, 3), 5);
    EXPECT_THAT(log.Texts(), ElementsAre("W MsgQueue full read first data [5], and drop!"));
    EXPECT_EQ(Send(queue, 4), 5);
    EXPECT_THAT(log.Texts(), ElementsAre("W MsgQueue full read first data [5], and drop!",
                                         "W MsgQueue full read first data [5], and drop!"));
    EXPECT_EQ(Receive(queue), 2);
    EXPECT_EQ(Receive(queue), 3);
    EXPECT_EQ(Receive(queue), 4);
    EXPECT_EQ(Receive(queue), -1);
}

TEST(DataQueue, BothEndsMoveAWholeRecordWhateverSizeTheyName) {
    CDataQueue queue(RECORD, 3);
    Record record = MakeRecord(7);
    EXPECT_EQ(queue.SendData(record.data(), 1, EM_IPC_NOBLOCK), 5);
    EXPECT_EQ(queue.SendData(record.data(), 1000, EM_IPC_NOBLOCK), 5);
    std::array<unsigned char, 8> area;
    for (const ZR_U32 size : {1U, 1000U}) {
        area.fill(0xEE);
        EXPECT_EQ(queue.RecvData(area.data(), size, EM_IPC_BLOCK), 5);
        EXPECT_TRUE(std::equal(record.begin(), record.end(), area.begin()));
        EXPECT_EQ(area[5], 0xEE);
    }
}

TEST(DataQueue, FlushDiscardsEverything) {
    CDataQueue queue(RECORD, 3);
    EXPECT_EQ(queue.FlushData(), 0);
    Send(queue, 1);
    Send(queue, 2);
    EXPECT_EQ(queue.FlushData(), 10);
    EXPECT_EQ(Receive(queue), -1);
    EXPECT_EQ(Send(queue, 3), 5);
    EXPECT_EQ(Receive(queue), 3);
}

TEST(DataQueue, NoBufferIsRefused) {
    CDataQueue queue(RECORD, 3);
    EXPECT_EQ(queue.SendData(nullptr, RECORD, EM_IPC_NOBLOCK), -1);
    Send(queue, 1);
    EXPECT_EQ(queue.RecvData(nullptr, RECORD, EM_IPC_NOBLOCK), -1);
    EXPECT_EQ(Receive(queue), 1);
}

TEST(DataQueue, SizeOfZeroLeavesItClosed) {
    LogCapture log;
    for (const auto &[size, number] : {std::pair{0U, 40U}, std::pair{5U, 0U}, std::pair{0U, 0U}}) {
        log.Clear();
        {
            CDataQueue queue(size, number);
            ExpectRefusesEverything(queue);
        }
        EXPECT_THAT(log.Texts(), ElementsAre("E bad parameters!\n", "D MsgQueue destroy successed!"));
    }
}

TEST(DataQueue, StorageBeyond2GBLeavesItClosed) {
    LogCapture log;
    // The first products wrap to 0, 4 and 1 in 32 bits.
    for (const auto &[size, number] : {std::pair{65536U, 65536U}, std::pair{4U, 0x40000001U},
                                       std::pair{0xffffffffU, 0xffffffffU}, std::pair{0x80000000U, 1U}}) {
        log.Clear();
        {
            CDataQueue queue(size, number);
            ExpectRefusesEverything(queue);
        }
        EXPECT_THAT(log.Texts(), ElementsAre("D MsgQueue destroy successed!"));
    }
}

TEST(DataQueue, FailedLocksLeaveItClosedAndUndoWhatWasMade) {
    LogCapture log;
    struct Case {
        SystemCall call;
        int nth;
        int mutexes, conditions; // destroyed again
    };
    for (const Case &failing : {Case{SystemCall::MutexInit, 1, 0, 0}, Case{SystemCall::CondInit, 1, 1, 0},
                                Case{SystemCall::CondInit, 2, 1, 1}}) {
        log.Clear();
        const int mutexes = UsesOf(SystemCall::MutexDestroy);
        const int conditions = UsesOf(SystemCall::CondDestroy);
        {
            FailingCall refused(failing.call, failing.nth);
            CDataQueue queue(RECORD, 3);
            ExpectRefusesEverything(queue);
        }
        EXPECT_EQ(UsesOf(SystemCall::MutexDestroy) - mutexes, failing.mutexes);
        EXPECT_EQ(UsesOf(SystemCall::CondDestroy) - conditions, failing.conditions);
        EXPECT_THAT(log.Texts(), ElementsAre(MatchesRegex("E MsgQueue = 0x[0-9a-f]+ create failure!\n"),
                                             "D MsgQueue destroy successed!"));
    }
}

TEST(DataQueue, NoMemoryForTheStorageIsSilent) {
    LogCapture log;
    for (const int nth : {1, 2}) {
        log.Clear();
        const int mutexes = UsesOf(SystemCall::MutexDestroy);
        const int conditions = UsesOf(SystemCall::CondDestroy);
        {
            FailingCall noMemory(SystemCall::Malloc, nth);
            CDataQueue queue(RECORD, 3);
            ExpectRefusesEverything(queue);
        }
        EXPECT_EQ(UsesOf(SystemCall::MutexDestroy) - mutexes, 1);
        EXPECT_EQ(UsesOf(SystemCall::CondDestroy) - conditions, 2);
        EXPECT_THAT(log.Texts(), ElementsAre("D MsgQueue destroy successed!"));
    }
}

TEST(DataQueue, NoMemoryForTheStateRefusesEverything) {
    LogCapture log;
    {
        FailingCall noMemory(SystemCall::NothrowNew);
        CDataQueue queue(RECORD, 3);
        ExpectRefusesEverything(queue);
    }
    EXPECT_THAT(log.Texts(), IsEmpty());
}
