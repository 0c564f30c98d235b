// Worker thread with an optional message queue and an optional task queue: the base
// class of the components that own a thread. Below it the C functions thread_*.
//
// One thread at a time starts and stops an object; SignalQuit, the queues, the
// deadline and the accessors may be used from any thread.
#pragma once

#include <cstdint>

#include <pthread.h>

#include "BSW/MultiTask/MsgQue.h"
#include "BSW/MultiTask/TaskQue.h"
#include "common/Semaphore.h"

extern "C" {

// Starts `body(argument)` on a new joinable thread with default attributes and stores
// its handle in `*thread`. 0, or the error number.
int thread_create(pthread_t *thread, int (*body)(void *), void *argument);

// Detaches `thread` when called on it; otherwise blocks until it has ended and joins it.
// 0, or the error number.
int thread_destroy(pthread_t thread);

// Handle of the calling thread.
pthread_t thread_self(void);

// 1 when called on `thread`, else 0.
int thread_isself(pthread_t thread);
}

class CThread {
  public:
    // `detached`: nobody ever waits for the thread, and its body may delete the object.
    // A queue of size 0 (or less) is left out. The name, kept to its first 63 characters,
    // is that of the queues and (15 characters) of the thread in /proc; null means none.
    CThread(bool detached, int msgQueSize, int taskQueSize, const char *name);

    // Deletes the queues. The thread must have ended: see DestroyThread.
    virtual ~CThread();

    CThread(const CThread &) = delete;
    CThread &operator=(const CThread &) = delete;

    // Ends the worker if one was started. `bSignalQuit`: asks the body to end first.
    // `bWaited`: blocks until the body has returned and the thread is gone; without
    // it, or when called on the worker itself, returns at once and the body goes on
    // until it ends. Waiting for a detached thread never returns. Always true.
    virtual bool DestroyThread(bool bWaited, bool bSignalQuit);

    // The body. Loops while m_bLoop is set (RelaxedLoad), as a rule on messages or
    // tasks. Runs on the worker thread. The base class does nothing.
    virtual void ThreadProc();

    // Starts the worker; blocks until an earlier body of this object has ended, so of a
    // detached object, or after a failed start, a second start never returns. A non-zero
    // priority asks for SCHED_FIFO at that priority, but the scheduling is inherited
    // from the caller all the same. True when the worker runs or ran already, false,
    // with a line on standard error, when the system refuses a thread.
    bool CreateThread(int thread_priority);

    // Asks a running body to end: m_bLoop is cleared, XM_QUIT and TASKTYPE_QUIT are
    // queued where there is a queue with room for them.
    void SignalQuit();

    // True when no worker was started since the last DestroyThread.
    bool IsThreadOver() const;

    // Name given to the constructor. Never null.
    char *GetThreadName();

    // Kernel thread id of the worker, as in /proc; 0 until the worker has begun.
    int GetThreadID() const;

    // The operations of CMsgQue; false or 0 without a message queue.
    bool SendMsg(std::uint32_t msg, std::uint32_t wpa, unsigned long lpa, int priority, char *pUserData,
                 std::uint32_t len);
    bool RecvMsg(XMSG *pMsg, bool wait);
    void QuitMsg();
    void ClearMsg();
    unsigned GetMsgCount();

    // The operations of CTaskQue; false without a task queue.
    bool PutTask(TASK *task, int priority);
    bool GetTask(TASK *task, bool wait);

    // Sets the deadline to `milliSeconds` from now; 0 means no deadline.
    void SetTimeout(unsigned milliSeconds);

    // True when there is a deadline and it has passed.
    bool IsTimeout() const;

  protected:
    volatile bool m_bLoop = false; // the body goes on; read with RelaxedLoad

  private:
    struct StartRecord;
    static int ThreadBody(void *startRecord);
    void _FinishWorker();
    int _Start(int thread_priority, StartRecord *record);
    bool _IsWorker() const;

    volatile bool m_bWaitThreadExit = true; // DestroyThread waits for the body
    pthread_t m_Thread = {};
    int m_ThreadID = 0; // stored by the worker
    bool m_bDeteched;
    CMsgQue *m_pMsgQue = nullptr;
    CTaskQue *m_pTaskQue = nullptr;
    CSemaphore m_cSemaphore{1};       // start gate
    std::uint64_t m_expectedTime = 0; // deadline in ms of SystemGetMSCount(), 0 = none
    CSemaphore m_desSemaphore{0};     // exit signal
    bool m_bRunning = false;
    char m_szThreadName[64] = {};
};
