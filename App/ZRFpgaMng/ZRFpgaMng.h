// The service's life: signal dispositions, start-up, idling and the orderly stop.
// Everything but the two handlers runs on the main thread; a handler runs on the
// thread that the kernel picks for its signal.
#pragma once

// Installs the dispositions: SIGINT, SIGQUIT and SIGTERM end in signalHandler,
// SIGPIPE is ignored.
void InitSignals();

// Opens the log, announces the version and starts every subsystem in its fixed order.
// No result is examined: what failed has logged its own error, the rest runs.
// Terminating signals wait until it is done; from then on the main thread alone takes them.
void StartService();

// Sleeps in steps of 100 ms until bExitFlag is raised.
void IdleUntilExit();

// Stops the subsystems in the reverse order; the log goes last.
void StopService();

// Asks for the orderly stop: logs the number and raises bExitFlag. No signal reaches
// it, signalHandler takes its place.
void SigProc(int dummy);

// Logs the number and the stack, then exits with the number as status. Never returns.
// From its first line on further terminating signals are ignored.
[[noreturn]] void signalHandler(int signal);
