// zrctl as a real process, also of another user. One thread.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "Support/ChildProcess.h"

constexpr char ZRCTL[] = ZR_BINARY_DIR "/bin/zrctl";

// How a run of zrctl ended.
struct CtlEnd {
    int status = -1; // exit status; -1 when it did not exit by itself
    std::string output;
    std::string errors;
};

// Runs zrctl with `arguments` on the system bus at `busAddress` and waits for its end.
CtlEnd RunCtl(const std::string &busAddress, std::vector<std::string> arguments);

// The end of a zrctl that was started as `tool`.
CtlEnd EndOf(ChildProcess &tool);

// Somebody who is not root, with the group `audio` or without it.
enum class User { Stranger, AudioMember };
constexpr uid_t NOBODY = 65534; // the id of both

// True when this process may become another user: root can, unless its user namespace has
// no other id.
bool CanBecomeOthers();
constexpr const char *ONE_USER_ONLY =
    "needs other user ids: only root has them, in a namespace only with several mapped";

// Runs a function in a child process of another user. The working directory must let
// everybody through. Without the right to become another user the result says so.
class AsUser {
  public:
    // Starts the child; `action`'s text is its result.
    AsUser(User user, const std::function<std::string()> &action);

    AsUser(const AsUser &) = delete;
    AsUser &operator=(const AsUser &) = delete;

    // Waits for the child's result.
    std::string Result();

  private:
    int m_pipe = -1;
    pid_t m_pid = -1;
};

// Runs zrctl as another user on the system bus at "unix:path=bus.socket".
CtlEnd RunCtlAs(User user, std::vector<std::string> arguments);
