// Hex dumps in the access log.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "BSW/BasicFun/Function.h"
#include "Support/LogCapture.h"

using Texts = std::vector<std::string>;
using Bytes = std::vector<unsigned char>;

namespace {

Bytes Pattern(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<unsigned char>(i * 7 + i / 256);
    return bytes;
}

std::string Hex(const Bytes &bytes) {
    const char digits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes)
        text += {digits[byte >> 4], digits[byte & 15], ' '};
    return text;
}

} // namespace

class HexDumpTest : public testing::Test {
  protected:
    std::vector<LogLine> Lines() const { return ParseLog(ReadWholeFile(m_log.Directory().Path() + "/log/access.log")); }

    Texts Dump(const char *title, const Bytes &bytes) {
        const std::size_t before = Lines().size();
        DumpHexInfo(title, bytes.data(), static_cast<unsigned short>(bytes.size()));
        Texts texts;
        const std::vector<LogLine> lines = Lines();
        for (std::size_t i = before; i < lines.size(); ++i)
            texts.push_back(std::string(1, lines[i].level) + " " + lines[i].text);
        return texts;
    }

    LogCapture m_log;
};

TEST_F(HexDumpTest, IsALineOfTheAccessLog) {
    EXPECT_EQ(Dump("frame", {0x00, 0x0a, 0xff}), Texts{"I frame, len= 3, 00 0a ff "});
    const LogLine line = Lines().back();
    EXPECT_EQ(line.file, "HexDump.cpp");
    EXPECT_EQ(line.raw.find("\033[1;36mframe"), line.raw.find('\033')) << line.raw;
    EXPECT_TRUE(line.raw.ends_with(" \033[0m"));
    EXPECT_TRUE(m_log.Lines().empty());
}

TEST_F(HexDumpTest, NoBytesAreALineToo) {
    EXPECT_EQ(Dump("empty", {}), Texts{"I empty, len= 0, "});
    DumpHexInfo("null", nullptr, 0);
    EXPECT_EQ(Lines().back(), "I null, len= 0, ");
}

TEST_F(HexDumpTest, TheLargestOneLosesNothing) {
    const Bytes bytes = Pattern(65535);
    testing::internal::CaptureStderr(); // where the log tells of lines that it cuts
    const Texts texts = Dump("all", bytes);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    ASSERT_EQ(texts.size(), 4U);
    const std::string head = "I all, len=65535, ";
    std::string hex;
    for (const std::string &text : texts) {
        EXPECT_EQ(text.substr(0, head.size()), head);
        hex += text.substr(head.size());
    }
    EXPECT_EQ(hex, Hex(bytes));
}

TEST_F(HexDumpTest, AFullLineIsOneLine) {
    EXPECT_EQ(Dump("full", Pattern(HEX_DUMP_LINE_BYTES)).size(), 1U);
    EXPECT_EQ(Dump("more", Pattern(HEX_DUMP_LINE_BYTES + 1)).size(), 2U);
}

TEST_F(HexDumpTest, ALongTitleIsCut) {
    testing::internal::CaptureStderr();
    const Texts texts = Dump(std::string(100000, 't').c_str(), Pattern(65535));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(texts[0].substr(0, 1040), "I " + std::string(HEX_DUMP_TITLE_LENGTH, 't') + ", len=65535, 00");
}

TEST_F(HexDumpTest, ATitleIsNoFormat) {
    EXPECT_EQ(Dump("100%% of %s %n", {1}), Texts{"I 100%% of %s %n, len= 1, 01 "});
    EXPECT_EQ(Dump(std::string(2000, '%').c_str(), {1}),
              Texts{"I " + std::string(HEX_DUMP_TITLE_LENGTH, '%') + ", len= 1, 01 "});
}

TEST_F(HexDumpTest, NullIsRefused) {
    const unsigned char byte = 1;
    DumpHexInfo(nullptr, &byte, 1);
    DumpHexInfo("title", nullptr, 1);
    EXPECT_TRUE(Lines().empty());
    EXPECT_EQ(m_log.TextsOf("HexDump.cpp"),
              (Texts{"E DumpHexInfo: bad parameter, len = 1", "E DumpHexInfo: bad parameter, len = 1"}));
}
