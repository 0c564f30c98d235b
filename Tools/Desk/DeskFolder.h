// A directory below /tmp (or TMPDIR) for what a run needs while it runs; removed at the end.
#pragma once

#include <string>

class DeskFolder {
  public:
    DeskFolder() = default;
    ~DeskFolder();

    DeskFolder(const DeskFolder &) = delete;
    DeskFolder &operator=(const DeskFolder &) = delete;

    // False when it cannot be made.
    bool Make();

    const std::string &Path() const { return m_path; }

  private:
    std::string m_path;
};
