// The task queue and its pool of nodes. Any thread.
//
// As in the message queue, a node leaves the queue only together with its count of the
// semaphore; a consumer that does not wait only tries for one.
#include "BSW/MultiTask/TaskQue.h"

#include <cstdio>
#include <new>

#include "common/Guard.h"

namespace {

constexpr int kBlockNodes = 64;

} // namespace

CTaskNodeManager::~CTaskNodeManager() {
    while (m_lpOriginalTaskList) {
        CTaskNode *block = m_lpOriginalTaskList;
        m_lpOriginalTaskList = block->m_lpNext;
        delete[] block;
    }
}

CTaskNode *CTaskNodeManager::_AllocateBlock() {
    CTaskNode *block = new (std::nothrow) CTaskNode[kBlockNodes];
    if (!block)
        return nullptr;
    // Node 0 only links the block, so a block serves 63 tasks.
    block[0].m_lpNext = m_lpOriginalTaskList;
    m_lpOriginalTaskList = block;
    for (int node = kBlockNodes - 1; node >= 2; --node)
        PutFreeNode(&block[node]);
    return &block[1];
}

CTaskNode *CTaskNodeManager::GetFreeNode() {
    CGuard guard(m_Mutex);
    if (!m_lpFreeTaskList)
        return _AllocateBlock();
    CTaskNode *node = m_lpFreeTaskList;
    m_lpFreeTaskList = node->m_lpNext;
    node->m_lpNext = nullptr;
    return node;
}

void CTaskNodeManager::PutFreeNode(CTaskNode *node) {
    CGuard guard(m_Mutex);
    node->m_lpNext = m_lpFreeTaskList;
    m_lpFreeTaskList = node;
}

void CTaskNodeManager::PutUsedNode(CTaskNode *node, int priority) {
    CGuard guard(m_Mutex);
    const bool atTail = priority != 0 && m_lpUsedTaskTail;
    if (atTail) {
        node->m_lpNext = nullptr;
        m_lpUsedTaskTail->m_lpNext = node;
    } else {
        node->m_lpNext = m_lpUsedTaskHead;
        m_lpUsedTaskHead = node;
    }
    if (atTail || !m_lpUsedTaskTail)
        m_lpUsedTaskTail = node;
    ++m_UsedTaskNode;
    m_Semaphore.Post();
}

CTaskNode *CTaskNodeManager::GetUsedNode(bool wait) {
    if (wait)
        m_Semaphore.Wait();
    CGuard guard(m_Mutex);
    CTaskNode *node = m_lpUsedTaskHead;
    if (!node || (!wait && !m_Semaphore.TryWait()))
        return nullptr;
    m_lpUsedTaskHead = node->m_lpNext;
    if (!m_lpUsedTaskHead)
        m_lpUsedTaskTail = nullptr;
    node->m_lpNext = nullptr;
    --m_UsedTaskNode;
    return node;
}

unsigned CTaskNodeManager::GetUsedCount() {
    CGuard guard(m_Mutex);
    return m_UsedTaskNode;
}

unsigned CTaskNodeManager::GetBlockCount() {
    CGuard guard(m_Mutex);
    unsigned count = 0;
    for (const CTaskNode *block = m_lpOriginalTaskList; block; block = block->m_lpNext)
        ++count;
    return count;
}

CTaskQue::CTaskQue(const char *name, int maxTasks) : m_nMaxTasks(maxTasks), m_lpTaskNodeManager(new CTaskNodeManager) {
    snprintf(m_szTaskName, sizeof m_szTaskName, "%s", name ? name : "");
}

CTaskQue::~CTaskQue() {
    delete m_lpTaskNodeManager;
}

bool CTaskQue::PutTask(const TASK *task, int priority) {
    CGuard guard(m_lpTaskNodeManager->Mutex());
    // One task beyond the limit is accepted.
    if (static_cast<int>(m_lpTaskNodeManager->GetUsedCount()) > m_nMaxTasks) {
        fprintf(stderr, "%s PutTask() Max Tasks(%d) Reached.\n", m_szTaskName, m_nMaxTasks);
        return false;
    }
    CTaskNode *node = m_lpTaskNodeManager->GetFreeNode();
    if (!node) {
        fprintf(stderr, "PutTask() Get Free Node Failed.\n");
        return false;
    }
    node->m_Task = *task;
    m_lpTaskNodeManager->PutUsedNode(node, priority);
    return true;
}

bool CTaskQue::GetTask(TASK *task, bool wait) {
    CTaskNode *node = m_lpTaskNodeManager->GetUsedNode(wait);
    if (!node) {
        if (wait)
            fprintf(stderr, "CTaskQue::GetTask() Error.\n");
        return false;
    }
    *task = node->m_Task;
    m_lpTaskNodeManager->PutFreeNode(node);
    return true;
}
