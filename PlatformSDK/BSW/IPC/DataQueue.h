// Bounded queue of records of one fixed size between threads.
//
// Records carry no length: both ends always move one whole record, whatever size they
// name. Any number of senders and receivers; one lock per queue. A queue whose set-up
// failed (a size of 0, no memory) stays closed: it refuses every call and takes no lock.
#pragma once

#include <condition_variable>
#include <mutex>

#include <pthread.h>

#include "BSW/IPC/zr_fifo.h"
#include "common/Types.h"

// How an end behaves when it cannot go on at once.
typedef enum _eRecvType : ZR_S32 {
    EM_IPC_NOBLOCK = 0,
    EM_IPC_BLOCK = 1,
} eRecvType;

// State of a queue.
typedef struct _iMsgQueueHandle2 {
    zr_fifo_t *fifo;              // the records; null until the set-up has succeeded
    volatile ZR_U8 u8Status;      // 1 while open
    pthread_mutex_t lock;         // guards everything down to elsize
    pthread_cond_t condRcv;       // a record was added
    pthread_cond_t condSnd;       // a record was taken
    int err_send;                 // reserved
    int err_recv;                 // reserved
    int elsize;                   // record size in bytes
    std::mutex gate;              // guards what follows; never held while `lock` is waited for
    std::condition_variable left; // a call has left
    int calls;                    // calls under way, counted before they take `lock`
    bool lockKept;                // a receiver left the closed queue with `lock` held
} iMsgQueueHandle2;

class CDataQueue {
  public:
    // A queue of `u32MaxMsgNum` records of `u32MsgSize` bytes, together at most 2 GB - 1.
    CDataQueue(ZR_U32 u32MsgSize, ZR_U32 u32MaxMsgNum);

    // Wakes every blocked call (each returns -1) and waits until all of them have left.
    // No call may begin once the tear-down has begun.
    virtual ~CDataQueue();

    CDataQueue(const CDataQueue &) = delete;
    CDataQueue &operator=(const CDataQueue &) = delete;

    // Takes the oldest record. `pMsgBuf` holds a whole record whatever `u32MsgSize`
    // says. `u8Block` is an eRecvType: without blocking an empty queue is -1. The record
    // size in bytes, or -1. The last call to leave a queue that is torn down keeps its
    // lock, if it is a receiver.
    int RecvData(void *pMsgBuf, ZR_U32 u32MsgSize, ZR_U8 u8Block);

    // Adds one record, read whole from `pMsgBuf` whatever `u32MsgSize` says. On a full
    // queue: with blocking waits for room, without drops the oldest record (a warning in
    // the log for each). The record size in bytes, or -1.
    int SendData(void *pMsgBuf, ZR_U32 u32MsgSize, ZR_U8 u8Block);

    // Discards everything held and wakes every waiter. Bytes discarded.
    int FlushData();

    // Record size in bytes; 0 while the queue is not open.
    ZR_U32 RecordSize() const;

  private:
    int _init(ZR_U32 u32MsgSize, ZR_U32 u32MaxMsgNum);
    bool _makeLocks();
    void _destroyLocks();
    int _cleanUp();
    void _releaseStorage();
    bool _enter();
    void _countOut();
    void _leave();
    void _leaveClosed();
    bool _isOpen() const;

    iMsgQueueHandle2 *m_pstMsgQueue;
};
