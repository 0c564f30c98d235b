// A worker thread whose body is a function of the test.
#pragma once

#include <functional>
#include <utility>

#include "BSW/MultiTask/Thread.h"
#include "common/Relaxed.h"

class Worker : public CThread {
  public:
    using Body = std::function<void(Worker &)>;

    Worker(const char *name, Body body, int msgQueSize = 0, int taskQueSize = 0, bool detached = false)
        : CThread(detached, msgQueSize, taskQueSize, name), m_body(std::move(body)) {}

    // Ends a worker that the test did not end, whatever the test asserts.
    ~Worker() override { DestroyThread(true, true); }

    void ThreadProc() override { m_body(*this); }

    bool Loops() const { return RelaxedLoad(m_bLoop); }

  private:
    Body m_body;
};
