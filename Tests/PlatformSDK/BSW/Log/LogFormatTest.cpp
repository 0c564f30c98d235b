// The second expansion: the harmless format by itself, and texts with "%" in the files.
#include <gtest/gtest.h>

#include <random>

#include "BSW/Log/LogFormat.h"
#include "FdCapture.h"
#include "LogFixture.h"

static std::string Repeat(const std::string &part, std::size_t times) {
    std::string text;
    for (std::size_t i = 0; i < times; ++i)
        text += part;
    return text;
}

// Texts and what a file shows of them.
struct Expansion {
    std::string text;
    std::string shown;
};

static const Expansion EXPANSIONS[] = {
    {"plain", "plain"},
    {"%d|%i|%u|%o|%x|%X", "0|0|0|0|0|0"},
    {"%hhd %hd %ld %lld %jd %zd %td", "0 0 0 0 0 0 0"},
    {"%5d|%-5d|%05d|%+d|% d|%.3d|%8.3d", "    0|0    |00000|+0| 0|000|     000"},
    {"%*d|%.*f|%-*.*d|", "0|0||"},
    {"%f %.1f %e %g %F %Lf %lf", "0.000000 0.0 0.000000e+00 0 0.000000 0.000000 0.000000"},
    {"%a %A", "0x0p+0 0X0P+0"},
    {"%s|%10s|%-8s|%.3s|%.9s", "(null)|    (null)|(null)  ||(null)"},
    {"%p", "(nil)"},
    {"%%|%%%%|%%d|%%%d", "%|%%|%d|%0"},
    {"%n|%ln|%hhn|%5n|", "||||"},
    {"a%cb|%5c|", "ab||"},
    {"100%", "100%"},
    {"50% done", "50 0one"}, // the blank is a flag
    {"%", "%"},
    {"%5", "%5"},
    {"%.", "%."},
    {"%l", "%l"},
    {"%-08.3ll", "%-08.3ll"},
    {"%y %k %! %Q %B %I64d", "%y %k %! %Q %B %I64d"},
    {"%1$d %2$s %*1$d", "%1$d %2$s %*1$d"},
    {"%ls %lc %S %C", "%ls %lc %S %C"},
    {"%Ld %hs %hf %lld %lllld", "%Ld %hs %hf 0 %lllld"},
    {"%5%|% %d", "%5%|% 0"},
    {"%9999d|", std::string(9998, ' ') + "0|"},
    {"%10000d|%.10000d|%99999999999999999999d", "%10000d|%.10000d|%99999999999999999999d"},
    {"%.9999d", std::string(9999, '0')},
    {"%-+ #0'd", "+0"},
};

using LogFormat = LogTest;

TEST_F(LogFormat, ExpandsATextInTheFileOnceMore) {
    Open();
    for (const Expansion &expansion : EXPANSIONS) {
        const std::size_t before = Raw("system.log").size();
        EXPECT_EQ(m_log->System("%s", expansion.text.c_str()), static_cast<int>(expansion.text.size()));
        EXPECT_EQ(Untimed(Raw("system.log").substr(before)), expansion.shown + "\n") << expansion.text;
    }
}

TEST_F(LogFormat, ExpandsInEveryFile) {
    Open();
    EXPECT_EQ(m_log->Access("%s", "a %d"), 4);
    EXPECT_EQ(m_log->Alarm("%s", "b %s"), 4);
    EXPECT_EQ(m_log->Module(MODULE_LOG_19, "%s", "c %n%%"), 6);
    LOG_ERR("cmd: %s not support", "%x");
    EXPECT_EQ(Text("access.log"), "a 0\n");
    EXPECT_EQ(Text("alarm.log"), "b (null)\n");
    EXPECT_EQ(Text("Module19.log"), "c %\n");
    EXPECT_NE(Text("system.log").find("cmd: 0 not support"), std::string::npos);
}

