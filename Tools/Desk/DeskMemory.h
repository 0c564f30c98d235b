// The memory that the desk runner shares with its peer process.
#pragma once

#include "Desk/DeskShared.h"

class DeskMemory {
  public:
    DeskMemory() = default;
    ~DeskMemory();
    DeskMemory(const DeskMemory &) = delete;
    DeskMemory &operator=(const DeskMemory &) = delete;

    // Makes a fresh, zeroed one. False on failure.
    bool Create();
    // Attaches to the one behind `descriptor`, which is taken over. False on failure.
    bool Attach(int descriptor);

    // To be handed to the other process; closed on exec.
    int Descriptor() const { return m_descriptor; }
    DeskShared &Shared() const { return *m_shared; }

  private:
    int m_descriptor = -1;
    DeskShared *m_shared = nullptr;
};
