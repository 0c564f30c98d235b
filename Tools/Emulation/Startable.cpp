// See Startable.h.
#include "Emulation/Startable.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>

#include <elf.h>

namespace {

// The processor that a program is for; nothing for scripts and what cannot be read.
std::optional<Elf64_Half> ProcessorOf(const std::string &path) {
    Elf64_Ehdr header{};
    std::ifstream file(path, std::ios::binary);
    if (!file.read(reinterpret_cast<char *>(&header), sizeof header) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0)
        return std::nullopt;
    return header.e_machine;
}

} // namespace

std::vector<std::string> zr_startable(std::vector<std::string> argv) {
    const char *emulator = std::getenv("ZR_EMULATOR");
    if (!emulator || argv.empty() || argv[0].find('/') == std::string::npos)
        return argv;
    const auto processor = ProcessorOf(argv[0]);
    if (processor && processor == ProcessorOf("/proc/self/exe"))
        argv.insert(argv.begin(), emulator);
    return argv;
}

std::string zr_startable_text(const std::string &program) {
    const std::vector<std::string> words = zr_startable({program});
    return words.size() == 1 ? program : words[0] + " " + program;
}
