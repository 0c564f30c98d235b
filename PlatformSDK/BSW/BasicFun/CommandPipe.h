// The output of a shell command, read while it runs. One thread uses an object.
#pragma once

#include <cstdio>
#include <string>

class CommandPipe {
  public:
    // Starts `cmd` through the shell.
    explicit CommandPipe(const char *cmd);

    // Waits for the command to end if Close was not called.
    ~CommandPipe();

    CommandPipe(const CommandPipe &) = delete;
    CommandPipe &operator=(const CommandPipe &) = delete;

    // False, with errno, when the command could not be started. Then nothing can be read.
    bool IsOpen() const { return m_output; }

    // The next line into `piece`, at most `size` - 1 characters of it, with its line
    // break if that fits. Blocks until there is one, whatever signals arrive. False at
    // the end.
    bool ReadPiece(char *piece, int size);

    // The next line, however long, without its line break. Blocks until there is one.
    // False at the end.
    bool ReadLine(std::string &line);

    // Blocks until the command has ended: its status as waitpid gives it, or -1 with
    // errno when the status cannot be had. Only once.
    int Close();

  private:
    FILE *m_output;
};
