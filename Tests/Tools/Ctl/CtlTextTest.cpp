// What zrctl sends and refuses, and what it tells about its end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Ctl/CommandList.h"
#include "Ctl/CtlError.h"
#include "Ctl/DebugText.h"

namespace {

// The exit status with which `call` ends.
template <typename Call> int ExitOf(Call call) {
    try {
        call();
        return 0;
    } catch (const CtlError &error) {
        return static_cast<int>(error.Exit());
    }
}

TEST(CtlText, FormsTakeTheirNumber) {
    EXPECT_EQ(zr_ctl_record_text(30), "SaveAudio_30_0");
    EXPECT_EQ(zr_ctl_record_text(65535), "SaveAudio_65535_0");
    EXPECT_EQ(zr_ctl_print_text(true), "PrintSwitch_1_0");
    EXPECT_EQ(zr_ctl_print_text(false), "PrintSwitch_0_0");
}

TEST(CtlText, SecondsAreDigitsInRange) {
    EXPECT_EQ(zr_ctl_parse_seconds("1"), 1);
    EXPECT_EQ(zr_ctl_parse_seconds("65535"), 65535);
    for (const char *wrong : {"", "0", "-1", "+1", " 1", "1 ", "1.5", "1e3", "0x10", "65536", "99999999999", "ten"})
        EXPECT_EQ(ExitOf([&] { zr_ctl_parse_seconds(wrong); }), 2) << wrong;
}

TEST(CtlText, RefusesWhatEndsTheService) {
    for (const char *wrong : {"", "\xff", "SaveAudio_x_y", "SaveAudio__0", "SaveAudio_2147483648_0", "PrintSwitch_on_0",
                              "PrintSwitch__", "PrintSwitch_-_0"})
        EXPECT_EQ(ExitOf([&] { zr_ctl_check_text(wrong); }), 2) << wrong;
}

TEST(CtlText, LetsThroughWhatTheServiceLivesWith) {
    for (const char *right :
         {"help", "_", "Help", "_help", "SaveAudio", "SaveAudio_x", "PrintSwitch_on", "SaveAudio_70000_0",
          "SaveAudio_ 12abc_0", "PrintSwitch_-1_0", "NodeInfo_x_y", "50%", "\u00e4"})
        EXPECT_EQ(ExitOf([&] { zr_ctl_check_text(right); }), 0) << right;
}

TEST(CtlText, CommandListOfTheService) {
    const auto commands = ParseCommandList("support cmd list : \n"
                                           "cmd: SaveAudio             Usage: Record pcm audio stream to file \n"
                                           "cmd: help                  Usage: Support cmd list \n");
    ASSERT_EQ(commands.size(), 2u);
    EXPECT_EQ(commands[0].name, "SaveAudio");
    EXPECT_EQ(commands[0].description, "Record pcm audio stream to file");
    EXPECT_EQ(commands[1].name, "help");
    EXPECT_EQ(commands[1].description, "Support cmd list");
    EXPECT_TRUE(ParseCommandList("anything else").empty());
}

TEST(CtlText, EveryExitStatusIsInTheTable) {
    const std::string table = zr_ctl_exit_table();
    for (const char *row : {"\n    0  done\n", "\n    2  ", "\n   12  ", "\n  130  "})
        EXPECT_THAT(table, testing::HasSubstr(row));
}

} // namespace
