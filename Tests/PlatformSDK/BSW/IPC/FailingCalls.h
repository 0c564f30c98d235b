// Makes system calls of the code under test fail on demand and counts others, through
// the linker's --wrap. Only what the test program links statically is affected.
#pragma once

enum class SystemCall {
    Malloc,
    NothrowNew,
    MutexInit,
    CondInit,
    ThreadCreate,
    MutexLock,
    MutexDestroy,
    CondDestroy,
    CondWait
};
constexpr int SYSTEM_CALLS = 9;

// While it lives, `call` fails from its `nth` use on (1 is the first). Not for the last
// four, which are only counted. One at a time.
class FailingCall {
  public:
    explicit FailingCall(SystemCall call, int nth = 1);
    ~FailingCall();

    FailingCall(const FailingCall &) = delete;
    FailingCall &operator=(const FailingCall &) = delete;
};

// Uses of `call` by this process so far.
int UsesOf(SystemCall call);
