// main of test programs that start bridge threads. Those threads have no stop, and
// destroying their singletons at exit aborts by design, so the process leaves without
// the exit-time destructors; under AddressSanitizer the leak check still runs first. The
// log's worker has ended long before and is joined, as the log's destructor would do.
#include <cstdio>

#include <gtest/gtest.h>
#include <unistd.h>

#include "BSW/Log/Log.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
static bool HasLeaks() {
    return __lsan_do_recoverable_leak_check() != 0;
}
#else
static bool HasLeaks() {
    return false;
}
#endif

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    CLog::instance()->DestroyThread(true, true);
    std::fflush(nullptr);
    _exit(result == 0 && HasLeaks() ? 1 : result);
}
