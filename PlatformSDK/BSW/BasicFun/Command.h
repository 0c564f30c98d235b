// Programs run as child processes. Any thread. A part of Function.h, which its users
// include.
//
// The functions leave SIGCHLD alone, except ExecCommand: where it is ignored, nobody gets
// the status of a child.
#pragma once

// Size of the buffer for the output of a command, its end included.
constexpr int EXECUTE_CMD_RESULT_SIZE = 1024;

extern "C" {

// Runs `cmd` through the shell, blocks until it has ended and logs each line of its
// output and its exit status. 0 whatever that status is, -1 when the command cannot be
// started or its status cannot be had.
// Meanwhile SIGCHLD has its default disposition, for the whole process; after -1 it
// keeps it.
int ExecCommand(const char *cmd);

// Runs `program` with the arguments that `fmt` makes, as the text "program arguments",
// through "/bin/sh -c", and blocks until it has ended. The shell sees whatever is in that
// text. With a null `fmt` there are no arguments. The exit status, which is 127 when the
// shell finds no such program; -1, after an error line, for a null or empty program, a text
// that cannot be formatted, when the shell cannot be started, a signal ended it, or its
// status cannot be had.
int ExecCommand2(const char *program, const char *fmt, ...) __attribute__((format(printf, 2, 3)));

// Starts `file` (looked for in PATH) as a child with the arguments that follow, as execlp
// takes them: the program's own name first, a null pointer last. Does not wait. The
// child's pid, also as a debug line; XWaitProgressQuit has to collect it. -1, after an
// error line, for a null or empty file, no argument, or when no child can be made. A child
// that cannot run the file says "execvp error." on standard error and exits with 127.
int ExecCommandBackground(const char *file, const char *arg, ...) __attribute__((sentinel));

// Blocks until child `pid` has ended, and logs that and each stop and continuation before.
// 0 with its status, as waitpid gives it, in `status`; -1, after an error line, for a pid
// that is not positive or not a child, with 0 in `status`.
int XWaitProgressQuit(int pid, int &status);

// Runs `cmd` through the shell, blocks until it has ended and copies its standard output
// to `result`, which holds EXECUTE_CMD_RESULT_SIZE bytes: as it is, with line breaks, cut
// where the buffer is full. 0 whatever the exit status is; -1, after an error line and
// with an empty result, for null and when the shell cannot be started.
int ExecuteCmdAndGetResult(const char *cmd, char *result);
}
