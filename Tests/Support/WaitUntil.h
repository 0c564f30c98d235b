// Bounded waiting for a condition that has no event to wait on.
#pragma once

#include <functional>

// Tests `condition` every 2 ms until it holds. False when it never held in `timeoutMs`.
bool WaitUntil(const std::function<bool()> &condition, int timeoutMs = 5000);

// True when a thread of this process carries `name` in /proc within `timeoutMs`.
bool WaitForThreadNamed(const char *name, int timeoutMs = 5000);

// Number of threads of this process.
int ThreadCount();
