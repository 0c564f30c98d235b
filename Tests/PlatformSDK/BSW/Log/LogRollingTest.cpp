// When a file is rolled and how many rolled ones are kept. A file is brought close to its
// limit by lengthening it from outside; the log appends at its end.
#include <gtest/gtest.h>

#include <functional>

#include "LogFixture.h"

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t LINE = sizeof("[00:00:00,000] x\n") - 1;

struct Rolling {
    const char *name;
    std::function<int(CLog &)> write;
    std::uintmax_t limit;
    std::size_t backups;
};

void PrintTo(const Rolling &rolling, std::ostream *out) {
    *out << rolling.name;
}

} // namespace

class LogRolling : public LogTest, public testing::WithParamInterface<Rolling> {
  protected:
    std::string Path() const { return std::string("log/") + GetParam().name; }

    // Writes the line that makes the file `size` bytes long.
    void WriteUpTo(std::uintmax_t size) {
        fs::resize_file(Path(), size - LINE);
        ASSERT_EQ(GetParam().write(*m_log), 1);
    }

    // Sizes of the rolled files, whatever their numbers look like.
    std::vector<std::uintmax_t> Backups() const {
        std::vector<std::uintmax_t> sizes;
        for (const auto &file : fs::directory_iterator("log"))
            if (file.path().filename().string().starts_with(GetParam().name + std::string(".")))
                sizes.push_back(file.file_size());
        std::sort(sizes.begin(), sizes.end());
        return sizes;
    }
};

TEST_P(LogRolling, HappensAtTheLimitAndKeepsTheStatedNumber) {
    Open();
    const std::uintmax_t limit = GetParam().limit;
    WriteUpTo(limit - 1);
    EXPECT_EQ(fs::file_size(Path()), limit - 1);
    EXPECT_EQ(Backups().size(), 0u);

    std::vector<std::uintmax_t> rolled;
    for (std::size_t i = 0; i < GetParam().backups + 2; ++i) {
        WriteUpTo(limit + i);
        EXPECT_EQ(fs::file_size(Path()), 0u);
        rolled.push_back(limit + i);
        if (rolled.size() > GetParam().backups)
            rolled.erase(rolled.begin());
        EXPECT_EQ(Backups(), rolled);
    }
    GetParam().write(*m_log);
    EXPECT_EQ(Text(GetParam().name), "x\n");
}

INSTANTIATE_TEST_SUITE_P(
    Files, LogRolling,
    testing::Values(Rolling{"system.log", [](CLog &log) { return log.System("x"); }, 10240000, 10},
                    Rolling{"access.log", [](CLog &log) { return log.Access("x"); }, 10240000, 10},
                    Rolling{"alarm.log", [](CLog &log) { return log.Alarm("x"); }, 10240000, 1},
                    Rolling{"Module0.log", [](CLog &log) { return log.Module(MODULE_LOG_0, "x"); }, 51200000, 1},
                    Rolling{"Module19.log", [](CLog &log) { return log.Module(MODULE_LOG_19, "x"); }, 51200000, 1}));

TEST_F(LogTest, LongLinesFillAndRollAFile) {
    Open();
    const std::string text(80000, 'l');
    for (int i = 0; i < 130; ++i)
        ASSERT_EQ(m_log->Alarm("%s", text.c_str()), 80000);
    EXPECT_GE(fs::file_size("log/alarm.log.1"), 10240000u);
    EXPECT_LT(fs::file_size("log/alarm.log.1"), 10240000u + 80016u);
    EXPECT_EQ(fs::file_size("log/alarm.log") + fs::file_size("log/alarm.log.1"), 130u * 80016u);
}
