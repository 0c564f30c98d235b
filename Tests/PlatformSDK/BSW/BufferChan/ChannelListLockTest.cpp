// Where the lock of the channel list is released, and the one case where it is kept.
// The kept lock is tried in child processes: a call that blocks never returns there.
#include <functional>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "ChannelSupport.h"

namespace {

enum Outcome { RETURNED, BLOCKED, NEVER_GOT_THERE };

bool ReceivesWithin(int fd, char expected, int milliseconds) {
    pollfd readable = {fd, POLLIN, 0};
    char got = 0;
    return poll(&readable, 1, milliseconds) == 1 && read(fd, &got, 1) == 1 && got == expected;
}

// Runs `before` and then `call` in a child process.
Outcome TryInChild(const std::function<bool()> &before, const std::function<void()> &call, int waitMs) {
    int fds[2];
    if (pipe(fds) != 0)
        return NEVER_GOT_THERE;
    const pid_t child = fork();
    if (child == 0) {
        const auto tell = [&](char what) {
            if (write(fds[1], &what, 1) != 1)
                _exit(1);
        };
        tell(before() ? 'b' : '-');
        call();
        tell('r');
        _exit(0);
    }
    Outcome outcome = NEVER_GOT_THERE;
    if (ReceivesWithin(fds[0], 'b', 20000))
        outcome = ReceivesWithin(fds[0], 'r', waitMs) ? RETURNED : BLOCKED;
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(fds[0]);
    close(fds[1]);
    return outcome;
}

struct ListCall {
    const char *name;
    std::function<void()> call;
};

const ListCall LIST_CALLS[] = {
    {"create", [] { zr_bufchan_mkfifo("other", 100); }},
    {"remove", [] { zr_bufchan_unlink("other"); }},
    {"open", [] { zr_bufchan_open("other", RD); }},
};

} // namespace

TEST(ChannelListLock, StaysHeldAfterARingThatCannotBeMade) {
    for (const ListCall &list : LIST_CALLS)
        EXPECT_EQ(TryInChild([] { return zr_bufchan_mkfifo("a", -1) == -1; }, list.call, 300), BLOCKED) << list.name;
}

TEST(ChannelListLock, IsReleasedAfterEveryOtherFailure) {
    const std::function<bool()> failures[] = {
        [] { return zr_bufchan_mkfifo("a", 100) == 0 && zr_bufchan_mkfifo("a", 100) == -1; },
        [] { return zr_bufchan_mkfifo("a", 0) == -1; },
        [] { return zr_bufchan_mkfifo("", -1) == -1; }, // refused before the list is locked
        [] { return zr_bufchan_mkfifo("a", 100) == 0 && zr_bufchan_mkfifo("a", -1) == -1; }, // found before it is made
        [] { return zr_bufchan_unlink("a") == -1; },
        [] { return zr_bufchan_open("a", RD) == nullptr; },
        [] { return zr_bufchan_mkfifo("a", 100) == 0 && !zr_bufchan_open("a", 3); },
    };
    for (const auto &failure : failures)
        for (const ListCall &list : LIST_CALLS)
            EXPECT_EQ(TryInChild(failure, list.call, 20000), RETURNED) << list.name;
}

TEST(ChannelListLock, IsNotNeededByOpenHandles) {
    const auto calls = [] {
        void *writer = zr_bufchan_open("a", WR);
        void *reader = zr_bufchan_open("a", RD);
        return zr_bufchan_mkfifo("b", -1) == -1 && WriteText(writer, "x") == 1 && ReadText(reader, 10) == "x" &&
               zr_bufchan_close(reader) == 0;
    };
    EXPECT_EQ(TryInChild([&] { return zr_bufchan_mkfifo("a", 100) == 0 && calls(); }, [] {}, 20000), RETURNED);
}
