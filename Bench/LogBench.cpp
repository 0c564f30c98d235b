// One log line through the whole log (two expansions, time of day, file) beside its
// floor: one snprintf and one write of the same line.
#include <array>
#include <cstdio>
#include <filesystem>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include "BSW/Log/Log.h"

namespace {

constexpr char DIRECTORY[] = "bench-log";

void LogLine(benchmark::State &state) {
    CLog::instance()->Init(DIRECTORY, false);
    int number = 0;
    for (auto _ : state) {
        ++number;
        LOG_DBG("Get direct:%d, mode:%d", number & 1, number);
    }
}
BENCHMARK(LogLine);

void FloorPrintAndWrite(benchmark::State &state) {
    std::filesystem::create_directory(DIRECTORY);
    const std::string path = std::string(DIRECTORY) + "/floor.log";
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    std::array<char, 256> line{};
    int number = 0;
    for (auto _ : state) {
        ++number;
        const int length = std::snprintf(line.data(), line.size(),
                                         "[12:34:56,789] [D][%s:%4d] \033[0;32mGet direct:%d, mode:%d\033[0m\n",
                                         "LogBench.cpp", __LINE__, number & 1, number);
        benchmark::DoNotOptimize(write(fd, line.data(), static_cast<std::size_t>(length)));
    }
    close(fd);
}
BENCHMARK(FloorPrintAndWrite);

} // namespace
