// Splitting of texts.
#include <gtest/gtest.h>

#include "BSW/BasicFun/StringUtils.h"

using StringUtils::splitString;
using Pieces = std::vector<std::string>;

TEST(SplitString, KeepsEmptyPieces) {
    EXPECT_EQ(splitString("a__b", "_"), (Pieces{"a", "", "b"}));
    EXPECT_EQ(splitString("a_", "_"), (Pieces{"a", ""}));
    EXPECT_EQ(splitString("_a", "_"), (Pieces{"", "a"}));
    EXPECT_EQ(splitString("_", "_"), (Pieces{"", ""}));
}

TEST(SplitString, ATextWithoutTheSeparatorIsOnePiece) {
    EXPECT_EQ(splitString("x", "_"), Pieces{"x"});
}

TEST(SplitString, AnEmptyTextHasNoPieces) {
    EXPECT_EQ(splitString("", "_"), Pieces{});
    EXPECT_EQ(splitString("", ""), Pieces{});
}

TEST(SplitString, AnEmptySeparatorLeavesTheTextWhole) {
    EXPECT_EQ(splitString("abc", ""), Pieces{"abc"});
}

TEST(SplitString, TheSeparatorMayBeLong) {
    EXPECT_EQ(splitString("a::b:c::", "::"), (Pieces{"a", "b:c", ""}));
    // A rest that begins like the separator is read together with the appended one.
    EXPECT_EQ(splitString("a:", "::"), (Pieces{"a"}));
    EXPECT_EQ(splitString("aaa", "aa"), (Pieces{"", ""}));
}

TEST(SplitString, ZeroBytesAreText) {
    const std::string text("a\0b_c", 5);
    EXPECT_EQ(splitString(text, "_"), (Pieces{std::string("a\0b", 3), "c"}));
}
