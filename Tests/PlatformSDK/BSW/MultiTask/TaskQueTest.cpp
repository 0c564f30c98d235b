// The task queue: order, limit, node pool.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "BSW/MultiTask/TaskQue.h"
#include "Support/WaitUntil.h"

namespace {

bool Put(CTaskQue &queue, std::uint32_t priv, int priority = 1) {
    TASK task = {};
    task.type = TASKTYPE_TIMER;
    task.priv = priv;
    return queue.PutTask(&task, priority);
}

std::vector<std::uint32_t> GetAll(CTaskQue &queue) {
    std::vector<std::uint32_t> taken;
    for (TASK task; queue.GetTask(&task, false);)
        taken.push_back(task.priv);
    return taken;
}

} // namespace

static_assert(sizeof(DataFrame) == 518);
static_assert(std::is_trivially_copyable_v<TASK>);

TEST(TaskQue, AcceptsOneBeyondItsLimitAndTellsOnStandardError) {
    CTaskQue queue("limit2", 2);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(Put(queue, 1));
    EXPECT_TRUE(Put(queue, 2));
    EXPECT_TRUE(Put(queue, 3));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

    testing::internal::CaptureStderr();
    EXPECT_FALSE(Put(queue, 4));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "limit2 PutTask() Max Tasks(2) Reached.\n");
    EXPECT_EQ(GetAll(queue), (std::vector<std::uint32_t>{1, 2, 3}));
}

TEST(TaskQue, ItsNameIsCutAt63Characters) {
    CTaskQue queue(std::string(100, 'n').c_str(), -1);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(Put(queue, 1));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(63, 'n') + " PutTask() Max Tasks(-1) Reached.\n");
}

TEST(TaskQue, PriorityZeroGoesToTheHead) {
    CTaskQue queue(nullptr, 10);
    ASSERT_TRUE(Put(queue, 1, 1));
    ASSERT_TRUE(Put(queue, 2, 7));
    ASSERT_TRUE(Put(queue, 3, 0));
    ASSERT_TRUE(Put(queue, 4, -1));
    ASSERT_TRUE(Put(queue, 5, 0));
    EXPECT_EQ(GetAll(queue), (std::vector<std::uint32_t>{5, 3, 1, 2, 4}));
    ASSERT_TRUE(Put(queue, 6, 0)); // the emptied queue has a sound tail
    ASSERT_TRUE(Put(queue, 7, 1));
    EXPECT_EQ(GetAll(queue), (std::vector<std::uint32_t>{6, 7}));
}

TEST(TaskQue, TasksAreCopiedWhole) {
    CTaskQue queue("copy", 1);
    int extra = 0;
    TASK task = {};
    task.type = TASKTYPE_DEBUG;
    task.priority = 5;
    task.context.stDataFrame.u8Data[511] = 0xA5;
    task.extra = &extra;
    ASSERT_TRUE(queue.PutTask(&task, 1));
    task = {};
    TASK taken = {};
    ASSERT_TRUE(queue.GetTask(&taken, true));
    EXPECT_EQ(taken.type, TASKTYPE_DEBUG);
    EXPECT_EQ(taken.priority, 5);
    EXPECT_EQ(taken.context.stDataFrame.u8Data[511], 0xA5);
    EXPECT_EQ(taken.extra, &extra);
}

TEST(TaskQue, AnEmptyQueueAnswersFalseSilently) {
    CTaskQue queue("empty", 1);
    TASK task = {};
    testing::internal::CaptureStderr();
    EXPECT_FALSE(queue.GetTask(&task, false));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(TaskQue, AWaitingConsumerGetsTheTaskThatComes) {
    CTaskQue queue("wait", 1);
    TASK task = {};
    bool result = false;
    std::thread consumer([&] { result = queue.GetTask(&task, true); });
    ASSERT_TRUE(Put(queue, 9));
    consumer.join();
    EXPECT_TRUE(result);
    EXPECT_EQ(task.priv, 9U);
}

// A block has 64 nodes; its node 0 links it to the others.
TEST(TaskNodes, ABlockServes63TasksAtATime) {
    CTaskNodeManager nodes;
    EXPECT_EQ(nodes.GetBlockCount(), 0U);
    for (int task = 1; task <= 63; ++task)
        nodes.PutUsedNode(nodes.GetFreeNode(), 1);
    EXPECT_EQ(nodes.GetUsedCount(), 63U);
    EXPECT_EQ(nodes.GetBlockCount(), 1U);
    nodes.PutUsedNode(nodes.GetFreeNode(), 1);
    EXPECT_EQ(nodes.GetBlockCount(), 2U);
    nodes.PutUsedNode(nodes.GetFreeNode(), 1); // the 65th
    EXPECT_EQ(nodes.GetBlockCount(), 2U);
    EXPECT_EQ(nodes.GetUsedCount(), 65U);
}

TEST(TaskNodes, ComeOutOfABlockInAscendingOrder) {
    CTaskNodeManager nodes;
    CTaskNode *first = nodes.GetFreeNode(); // node 1
    for (int node = 1; node <= 62; ++node)
        EXPECT_EQ(nodes.GetFreeNode(), first + node);
}

TEST(TaskNodes, AreUsedAgainTheLastReturnedFirst) {
    CTaskNodeManager nodes;
    CTaskNode *one = nodes.GetFreeNode();
    CTaskNode *two = nodes.GetFreeNode();
    nodes.PutFreeNode(one);
    nodes.PutFreeNode(two);
    EXPECT_EQ(nodes.GetFreeNode(), two);
    EXPECT_EQ(nodes.GetFreeNode(), one);
    for (int round = 0; round < 1000; ++round) {
        nodes.PutUsedNode(nodes.GetFreeNode(), round % 2);
        nodes.PutFreeNode(nodes.GetUsedNode(true));
    }
    EXPECT_EQ(nodes.GetBlockCount(), 1U);
}

// The mutex held here stops the consumer between the count and the node.
TEST(TaskNodes, ANodeThatAWaitingConsumerIsWokenForIsLeftToIt) {
    CTaskNodeManager nodes;
    CTaskNode *taken = nullptr;
    nodes.Mutex().Enter();
    std::thread consumer([&] { taken = nodes.GetUsedNode(true); });
    EXPECT_TRUE(WaitUntil([&] {
        nodes.PutUsedNode(nodes.GetFreeNode(), 1);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        CTaskNode *left = nodes.GetUsedNode(false); // null once the consumer has the count
        if (left)
            nodes.PutFreeNode(left);
        return left == nullptr;
    }));
    nodes.PutUsedNode(nodes.GetFreeNode(), 1); // whatever happened, the consumer ends
    nodes.Mutex().Leave();
    consumer.join();
    EXPECT_NE(taken, nullptr);
    EXPECT_NE(nodes.GetUsedNode(false), nullptr);
    EXPECT_EQ(nodes.GetUsedNode(false), nullptr);
}
