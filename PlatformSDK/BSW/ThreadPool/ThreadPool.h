// Thread utilities. Each works on the thread that calls it.
#pragma once

extern "C" {

// Names the calling thread, as /proc shows it; the kernel keeps 15 characters. 0, or -1
// with errno.
int SetThreadName(const char *name);
}
