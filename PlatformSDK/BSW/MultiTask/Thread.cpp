// Worker threads. ThreadBody and _FinishWorker run on the worker, all else
// on the thread that calls it.
#include "BSW/MultiTask/Thread.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <new>

#include <sched.h>
#include <unistd.h>

#include "BSW/BasicFun/Function.h"
#include "BSW/ThreadPool/ThreadPool.h"
#include "common/Relaxed.h"

namespace {

struct StartRoutine {
    int (*body)(void *);
    void *argument;
};

// Brings an int(void*) body to the type that pthread_create calls.
void *RunStartRoutine(void *record) {
    const StartRoutine routine = *static_cast<StartRoutine *>(record);
    delete static_cast<StartRoutine *>(record);
    return reinterpret_cast<void *>(static_cast<std::intptr_t>(routine.body(routine.argument)));
}

int CreateWithAttributes(pthread_t *thread, const pthread_attr_t *attributes, int (*body)(void *), void *argument) {
    auto *routine = new (std::nothrow) StartRoutine{body, argument};
    if (!routine)
        return ENOMEM;
    const int ret = pthread_create(thread, attributes, RunStartRoutine, routine);
    if (ret != 0)
        delete routine;
    return ret;
}

} // namespace

int thread_create(pthread_t *thread, int (*body)(void *), void *argument) {
    return CreateWithAttributes(thread, nullptr, body, argument);
}

int thread_destroy(pthread_t thread) {
    return thread_isself(thread) ? pthread_detach(thread) : pthread_join(thread, nullptr);
}

pthread_t thread_self(void) {
    return pthread_self();
}

int thread_isself(pthread_t thread) {
    return pthread_equal(thread, pthread_self()) ? 1 : 0;
}

// What the worker is started with. It waits for `released` before it runs the body, so
// that CreateThread is done with an object that its detached body deletes.
struct CThread::StartRecord {
    CThread *thread;
    CSemaphore released{0};
};

CThread::CThread(bool detached, int msgQueSize, int taskQueSize, const char *name) : m_bDeteched(detached) {
    snprintf(m_szThreadName, sizeof m_szThreadName, "%s", name ? name : "");
    if (msgQueSize > 0)
        m_pMsgQue = new CMsgQue(m_szThreadName, msgQueSize);
    if (taskQueSize > 0)
        m_pTaskQue = new CTaskQue(m_szThreadName, taskQueSize);
}

CThread::~CThread() {
    delete m_pMsgQue;
    delete m_pTaskQue;
}

void CThread::ThreadProc() {}

bool CThread::CreateThread(int thread_priority) {
    if (!IsThreadOver())
        return true;
    m_cSemaphore.Wait();
    RelaxedStore(m_bLoop, true);
    RelaxedStore(m_bWaitThreadExit, true);
    RelaxedStore(m_ThreadID, 0); // the id of an ended worker may be another thread's by now
    auto *record = new StartRecord{this};
    if (const int ret = _Start(thread_priority, record)) {
        delete record;
        errno = ret;
        perror("thread_create()");
        return false; // the start gate stays taken
    }
    if (m_bDeteched) {
        RelaxedStore(m_bWaitThreadExit, false);
        pthread_detach(m_Thread);
    }
    Publish(m_bRunning, true);
    record->released.Post(); // last: a detached body may delete the object
    return true;
}

int CThread::_Start(int thread_priority, StartRecord *record) {
    if (thread_priority == 0)
        return thread_create(&m_Thread, ThreadBody, record);
    pthread_attr_t attributes;
    if (const int ret = pthread_attr_init(&attributes))
        return ret;
    // The scheduling stays inherited from the caller: the policy has no effect.
    sched_param parameters = {};
    parameters.sched_priority = thread_priority;
    pthread_attr_setschedpolicy(&attributes, SCHED_FIFO);
    pthread_attr_setschedparam(&attributes, &parameters);
    const int ret = CreateWithAttributes(&m_Thread, &attributes, ThreadBody, record);
    pthread_attr_destroy(&attributes);
    return ret;
}

int CThread::ThreadBody(void *startRecord) {
    auto *record = static_cast<StartRecord *>(startRecord);
    CThread *thread = record->thread;
    const bool isDetached = thread->m_bDeteched;
    RelaxedStore(thread->m_ThreadID, gettid());
    if (thread->m_szThreadName[0] != '\0')
        SetThreadName(thread->m_szThreadName);
    record->released.Wait();
    delete record;
    thread->ThreadProc();
    if (!isDetached) // else the object may be gone
        thread->_FinishWorker();
    return 0;
}

void CThread::_FinishWorker() {
    ClearMsg();
    const bool isAwaited = RelaxedLoad(m_bWaitThreadExit); // once the gate is open a new start sets it
    m_cSemaphore.Post();
    if (isAwaited)
        m_desSemaphore.Post();
}

bool CThread::_IsWorker() const {
    return RelaxedLoad(m_ThreadID) == gettid();
}

void CThread::SignalQuit() {
    if (IsThreadOver())
        return;
    RelaxedStore(m_bLoop, false);
    SendMsg(XM_QUIT, 0, 0, 1, nullptr, 0);
    TASK task = {};
    task.type = TASKTYPE_QUIT;
    PutTask(&task, 1);
}

bool CThread::DestroyThread(bool bWaited, bool bSignalQuit) {
    if (IsThreadOver())
        return true;
    const bool waits = bWaited && !_IsWorker();
    if (!_IsWorker())
        RelaxedStore(m_bWaitThreadExit, bWaited);
    if (bSignalQuit)
        SignalQuit();
    if (waits) {
        m_desSemaphore.Wait();
        thread_destroy(m_Thread);
    } else if (!m_bDeteched) {
        pthread_detach(m_Thread); // nobody will join it
    }
    Publish(m_bRunning, false);
    return true;
}

bool CThread::IsThreadOver() const {
    return !Observe(m_bRunning);
}

char *CThread::GetThreadName() {
    return m_szThreadName;
}

int CThread::GetThreadID() const {
    return RelaxedLoad(m_ThreadID);
}

bool CThread::SendMsg(std::uint32_t msg, std::uint32_t wpa, unsigned long lpa, int priority, char *pUserData,
                      std::uint32_t len) {
    return m_pMsgQue && m_pMsgQue->SendMsg(msg, wpa, lpa, priority, pUserData, len);
}

bool CThread::RecvMsg(XMSG *pMsg, bool wait) {
    return m_pMsgQue && m_pMsgQue->RecvMsg(pMsg, wait);
}

void CThread::QuitMsg() {
    if (m_pMsgQue)
        m_pMsgQue->QuitMsg();
}

void CThread::ClearMsg() {
    if (m_pMsgQue)
        m_pMsgQue->ClearMsg();
}

unsigned CThread::GetMsgCount() {
    return m_pMsgQue ? m_pMsgQue->GetMsgCount() : 0;
}

bool CThread::PutTask(TASK *task, int priority) {
    return m_pTaskQue && m_pTaskQue->PutTask(task, priority);
}

bool CThread::GetTask(TASK *task, bool wait) {
    return m_pTaskQue && m_pTaskQue->GetTask(task, wait);
}

void CThread::SetTimeout(unsigned milliSeconds) {
    const std::uint64_t deadline = milliSeconds == 0 ? 0 : SystemGetMSCount() + milliSeconds;
    RelaxedStore(m_expectedTime, deadline < milliSeconds ? 0 : deadline);
}

bool CThread::IsTimeout() const {
    const std::uint64_t deadline = RelaxedLoad(m_expectedTime);
    return deadline != 0 && deadline < SystemGetMSCount();
}
