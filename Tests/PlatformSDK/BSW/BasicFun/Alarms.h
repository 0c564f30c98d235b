// Signals that interrupt whatever the test's thread waits for.
#pragma once

#include <signal.h>
#include <sys/time.h>

// SIGALRM every 50 ms, with a handler that does nothing and restarts no call, until the
// object goes.
class Alarms {
  public:
    Alarms() {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        sigaction(SIGALRM, &action, nullptr);
        Set(50000);
    }
    ~Alarms() { Set(0); }

    Alarms(const Alarms &) = delete;
    Alarms &operator=(const Alarms &) = delete;

  private:
    static void Set(suseconds_t microSeconds) {
        const itimerval interval = {{0, microSeconds}, {0, microSeconds}};
        setitimer(ITIMER_REAL, &interval, nullptr);
    }
};
