// See DeskMemory.h. Atomics of zero bytes are atomics of value 0 here, so a zeroed file
// is a DeskShared.
#include "Desk/DeskMemory.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

DeskMemory::~DeskMemory() {
    if (m_shared)
        munmap(m_shared, sizeof(DeskShared));
    if (m_descriptor >= 0)
        close(m_descriptor);
}

bool DeskMemory::Create() {
    const int descriptor = memfd_create("zrdesk", MFD_CLOEXEC);
    if (descriptor >= 0 && ftruncate(descriptor, sizeof(DeskShared)) == 0)
        return Attach(descriptor);
    if (descriptor >= 0)
        close(descriptor);
    return false;
}

bool DeskMemory::Attach(int descriptor) {
    m_descriptor = descriptor;
    struct stat file {};
    if (fstat(descriptor, &file) != 0 || file.st_size != sizeof(DeskShared))
        return false;
    void *memory = mmap(nullptr, sizeof(DeskShared), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    m_shared = memory == MAP_FAILED ? nullptr : static_cast<DeskShared *>(memory);
    return m_shared != nullptr;
}
