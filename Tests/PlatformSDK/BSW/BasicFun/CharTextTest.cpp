// Texts in the caller's buffers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

#include "BSW/BasicFun/StringUtils.h"
#include "Support/LogCapture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class CharText : public testing::Test {
  protected:
    static std::string Trimmed(std::string text) { return trim(text.data()); }

    // The pieces of `text`, at most `count`.
    static std::vector<std::string> Split(std::string text, const char *separators, int count) {
        std::vector<char *> pieces(static_cast<std::size_t>(count));
        const int found = split(pieces.data(), text.data(), separators, count);
        return {pieces.begin(), pieces.begin() + found};
    }

    LogCapture m_log;
    const std::string m_bad = "E bad parameters!";
};

} // namespace

TEST_F(CharText, WhiteSpaceIsTrimmedAtBothEnds) {
    EXPECT_EQ(Trimmed(" \t\r\n\v\fa b\t c \n"), "a b\t c");
    EXPECT_EQ(Trimmed("abc"), "abc");
    EXPECT_EQ(Trimmed("x "), "x");
    EXPECT_EQ(Trimmed(" \n "), "");
    EXPECT_EQ(Trimmed(""), "");
    char text[] = "  ab ";
    EXPECT_EQ(trim(text), text + 2);
}

TEST_F(CharText, NegativeCharactersAreNotWhite) {
    EXPECT_EQ(Trimmed(" \xff\xa0 "), "\xff\xa0");
    EXPECT_EQ(Trimmed("\x85"), "\x85");
    for (const int c :
         {-1, -128, 128, 160, 255, 256 + ' ', INT_MIN, INT_MAX, 0, static_cast<int>('x'), static_cast<int>('\n')})
        EXPECT_EQ(BlankChar(c), 0) << c;
    EXPECT_EQ(BlankChar(' '), 1);
    EXPECT_EQ(BlankChar('\t'), 1);
}

TEST_F(CharText, NullIsNotTrimmed) {
    EXPECT_EQ(trim(nullptr), nullptr);
    EXPECT_THAT(m_log.Texts(), ElementsAre(m_bad));
}

TEST_F(CharText, PiecesAreBetweenSeparators) {
    EXPECT_THAT(Split("a,b;;c,", ",;", 10), ElementsAre("a", "b", "c"));
    EXPECT_THAT(Split("a,b,c", ",", 2), ElementsAre("a", "b"));
    EXPECT_THAT(Split("a,b", ",", 2), ElementsAre("a", "b"));
    EXPECT_THAT(Split(",,", ",", 2), IsEmpty());
    EXPECT_THAT(Split("", ",", 2), IsEmpty());
    EXPECT_THAT(Split("a b", "", 2), ElementsAre("a b"));
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(CharText, NothingIsSplitIntoNothing) {
    char text[] = "a,b";
    char *pieces[2] = {};
    EXPECT_EQ(split(nullptr, text, ",", 2), -1);
    EXPECT_EQ(split(pieces, nullptr, ",", 2), -1);
    EXPECT_EQ(split(pieces, text, nullptr, 2), -1);
    EXPECT_EQ(split(pieces, text, ",", 0), -1);
    EXPECT_EQ(split(pieces, text, ",", -3), -1);
    EXPECT_STREQ(text, "a,b");
    EXPECT_EQ(pieces[0], nullptr);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(5, m_bad));
}

TEST_F(CharText, CharactersBecomeDigits) {
    char text[] = "Az\n\xff%";
    std::vector<char> hex(11, 'x'); // not a byte more
    EXPECT_EQ(CharToHex(text, hex.data(), 11), 10);
    EXPECT_STREQ(hex.data(), "417a0aff25");
    EXPECT_EQ(CharToHex(text, hex.data(), 10), -1);
    EXPECT_STREQ(hex.data(), "");
    EXPECT_EQ(CharToHex(text + 5, hex.data(), 1), 0);
    EXPECT_STREQ(hex.data(), "");
    EXPECT_EQ(CharToHex(nullptr, hex.data(), 11), -1);
    EXPECT_EQ(CharToHex(text, nullptr, 11), -1);
    EXPECT_EQ(CharToHex(text, hex.data(), 0), -1);
    EXPECT_EQ(CharToHex(text, hex.data(), -1), -1);
    EXPECT_THAT(m_log.Texts(), ElementsAre("E text needs 11 bytes, size = 10", m_bad, m_bad, m_bad, m_bad));
}
