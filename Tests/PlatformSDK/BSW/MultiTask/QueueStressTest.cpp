// Both queues under many producers and consumers, some of which wait and some do not.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <numeric>
#include <thread>
#include <vector>

#include "BSW/MultiTask/MsgQue.h"
#include "BSW/MultiTask/TaskQue.h"

namespace {

constexpr std::uint32_t kProducers = 3;
constexpr std::uint32_t kEach = 3000;
constexpr std::uint32_t kQuit = 0xFFFFFFFFU;

using Values = std::vector<std::uint32_t>;

// The two queues behind one face: put and take a number.
struct Messages {
    CMsgQue queue{"stress", 2}; // nearly empty all the time: receivers compete

    bool Put(std::uint32_t value) {
        return queue.SendMsg(XM_MSG_USERDATA, 0, 0, 0, reinterpret_cast<const char *>(&value), sizeof value);
    }

    bool Take(std::uint32_t &value, bool wait) {
        XMSG message;
        if (!queue.RecvMsg(&message, wait))
            return false;
        std::copy_n(message.pUserData, sizeof value, reinterpret_cast<char *>(&value));
        free(message.pUserData);
        return true;
    }
};

struct Tasks {
    CTaskQue queue{"stress", 100000};

    bool Put(std::uint32_t value) {
        TASK task = {};
        task.priv = value;
        return queue.PutTask(&task, 1);
    }

    bool Take(std::uint32_t &value, bool wait) {
        TASK task;
        if (!queue.GetTask(&task, wait))
            return false;
        value = task.priv;
        return true;
    }
};

template <typename Queue> void Produce(Queue &queue, std::uint32_t first) {
    for (std::uint32_t value = first; value < first + kEach; ++value)
        while (!queue.Put(value))
            std::this_thread::yield();
}

// Takes until it is told to quit; a wait that brings nothing is an error.
template <typename Queue> void TakeWaiting(Queue &queue, Values &taken) {
    for (;;) {
        std::uint32_t value = 0;
        ASSERT_TRUE(queue.Take(value, true));
        if (value == kQuit)
            return;
        taken.push_back(value);
    }
}

template <typename Queue> void TakePolling(Queue &queue, const std::atomic<bool> &stop, Values &taken) {
    while (!stop) {
        std::uint32_t value = 0;
        if (queue.Take(value, false))
            taken.push_back(value);
        else
            std::this_thread::yield();
    }
}

Values Sorted(const std::vector<Values> &parts) {
    Values all;
    for (const Values &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    std::sort(all.begin(), all.end());
    return all;
}

void JoinAll(std::vector<std::thread> &threads) {
    for (std::thread &thread : threads)
        thread.join();
    threads.clear();
}

} // namespace

template <typename Queue> class QueueStress : public testing::Test {};
using Queues = testing::Types<Messages, Tasks>;
TYPED_TEST_SUITE(QueueStress, Queues);

TYPED_TEST(QueueStress, EveryEntryIsTakenOnceAndNoWaitIsForNothing) {
    TypeParam queue;
    std::atomic<bool> stop = false;
    std::vector<Values> taken(4);
    std::vector<std::thread> producers, waiting, polling;
    for (std::size_t i = 0; i < 2; ++i) {
        waiting.emplace_back([&, i] { TakeWaiting(queue, taken[i]); });
        polling.emplace_back([&, i] { TakePolling(queue, stop, taken[2 + i]); });
    }
    for (std::uint32_t i = 0; i < kProducers; ++i)
        producers.emplace_back([&, i] { Produce(queue, i * kEach); });
    JoinAll(producers);
    stop = true;
    JoinAll(polling);
    for (std::size_t i = 0; i < waiting.size(); ++i)
        while (!queue.Put(kQuit))
            std::this_thread::yield();
    JoinAll(waiting);
    // The newest message comes first, so the quit may overtake what is left.
    for (std::uint32_t value = 0; queue.Take(value, false);)
        taken[0].push_back(value);

    Values expected(kProducers * kEach);
    std::iota(expected.begin(), expected.end(), 0U);
    EXPECT_EQ(Sorted(taken), expected);
}

TEST(MsgQueStress, ClearingBesideReceiversNeitherBlocksThemNorWakesThemForNothing) {
    Messages messages;
    std::atomic<bool> stop = false;
    Values taken[2];
    std::vector<std::thread> producers, waiting;
    for (Values &values : taken)
        waiting.emplace_back([&] { TakeWaiting(messages, values); });
    std::thread clearing([&] {
        while (!stop)
            messages.queue.ClearMsg();
    });
    for (std::uint32_t i = 0; i < kProducers; ++i)
        producers.emplace_back([&, i] { Produce(messages, i * kEach); });
    JoinAll(producers);
    stop = true;
    clearing.join();
    for (std::size_t i = 0; i < waiting.size(); ++i)
        while (!messages.Put(kQuit))
            std::this_thread::yield();
    JoinAll(waiting);
    messages.queue.ClearMsg();
    EXPECT_EQ(messages.queue.GetMsgCount(), 0U);
}
