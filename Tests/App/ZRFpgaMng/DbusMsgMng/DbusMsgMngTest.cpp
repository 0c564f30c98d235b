// What each command text does, without a bus.
#include <stdexcept>

#include <gmock/gmock.h>

#include "../RecordingDirectory.h"
#include "Support/LogCapture.h"
#include "ZRFpgaMng/AudioNetMng/AudioNet.h"
#include "ZRFpgaMng/AudioPcmMng/AudioPcm.h"
#include "ZRFpgaMng/DbusMsgMng/DbusMsgMng.h"
#include "ZRFpgaMng/ZRBuffer/ZRBuffer.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

constexpr char OK[] = "{\"res\":0}";

class DbusMsgMngTest : public testing::Test {
  protected:
    DbusMsgMngTest() {
        CZRBuffer::instance()->Open();
        AudioPcm::instance();
        AudioNet::instance();
        log.Clear();
    }

    // Runs a command and expects the good reply; what it logged.
    std::vector<std::string> Run(const std::string &command) {
        log.Clear();
        EXPECT_EQ(DbusMsgMng::instance()->_FpgaDebug(command), OK) << command;
        return log.Texts();
    }

    static std::vector<std::string> LinesOf(const std::string &text) {
        std::vector<std::string> lines;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = std::min(text.find('\n', at), text.size());
            lines.push_back(text.substr(at, end - at));
            at = end + 1;
        }
        return lines;
    }

    LogCapture log;
    RecordingDirectory recordings{false}; // none: each recording fails and is over at once
};

void ExpectHelp(const std::vector<std::string> &lines) {
    EXPECT_THAT(lines,
                UnorderedElementsAre("D support cmd list : ", "cmd: help                  Usage: Support cmd list ",
                                     "cmd: NodeInfo              Usage: Print modules node Send&Recv count ",
                                     "cmd: PrintSwitch           Usage: fpga pcm debug print switch(1 or 0) ",
                                     "cmd: SaveAudio             Usage: Record pcm audio stream to file "));
}

TEST_F(DbusMsgMngTest, HelpListsTheFourCommands) {
    for (const char *command : {"help", "help_", "help_1_2"}) {
        const auto texts = Run(command);
        ASSERT_EQ(texts.size(), 1u);
        EXPECT_THAT(texts[0], StartsWith("D support cmd list : \n"));
        EXPECT_EQ(texts[0].back(), '\n');
        ExpectHelp(LinesOf(texts[0]));
    }
}

TEST_F(DbusMsgMngTest, AnUnknownCommandIsLoggedAndAnsweredWithTheHelp) {
    for (const std::string command : {"Help", " help", "help ", "PrintSwitc", "{}"}) {
        const auto texts = Run(command + "_1_0");
        ASSERT_EQ(texts.size(), 2u) << command;
        EXPECT_EQ(texts[0], "E cmd: " + command + " not support");
        ExpectHelp(LinesOf(texts[1]));
    }
    for (const char *command : {"_help", "_", "__"})
        EXPECT_THAT(Run(command), Contains("E cmd:  not support")) << command;
}

TEST_F(DbusMsgMngTest, AnEmptyTextIsRefused) {
    EXPECT_EQ(DbusMsgMng::instance()->_FpgaDebug(""), "{\"res\":-1}");
    EXPECT_THAT(log.Texts(), ElementsAre("E strCommand is empty"));
}

TEST_F(DbusMsgMngTest, PerCentSignsReachNoMemory) {
    const auto texts = Run("%s%n%d%p"); // expanded once more, of zeros
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_EQ(texts[0], "E cmd: (null)0(nil) not support");
}

TEST_F(DbusMsgMngTest, ALongCommandIsUnknown) {
    const std::string command(1 << 20, 'x');
    EXPECT_THAT(Run(command), Contains(StartsWith("E cmd: xxx")));
}

TEST_F(DbusMsgMngTest, NodeInfoPrintsBuffersThenNetworkThenPcm) {
    for (const char *command : {"NodeInfo", "NodeInfo_x", "NodeInfo_1_2_3"}) {
        auto texts = Run(command);
        const auto ringLines = std::erase_if(
            texts, [](const std::string &text) { return text.starts_with("D ++++") || text.starts_with("D   "); });
        EXPECT_EQ(ringLines, 12u);
        EXPECT_THAT(texts, ElementsAre(StartsWith("D MODULE: direct 0 "), StartsWith("D MODULE: direct 1 "),
                                       StartsWith("D [Net]SendThread "), StartsWith("D [Net]RecvThread "),
                                       StartsWith("D [Pcm]ReadThread "), StartsWith("D [Pcm]Read "),
                                       StartsWith("D [Pcm]WriteThread "), StartsWith("D [Pcm]Write "),
                                       StartsWith("D Pcm Print switch:")))
            << command;
    }
}

TEST_F(DbusMsgMngTest, PrintSwitchReadsItsArgumentOnlyBeforeAnother) {
    const std::pair<const char *, const char *> cases[] = {
        {"PrintSwitch_1_0", "1"}, {"PrintSwitch_0_0", "0"},  {"PrintSwitch_1_1", "1"},  {"PrintSwitch_0_1", "0"},
        {"PrintSwitch_7_", "1"},  {"PrintSwitch_-1_x", "1"}, {"PrintSwitch_1", "0"},    {"PrintSwitch", "0"},
        {"PrintSwitch_", "0"},    {"PrintSwitch_x", "0"},    {"PrintSwitch_1_0_0", "1"}};
    for (const auto &[command, value] : cases)
        EXPECT_THAT(Run(command), ElementsAre(std::string("D Set Pcm Print switch:") + value)) << command;
}

TEST_F(DbusMsgMngTest, SaveAudioReadsItsArgumentOnlyBeforeAnother) {
    const std::pair<const char *, const char *> cases[] = {
        {"SaveAudio", "10"},           {"SaveAudio_30", "10"},         {"SaveAudio_x", "10"},
        {"SaveAudio_", "10"},          {"SaveAudio_30_0", "30"},       {"SaveAudio_30_", "30"},
        {"SaveAudio_1_30", "1"},       {"SaveAudio_65535_0", "65535"}, {"SaveAudio_65536_0", "0"},
        {"SaveAudio_70000_0", "4464"}, {"SaveAudio_-1_0", "65535"},    {"SaveAudio_2147483647_0", "65535"},
        {"SaveAudio_0x10_0", "0"},     {"SaveAudio_ 7s_0", "7"},       {"SaveAudio_010_0", "10"}};
    for (const auto &[command, seconds] : cases)
        EXPECT_THAT(Run(command), Contains("D Record AudioStream " + std::string(seconds) + "Sec")) << command;
}

TEST_F(DbusMsgMngTest, ANumberThatDoesNotParseThrows) {
    for (const std::string name : {"SaveAudio", "PrintSwitch"}) {
        for (const std::string argument : {"x", "", " ", "-", "%d"})
            EXPECT_THROW(DbusMsgMng::instance()->_FpgaDebug(name + "_" + argument + "_0"), std::invalid_argument);
        for (const std::string argument : {"2147483648", "-2147483649", "99999999999999999999"})
            EXPECT_THROW(DbusMsgMng::instance()->_FpgaDebug(name + "_" + argument + "_0"), std::out_of_range);
    }
    EXPECT_THAT(log.Texts(), IsEmpty());
}

} // namespace
