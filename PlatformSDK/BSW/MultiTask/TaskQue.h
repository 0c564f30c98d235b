// Bounded queue of tasks, copied by value through a pool of nodes, for any number of
// producers and consumers. Any thread.
#pragma once

#include <cstdint>

#include "common/Mutex.h"
#include "common/Semaphore.h"

// Values of TASK::type.
enum {
    TASKTYPE_SYSTEM = 0,
    TASKTYPE_QUIT = 1, // the worker is asked to end
    TASKTYPE_TIMER = 2,
    TASKTYPE_HEART_BEAT = 3,
    TASKTYPE_ALARM = 4,
    TASKTYPE_SEND_FILE = 10,
    TASKTYPE_SERVICE_RESTART = 11,
    TASKTYPE_DEBUG = 100,
    TASKTYPE_ALL = 101,
};

typedef struct tagTimerContext {
    std::uint32_t wpa;
    unsigned long lpa;
} TimerContext;

typedef struct tagSendFileContext {
    char filename[64];
    char name[64];
    int offset;
    int size;
    bool encrypt;
} SendFileContext;

typedef struct tagDataFrame {
    std::uint8_t u8HeadMagic;
    std::uint8_t u8Counter;
    std::uint16_t u16Length;
    std::uint8_t u8Data[512];
    std::uint16_t u16CRC;
} DataFrame;

typedef struct tagTASK {
    int type;
    int priority;
    std::uint32_t priv;
    union {
        TimerContext timer;
        SendFileContext sendfile;
        DataFrame stDataFrame;
    } context;
    void *extra; // never followed by the queue
} TASK;

// One place in the queue, in the free stack or at the head of a block.
class CTaskNode {
  public:
    CTaskNode() = default;
    virtual ~CTaskNode() = default;

    TASK m_Task = {};
    CTaskNode *m_lpNext = nullptr;
};

// The nodes of one queue: those queued, in order, and those free, as a stack.
class CTaskNodeManager {
  public:
    CTaskNodeManager() = default;

    // Frees every block of nodes. Nobody may be using the manager.
    ~CTaskNodeManager();

    CTaskNodeManager(const CTaskNodeManager &) = delete;
    CTaskNodeManager &operator=(const CTaskNodeManager &) = delete;

    // Guards every list; recursive. For callers that need several calls as one.
    CMutex &Mutex() { return m_Mutex; }

    // A node to fill, from a new block of 64 when no node is free. Null when memory is
    // short. Give it back through PutUsedNode or PutFreeNode.
    CTaskNode *GetFreeNode();

    // Puts a node on the free stack.
    void PutFreeNode(CTaskNode *node);

    // Queues a node at the tail, or with `priority` 0 at the head, and wakes a consumer.
    void PutUsedNode(CTaskNode *node, int priority);

    // Takes the node at the head; with `wait` blocks until there is one. Null when there
    // is none to take. A node that a blocked consumer has been woken for is that one's.
    CTaskNode *GetUsedNode(bool wait);

    // Nodes queued.
    unsigned GetUsedCount();

    // Blocks of 64 nodes allocated so far; none is freed before the manager.
    unsigned GetBlockCount();

  private:
    CTaskNode *_AllocateBlock();

    CSemaphore m_Semaphore{0};                 // one count per queued node that no consumer has been woken for
    unsigned m_UsedTaskNode = 0;               // nodes queued
    CTaskNode *m_lpOriginalTaskList = nullptr; // blocks, each linked through its node 0
    CTaskNode *m_lpUsedTaskHead = nullptr;
    CTaskNode *m_lpUsedTaskTail = nullptr;
    CTaskNode *m_lpFreeTaskList = nullptr;
    CMutex m_Mutex{"TaskQue"};
};

class CTaskQue {
  public:
    // An empty queue for `maxTasks` tasks, and one more. The name is kept to its first 63
    // characters; null means none.
    CTaskQue(const char *name, int maxTasks);

    // Drops every task. Nobody may be using the queue.
    virtual ~CTaskQue();

    CTaskQue(const CTaskQue &) = delete;
    CTaskQue &operator=(const CTaskQue &) = delete;

    // Queues a copy of `*task`: with `priority` 0 before, otherwise behind everything
    // held. False, with a line on standard error, when more than the limit are held or
    // memory is short.
    bool PutTask(const TASK *task, int priority);

    // Takes the task at the head into `*task`; with `wait` blocks until there is one.
    // False when there is none to take (with `wait`: and a line on standard error).
    bool GetTask(TASK *task, bool wait);

  private:
    char m_szTaskName[64] = {};
    int m_nMaxTasks;
    CTaskNodeManager *m_lpTaskNodeManager;
};
