// The calls of the pool under the test's control, through the linker's --wrap: they fail
// on demand, and new threads can be held back before their first step.
#pragma once

enum class Call { Calloc, CondInit, CondSignal, ThreadCreate, ThreadJoin, MutexInit, MutexLock, MutexUnlock };
constexpr int CALLS = 8;

// While it lives, `call` fails from its `nth` use on (1 is the first) in the thread that
// made it. An unlock is done all the same.
class FailingCall {
  public:
    explicit FailingCall(Call call, int nth = 1);
    ~FailingCall();

    FailingCall(const FailingCall &) = delete;
    FailingCall &operator=(const FailingCall &) = delete;
};

// Mutexes destroyed by this process so far.
int DestroyedMutexes();

// While it lives, threads that are created wait before they run.
class HeldThreads {
  public:
    HeldThreads();
    ~HeldThreads();

    HeldThreads(const HeldThreads &) = delete;
    HeldThreads &operator=(const HeldThreads &) = delete;
};
