// See DeskFolder.h.
#include "Desk/DeskFolder.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

DeskFolder::~DeskFolder() {
    std::error_code ignored;
    if (!m_path.empty())
        std::filesystem::remove_all(m_path, ignored);
}

bool DeskFolder::Make() {
    std::error_code failure;
    std::string path = std::filesystem::temp_directory_path(failure).string() + "/zrdesk.XXXXXX";
    if (failure || mkdtemp(path.data()) == nullptr)
        return false;
    m_path = path;
    return true;
}
