// A directory of its own for one test, made below the build tree and removed at the
// end. The test's working directory is moved into it, so that short relative paths
// ("log", "a.sock") stay inside the 64-character limits of the log and the sockets.
#pragma once

#include <string>

class ScratchDir {
  public:
    ScratchDir();
    ~ScratchDir();

    ScratchDir(const ScratchDir &) = delete;
    ScratchDir &operator=(const ScratchDir &) = delete;

    // Absolute path of the directory.
    const std::string &Path() const { return m_path; }

  private:
    std::string m_path;
    std::string m_previous;
};

// The whole content of a file, or an empty text when it cannot be read.
std::string ReadWholeFile(const std::string &path);
