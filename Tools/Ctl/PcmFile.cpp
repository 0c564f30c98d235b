// See PcmFile.h.
#include "Ctl/PcmFile.h"

#include <cerrno>
#include <cstring>

#include <endian.h>
#include <sys/stat.h>

#include "Ctl/CtlError.h"

namespace {

constexpr std::size_t READ_FRAMES = 4096;

[[noreturn]] void Fail(const std::string &path, const std::string &why) {
    throw CtlError(CtlExit::Failed, path + ": " + why);
}

} // namespace

PcmFile::PcmFile(const std::string &path) : m_path(path), m_file(std::fopen(path.c_str(), "rb"), std::fclose) {
    struct stat info {};
    if (!m_file || fstat(fileno(m_file.get()), &info) != 0)
        Fail(path, std::strerror(errno));
    if (!S_ISREG(info.st_mode))
        Fail(path, "not a regular file");
    m_bytes = static_cast<std::uint64_t>(info.st_size);
    if (Frames() == 0)
        Fail(path, "holds no audio");
}

const std::vector<std::int16_t> &PcmFile::Read() {
    m_samples.resize(READ_FRAMES * PCM_CHANNELS);
    const std::size_t frames = std::fread(m_samples.data(), PCM_FRAME_BYTES, READ_FRAMES, m_file.get());
    if (std::ferror(m_file.get()))
        Fail(m_path, std::strerror(errno));
    m_samples.resize(frames * PCM_CHANNELS);
    for (std::int16_t &sample : m_samples)
        sample = static_cast<std::int16_t>(le16toh(static_cast<std::uint16_t>(sample)));
    return m_samples;
}

void PcmFile::WarnOfSpareBytes() const {
    if (const auto spare = static_cast<unsigned>(m_bytes % PCM_FRAME_BYTES))
        std::fprintf(stderr, "zrctl: note: %s ends with %u bytes that are no whole frame, left out\n", m_path.c_str(),
                     spare);
}
