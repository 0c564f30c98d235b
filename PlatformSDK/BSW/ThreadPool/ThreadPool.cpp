// Thread utilities. Each works on the thread that calls it.
#include "BSW/ThreadPool/ThreadPool.h"

#include <sys/prctl.h>

int SetThreadName(const char *name) {
    return prctl(PR_SET_NAME, name);
}
