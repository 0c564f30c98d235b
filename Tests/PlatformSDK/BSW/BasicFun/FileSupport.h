// What the tests of the file functions need from the machine.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <time.h>

#include "Support/LogCapture.h"

// Names a file system takes and programs stumble over.
std::vector<std::string> OddNames();

// Makes a file with `content`.
void WriteFile(const std::string &path, const std::string &content = "x");

// Number of open descriptors of this process.
int OpenDescriptors();

// The result of `body` (0 to 255) in a forked child for which permission bits count: for
// root as another user, or without its privileges where there is no other user. The
// working directory is opened for it. -1 when the child did not get that far.
int RunAsOrdinaryUser(const std::function<int()> &body);

// The same in a forked child whose root directory is `root`; -1 where that is not permitted.
int RunInOwnRoot(const std::string &root, const std::function<int()> &body);

// A mount namespace of the process's own, which ends with it. Make it before any thread.
class OwnMounts {
  public:
    OwnMounts();

    // Mounts an empty file system of `bytes` at the directory `path`; false where the
    // machine does not let it.
    bool MountTmpfs(const std::string &path, int bytes, const std::string &device = "small");

    // Takes every mount away, so that the scratch directory can go.
    void Unmount();

  private:
    bool m_available = false;
    std::vector<std::string> m_mounted;
};

// A test that mounts file systems in its scratch directory, and what it logs.
class MountingTest : public testing::Test {
  protected:
    void TearDown() override { m_mounts.Unmount(); }

    OwnMounts m_mounts; // before the log starts its thread
    LogCapture m_log;
};

// Interrupts the calling thread with a signal again and again while it lives.
class Interruptions {
  public:
    Interruptions();
    ~Interruptions();

    // Waits, on another thread, until `count` more signals were handled.
    static bool WaitForMore(int count);

  private:
    timer_t m_timer = {};
};