// The arguments behind the sixteenth would not be there; each kind needs its own registers
// and its own share of the stack.
TEST_F(LogFormat, HasZerosForSixteenArgumentsOfEachKind) {
    Open();
    const Expansion kinds[] = {{"%d ", "0 "},
                               {"%lld ", "0 "},
                               {"%f ", "0.000000 "},
                               {"%Lg ", "0 "},
                               {"%s ", "(null) "},
                               {"%p ", "(nil) "},
                               {"%x%g", "00"},
                               {"%Lg%d", "00"},
                               {"%s%Lg", "(null)0"},
                               {"%*d ", "0 "},
                               {"%d%f%s%Lf ", "00.000000(null)0.000000 "}};
    for (const Expansion &kind : kinds) {
        const std::size_t args = static_cast<std::size_t>(std::count(kind.text.begin(), kind.text.end(), '%') +
                                                          std::count(kind.text.begin(), kind.text.end(), '*'));
        const std::size_t times = LOG_FORMAT_MAX_ARGS / args;
        const std::size_t before = Raw("system.log").size();
        m_log->System("%s", Repeat(kind.text, times + 2).c_str());
        EXPECT_EQ(Untimed(Raw("system.log").substr(before)), Repeat(kind.shown, times) + Repeat(kind.text, 2) + "\n");
    }
}

TEST_F(LogFormat, TakesLongTextsOfNothingElse) {
    Open();
    FdCapture error(STDERR_FILENO);
    EXPECT_EQ(m_log->System("%s", std::string(81919, '%').c_str()), 81919);
    EXPECT_EQ(Text("system.log"), std::string(40960, '%') + "\n");
    const std::string conversions = Repeat("%9999d", 13653);
    EXPECT_EQ(m_log->Access("%s", conversions.c_str()), 81918);
    EXPECT_EQ(Text("access.log"), Repeat(std::string(9998, ' ') + "0", 16) + conversions.substr(16 * 6) + "\n");
    EXPECT_EQ(m_log->Alarm("%s", Repeat("%n", 40959).c_str()), 81918);
    EXPECT_EQ(Text("alarm.log"), "\n");
    const std::string digits = "%" + std::string(81918, '1');
    EXPECT_EQ(m_log->Module(MODULE_LOG_2, "%s", digits.c_str()), 81919);
    EXPECT_EQ(Text("Module2.log"), digits + "\n");
    EXPECT_EQ(error.Text(), "");
}

TEST_F(LogFormat, CutsALineInTheMiddleOfAConversion) {
    Open();
    FdCapture error(STDERR_FILENO);
    EXPECT_EQ(m_log->System("%s", (std::string(81918, 'a') + "%d").c_str()), 81920);
    EXPECT_EQ(Text("system.log"), std::string(81918, 'a') + "%\n");
}

// The text of errno is a conversion without an argument; it counts, so that its width
// cannot be used without end.
TEST(LogHarmlessFormat, BoundsTheTextOfErrno) {
    EXPECT_EQ(LogHarmlessFormat(Repeat("%m", 17)), Repeat("%m", 16) + "%%m");
    EXPECT_EQ(LogHarmlessFormat(Repeat("%*.*m", 6)), Repeat("%*.*m", 5) + "%%*.*m");
}

TEST(LogHarmlessFormat, LeavesCountedConversionsForLaterOnes) {
    // The one with three arguments is too many, the single one behind it is not.
    EXPECT_EQ(LogHarmlessFormat(Repeat("%d", 15) + "%*.*d%d%d"), Repeat("%d", 15) + "%%*.*d%d%%d");
    EXPECT_EQ(LogHarmlessFormat(Repeat("%%%n%c", 100)), Repeat("%%", 100));
}

TEST(LogHarmlessFormat, NeverFailsNorRunsAway) {
    static constexpr char ALPHABET[] = "%%%%%%0123456789.*-+ #'$hlLjztqdiouxXaAeEfFgGspmcnCSIk\n\x80\xff";
    std::mt19937 random(1);
    std::uniform_int_distribution<std::size_t> letter(0, sizeof(ALPHABET) - 2), length(0, 60);
    for (int run = 0; run < 20000; ++run) {
        std::string text;
        for (std::size_t i = length(random); i > 0; --i)
            text += ALPHABET[letter(random)];
        const std::string format = LogHarmlessFormat(text);
        ASSERT_LE(format.size(), 2 * text.size());
        const long long z = 0;
        const int size =
            std::snprintf(nullptr, 0, format.c_str(), z, z, z, z, z, z, z, z, z, z, z, z, z, z, z, z, z, z, z, z, z, z,
                          z, z, z, z, z, z, z, z, z, z, z, z, z, z, z, z, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0);
        ASSERT_GE(size, 0) << text;
        ASSERT_LE(size, 400000) << text;
    }
}
