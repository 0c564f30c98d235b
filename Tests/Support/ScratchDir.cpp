#include "Support/ScratchDir.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <stdlib.h>

ScratchDir::ScratchDir() : m_previous(std::filesystem::current_path()) {
    std::filesystem::create_directories(ZR_SCRATCH_ROOT);
    m_path = ZR_SCRATCH_ROOT "/XXXXXX";
    if (!mkdtemp(m_path.data()))
        throw std::runtime_error("cannot make a scratch directory below " ZR_SCRATCH_ROOT);
    std::filesystem::current_path(m_path);
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    std::filesystem::current_path(m_previous, ignored);
    std::filesystem::remove_all(m_path, ignored);
}

std::string ReadWholeFile(const std::string &path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}
