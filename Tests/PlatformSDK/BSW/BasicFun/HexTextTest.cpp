// Bytes as hexadecimal text and back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <random>

#include "BSW/BasicFun/StringUtils.h"
#include "BSW/Log/Log.h"
#include "Support/LogCapture.h"

using StringUtils::HexStringToUint64;
using StringUtils::HexToString;
using StringUtils::StringToHex;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class HexText : public testing::Test {
  protected:
    // Expects a number.
    static std::uint64_t Number(const std::string &text) {
        bool ok = false;
        const std::uint64_t value = HexStringToUint64(text, &ok);
        EXPECT_TRUE(ok) << text;
        EXPECT_EQ(HexStringToUint64(text), value);
        return value;
    }

    static bool IsNumber(const std::string &text) {
        bool ok = true;
        EXPECT_EQ(HexStringToUint64(text, &ok) == 0, true) << text;
        return ok;
    }

    LogCapture m_log;
    const std::string m_bad = "E bad parameters!";
};

std::string RandomBytes(std::mt19937 &random, std::size_t size) {
    std::string bytes(size, '\0');
    for (char &byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

std::string Upper(std::string text) {
    for (char &c : text)
        c = c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
    return text;
}

} // namespace

TEST_F(HexText, BytesAreTwoDigitsEach) {
    EXPECT_EQ(StringToHex(std::string("\0\x01\x7f\x80\xff %", 7)), "00017f80ff2025");
    EXPECT_EQ(StringToHex(std::string()), "");
    EXPECT_EQ(HexToString("00017F80fF2025"), std::string("\0\x01\x7f\x80\xff %", 7));
    EXPECT_EQ(HexToString(std::string()), "");
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

// Text to bytes and back is the same, in every form and for buffers that just fit.
TEST_F(HexText, ThereAndBackIsTheSame) {
    std::mt19937 random(20240229);
    for (std::size_t size = 0; size < 300; ++size) {
        const std::string bytes = RandomBytes(random, size);
        const std::string hex = StringToHex(bytes);
        ASSERT_EQ(hex.size(), 2 * size);
        ASSERT_EQ(HexToString(hex), bytes);
        ASSERT_EQ(HexToString(Upper(hex)), bytes);
        std::vector<char> digits(2 * size + 1, 'x'), back(size + 1, 'x');
        ASSERT_EQ(StringToHex(bytes.data(), static_cast<int>(size), digits.data(), static_cast<int>(digits.size())),
                  static_cast<int>(2 * size));
        ASSERT_STREQ(digits.data(), hex.c_str());
        ASSERT_EQ(HexToString(digits.data(), back.data(), static_cast<int>(back.size())), static_cast<int>(size));
        ASSERT_EQ(std::string(back.data(), size), bytes);
        ASSERT_EQ(back[size], '\0');
    }
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

// Whatever is read as bytes is written as the same text; anything else is refused.
TEST_F(HexText, ATextIsReadWholeOrNotAtAll) {
    std::mt19937 random(7);
    CLog::instance()->OpenOrCloseModuleLog(false);
    const std::string digits = "0123456789abcdefABCDEF";
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        for (std::size_t length = random() % 8; length > 0; --length)
            text += random() % 8 ? digits[random() % digits.size()] : static_cast<char>(random());
        const bool good = text.size() % 2 == 0 && text.find_first_not_of(digits) == std::string::npos;
        const std::string bytes = HexToString(text);
        ASSERT_EQ(bytes.size(), good ? text.size() / 2 : 0);
        ASSERT_EQ(Upper(StringToHex(bytes)), good ? Upper(text) : "");
        char buffer[4] = "xxx";
        const std::string terminated(text.c_str());
        const bool goodText = terminated.size() % 2 == 0 && terminated.find_first_not_of(digits) == std::string::npos;
        ASSERT_EQ(HexToString(text.c_str(), buffer, sizeof buffer),
                  goodText ? static_cast<int>(terminated.size() / 2) : -1);
    }
    CLog::instance()->OpenOrCloseModuleLog(true);
}

TEST_F(HexText, BadTextsGiveNothing) {
    char bytes[8] = "before";
    for (const char *text : {"abc", "0g", "%d", " 12 ", "+1", "0x12", "1 "}) {
        EXPECT_EQ(HexToString(std::string(text)), "") << text;
        EXPECT_EQ(HexToString(text, bytes, sizeof bytes), -1) << text;
        EXPECT_STREQ(bytes, "");
    }
    EXPECT_EQ(HexToString(std::string("12\0\0", 4)), "");
    const auto lines = m_log.Texts();
    ASSERT_EQ(lines.size(), 15U);
    EXPECT_EQ(lines[0], "E Invalid hex string: abc");
    EXPECT_EQ(lines[1], "E Invalid hex string: abc");
    EXPECT_EQ(lines[2], "E Invalid character:g");
    EXPECT_EQ(lines[4], "E Invalid character:%");
    EXPECT_EQ(lines[6], "E Invalid character: ");
    EXPECT_EQ(lines[10], "E Invalid character:x");
}

TEST_F(HexText, BuffersThatAreTooSmallAreRefused) {
    char text[8] = "before";
    EXPECT_EQ(StringToHex("abc", 3, text, 6), -1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(StringToHex("abc", INT_MAX, text, 8), -1); // not even looked at
    EXPECT_EQ(HexToString("616263", text, 3), -1);
    EXPECT_STREQ(text, "");
    EXPECT_THAT(m_log.Texts(), ElementsAre("E text needs 7 bytes, size = 6", "E text needs 4294967295 bytes, size = 8",
                                           "E text needs 4 bytes, size = 3"));
}

TEST_F(HexText, BadParametersAreRefused) {
    char text[8] = "before";
    EXPECT_EQ(StringToHex(nullptr, 1, text, 8), -1);
    EXPECT_EQ(StringToHex("a", -1, text, 8), -1);
    EXPECT_EQ(StringToHex("a", 1, nullptr, 8), -1);
    EXPECT_EQ(StringToHex("a", 1, text, 0), -1);
    EXPECT_EQ(StringToHex("a", 1, text, -8), -1);
    EXPECT_EQ(HexToString(nullptr, text, 8), -1);
    EXPECT_EQ(HexToString("61", nullptr, 8), -1);
    EXPECT_EQ(HexToString("61", text, 0), -1);
    EXPECT_EQ(HexToString("61", text, -8), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(9, m_bad));
}

TEST_F(HexText, NumbersHaveUpTo64Bits) {
    EXPECT_EQ(Number("0"), 0U);
    EXPECT_EQ(Number("ff"), 255U);
    EXPECT_EQ(Number("0xDeadBeef"), 0xdeadbeefU);
    EXPECT_EQ(Number("0X1"), 1U);
    EXPECT_EQ(Number("ffffffffffffffff"), UINT64_MAX);
    EXPECT_EQ(Number("0x0000000000000000000000000000001"), 1U);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(HexText, LargerNumbersOverflow) {
    EXPECT_FALSE(IsNumber("10000000000000000"));
    EXPECT_FALSE(IsNumber("0x" + std::string(100, 'f')));
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(2, "E Overflow occurred during conversion"));
}

TEST_F(HexText, WhatIsNoNumberIsRefused) {
    for (const char *text : {"", "0x", "x1", "-1", "+1", " 1", "1 ", "12g", "0x0x1", "5%s"}) {
        m_log.Clear();
        EXPECT_FALSE(IsNumber(text)) << text;
        EXPECT_THAT(m_log.Texts(), ElementsAre(std::string("E Invalid hex string: ") + text));
    }
    EXPECT_FALSE(IsNumber(std::string("1\0", 2)));
    EXPECT_FALSE(IsNumber(std::string(50, 'f') + "g"));
}
