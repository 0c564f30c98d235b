// The record queue. Each operation runs on the thread that calls it.
#include "BSW/IPC/DataQueue.h"

#include <climits>
#include <new>

#include "BSW/Log/Log.h"
#include "common/Relaxed.h"

CDataQueue::CDataQueue(ZR_U32 u32MsgSize, ZR_U32 u32MaxMsgNum) : m_pstMsgQueue(new (std::nothrow) iMsgQueueHandle2{}) {
    if (m_pstMsgQueue)
        _init(u32MsgSize, u32MaxMsgNum);
}

CDataQueue::~CDataQueue() {
    _cleanUp();
    delete m_pstMsgQueue;
}

int CDataQueue::_init(ZR_U32 u32MsgSize, ZR_U32 u32MaxMsgNum) {
    if (u32MsgSize == 0 || u32MaxMsgNum == 0) {
        LOG_ERR("bad parameters!\n");
        return -1;
    }
    if (!_makeLocks()) {
        LOG_ERR("MsgQueue = %p create failure!\n", static_cast<void *>(m_pstMsgQueue));
        return -1;
    }
    // A storage whose size does not fit an int is refused like one there is no memory for.
    const ZR_U64 bytes = static_cast<ZR_U64>(u32MsgSize) * u32MaxMsgNum;
    m_pstMsgQueue->fifo = bytes <= INT_MAX ? zr_fifo_alloc(static_cast<unsigned>(bytes)) : nullptr;
    if (!m_pstMsgQueue->fifo) {
        _destroyLocks();
        return -1;
    }
    m_pstMsgQueue->elsize = static_cast<int>(u32MsgSize);
    Publish(m_pstMsgQueue->u8Status, 1);
    LOG_DBG("MsgQueue = %p create successed!", static_cast<void *>(m_pstMsgQueue));
    return 0;
}

// Makes the lock and both conditions, or nothing.
bool CDataQueue::_makeLocks() {
    if (pthread_mutex_init(&m_pstMsgQueue->lock, nullptr) != 0)
        return false;
    if (pthread_cond_init(&m_pstMsgQueue->condRcv, nullptr) != 0) {
        pthread_mutex_destroy(&m_pstMsgQueue->lock);
        return false;
    }
    if (pthread_cond_init(&m_pstMsgQueue->condSnd, nullptr) != 0) {
        pthread_cond_destroy(&m_pstMsgQueue->condRcv);
        pthread_mutex_destroy(&m_pstMsgQueue->lock);
        return false;
    }
    return true;
}

// A lock that a receiver kept is locked for good and cannot be destroyed; it holds no resources.
void CDataQueue::_destroyLocks() {
    pthread_cond_destroy(&m_pstMsgQueue->condSnd);
    pthread_cond_destroy(&m_pstMsgQueue->condRcv);
    if (!m_pstMsgQueue->lockKept)
        pthread_mutex_destroy(&m_pstMsgQueue->lock);
}

int CDataQueue::_cleanUp() {
    if (!m_pstMsgQueue)
        return 0;
    RelaxedStore(m_pstMsgQueue->u8Status, 0);
    FlushData();
    if (m_pstMsgQueue->fifo)
        _releaseStorage();
    LOG_DBG("MsgQueue destroy successed!");
    return 0;
}

// Waits until every call has left, then destroys what they waited on.
void CDataQueue::_releaseStorage() {
    iMsgQueueHandle2 &queue = *m_pstMsgQueue;
    {
        std::unique_lock gate(queue.gate);
        queue.left.wait(gate, [&] { return queue.calls == 0; });
    }
    if (!queue.lockKept) { // the call that left last may be about to release it
        pthread_mutex_lock(&queue.lock);
        pthread_mutex_unlock(&queue.lock);
    }
    zr_fifo_freep(&queue.fifo);
    _destroyLocks();
}

// Begins a call and takes the lock. False, without a lock, when the queue never opened
// or the lock was kept.
bool CDataQueue::_enter() {
    if (!m_pstMsgQueue || !m_pstMsgQueue->fifo)
        return false;
    {
        const std::lock_guard gate(m_pstMsgQueue->gate);
        if (m_pstMsgQueue->lockKept)
            return false;
        ++m_pstMsgQueue->calls;
    }
    pthread_mutex_lock(&m_pstMsgQueue->lock);
    return true;
}

// Counts a call out and lets a waiting tear-down know. Under the gate.
void CDataQueue::_countOut() {
    --m_pstMsgQueue->calls;
    m_pstMsgQueue->left.notify_all();
}

// Ends a call.
void CDataQueue::_leave() {
    {
        const std::lock_guard gate(m_pstMsgQueue->gate);
        _countOut();
    }
    pthread_mutex_unlock(&m_pstMsgQueue->lock);
}

// Ends a receive that found the queue closed: it keeps the lock, as it always has, unless others need it to leave.
void CDataQueue::_leaveClosed() {
    const std::lock_guard gate(m_pstMsgQueue->gate);
    m_pstMsgQueue->lockKept = m_pstMsgQueue->calls == 1;
    if (!m_pstMsgQueue->lockKept)
        pthread_mutex_unlock(&m_pstMsgQueue->lock);
    _countOut();
}

bool CDataQueue::_isOpen() const {
    return Observe(m_pstMsgQueue->u8Status) == 1;
}

int CDataQueue::SendData(void *pMsgBuf, ZR_U32 /*u32MsgSize*/, ZR_U8 u8Block) {
    if (!pMsgBuf || !_enter())
        return -1;
    iMsgQueueHandle2 &queue = *m_pstMsgQueue;
    while (_isOpen() && zr_fifo_space(queue.fifo) < queue.elsize) {
        if (u8Block) {
            pthread_cond_wait(&queue.condSnd, &queue.lock);
        } else {
            LOG_WRN("MsgQueue full read first data [%u], and drop!", static_cast<unsigned>(queue.elsize));
            zr_fifo_drain(queue.fifo, queue.elsize);
        }
    }
    int result = -1;
    if (_isOpen()) {
        zr_fifo_generic_write(queue.fifo, pMsgBuf, queue.elsize, nullptr);
        pthread_cond_signal(&queue.condRcv);
        result = queue.elsize;
    }
    _leave();
    return result;
}

int CDataQueue::RecvData(void *pMsgBuf, ZR_U32 /*u32MsgSize*/, ZR_U8 u8Block) {
    if (!pMsgBuf || !_enter())
        return -1;
    iMsgQueueHandle2 &queue = *m_pstMsgQueue;
    while (_isOpen() && zr_fifo_size(queue.fifo) < queue.elsize) {
        if (!u8Block) {
            _leave();
            return -1;
        }
        pthread_cond_wait(&queue.condRcv, &queue.lock);
    }
    if (!_isOpen()) {
        _leaveClosed();
        return -1;
    }
    zr_fifo_generic_read(queue.fifo, pMsgBuf, queue.elsize, nullptr);
    pthread_cond_signal(&queue.condSnd);
    const int result = queue.elsize;
    _leave();
    return result;
}

int CDataQueue::FlushData() {
    if (!_enter())
        return 0;
    const int discarded = zr_fifo_size(m_pstMsgQueue->fifo);
    zr_fifo_drain(m_pstMsgQueue->fifo, discarded);
    pthread_cond_broadcast(&m_pstMsgQueue->condSnd);
    pthread_cond_broadcast(&m_pstMsgQueue->condRcv);
    _leave();
    return discarded;
}

ZR_U32 CDataQueue::RecordSize() const {
    return m_pstMsgQueue ? static_cast<ZR_U32>(m_pstMsgQueue->elsize) : 0;
}
