// Replacing, searching and composing of texts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

#include "BSW/BasicFun/StringUtils.h"
#include "Support/LogCapture.h"

using StringUtils::ContainsSubstring;
using StringUtils::IntToPPString;
using StringUtils::ModifyIPAddress;
using StringUtils::ReplaceAll;

TEST(ReplaceAll, ReplacesEveryOccurrence) {
    EXPECT_EQ(ReplaceAll("a-b-c", "-", "+"), "a+b+c");
    EXPECT_EQ(ReplaceAll("--", "-", ""), "");
    EXPECT_EQ(ReplaceAll("aaaa", "aa", "b"), "bb");
    EXPECT_EQ(ReplaceAll("aaa", "aa", "b"), "ba");
    EXPECT_EQ(ReplaceAll("abc", "x", "y"), "abc");
    EXPECT_EQ(ReplaceAll("", "x", "y"), "");
    EXPECT_EQ(ReplaceAll("abc", "abcd", "y"), "abc");
}

TEST(ReplaceAll, EndsWhenTheNewTextContainsTheOld) {
    EXPECT_EQ(ReplaceAll("aXa", "a", "aa"), "aaXaa");
    EXPECT_EQ(ReplaceAll("'", "'", "\\'"), "\\'");
    // Nor is it found across the seam.
    EXPECT_EQ(ReplaceAll("abb", "ab", "a"), "ab");
}

TEST(ReplaceAll, AnEmptyPatternChangesNothing) {
    EXPECT_EQ(ReplaceAll("abc", "", "x"), "abc");
}

TEST(ReplaceAll, ZeroBytesAreText) {
    EXPECT_EQ(ReplaceAll(std::string("a\0b", 3), std::string(1, '\0'), "%"), "a%b");
}

TEST(ContainsSubstring, FindsThePatternAnywhere) {
    EXPECT_TRUE(ContainsSubstring("abc", "a"));
    EXPECT_TRUE(ContainsSubstring("abc", "bc"));
    EXPECT_TRUE(ContainsSubstring("abc", "abc"));
    EXPECT_TRUE(ContainsSubstring("abc", ""));
    EXPECT_TRUE(ContainsSubstring("", ""));
    EXPECT_FALSE(ContainsSubstring("abc", "abcd"));
    EXPECT_FALSE(ContainsSubstring("abc", "ac"));
    EXPECT_FALSE(ContainsSubstring("", "a"));
}

TEST(ModifyIPAddress, ReplacesTheLastNumber) {
    EXPECT_EQ(ModifyIPAddress("192.168.1.20", 1), "192.168.1.1");
    EXPECT_EQ(ModifyIPAddress("10.0.0.0", 255), "10.0.0.255");
    EXPECT_EQ(ModifyIPAddress("10.0.0.5", 0), "10.0.0.0");
}

TEST(ModifyIPAddress, AnythingElseIsRefused) {
    const LogCapture log;
    for (const char *text : {"", "10.0.0", "10.0.0.256", "10.0.0.1.1", "a.b.c.d", "10.0.0.1 ", "::1", "10..0.1"})
        EXPECT_EQ(ModifyIPAddress(text, 1), "") << text;
    EXPECT_EQ(ModifyIPAddress(std::string("10.0.0.1\0", 9), 1), "");
    EXPECT_EQ(ModifyIPAddress("10.0.0.1", 256), "");
    EXPECT_EQ(ModifyIPAddress("10.0.0.1", -1), "");
    EXPECT_EQ(ModifyIPAddress("5%s", 7), "");
    EXPECT_EQ(log.Texts().size(), 12U);
    EXPECT_EQ(log.Texts().back(), "E bad parameters! ip = 5%s, last = 7");
}

TEST(IntToPPString, PutsTheNumberBehindPP) {
    EXPECT_EQ(IntToPPString(0), "PP0");
    EXPECT_EQ(IntToPPString(42), "PP42");
    EXPECT_EQ(IntToPPString(-7), "PP-7");
    EXPECT_EQ(IntToPPString(INT_MIN), "PP-2147483648");
    EXPECT_EQ(IntToPPString(INT_MAX), "PP2147483647");
}
