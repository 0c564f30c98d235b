// Wrong use of zrpeer: one line on stderr, nothing on stdout, exit status 2.
#include <algorithm>

#include "Tools/PeerTool/ToolFixture.h"

namespace {

struct WrongUse {
    std::vector<std::string> arguments;
    std::string text;
};

class Usage : public ToolFixture {};

TEST_F(Usage, WrongUseGetsOneLineAndStatusTwo) {
    const std::vector<WrongUse> uses{
        {{}, "A subcommand is required"},
        {{"play"}, "'play' is no command"},
        {{"receive"}, "Exactly 1 option from [--file,--each] is required"},
        {{"receive", "--file", "a", "--each", "b"},
         "Exactly 1 option from [--file,--each] is required and 2 were given"},
        {{"receive", "--file", "a", "--seconds", "0"}, "--seconds: '0' is not a number above 0"},
        {{"loop", "--seconds", "-1"}, "--seconds: '-1' is not a number above 0"},
        {{"loop", "more"}, "The following argument was not expected: more"},
        {{"send", "--file", "25=a.wav"}, "--file: '25=a.wav' is not CHANNEL=FILE with a channel of 1 to 24"},
        {{"send", "--file", "0=a.wav"}, "--file: '0=a.wav' is not CHANNEL=FILE with a channel of 1 to 24"},
        {{"send", "--file", "a.wav"}, "--file: 'a.wav' is not CHANNEL=FILE with a channel of 1 to 24"},
        {{"send", "--file", "3="}, "--file: '3=' is not CHANNEL=FILE with a channel of 1 to 24"},
        {{"send", "--tone", "3=8000"},
         "--tone: '3=8000' is not CHANNEL=HERTZ with a channel of 1 to 24 and a tone below 8000 Hz"},
        {{"control"}, "action is required"},
        {{"control", "toggle", "3"}, "action: toggle not in {open,close}"},
        {{"control", "open"}, "channel is required"},
        {{"control", "open", "256"}, "channel: Value 256 not in range 0 to 255"},
        {{"debug"}, "number is required"},
        {{"debug", "-1"}, "number: Value -1 not in range 0 to 255"},
        {{"rates", "--gap", "x"}, "--gap: 'x' is not a number above 0"},
    };
    for (const WrongUse &use : uses) {
        Start("use", use.arguments);
        ExpectEnd(2, "", "zrpeer: " + use.text + " (zrpeer --help tells more)\n");
    }
}

TEST_F(Usage, EveryCommandHasHelp) {
    Start("help", {"--help"});
    EXPECT_EQ(m_tool->Wait().code, 0);
    const std::string overview = m_tool->Stdout();
    for (const char *command : {"receive", "send", "loop", "control", "debug", "rates"}) {
        EXPECT_NE(overview.find(std::string("\n  ") + command + " "), std::string::npos) << command;
        Start("help", {command, "--help"});
        EXPECT_EQ(m_tool->Wait().code, 0);
        EXPECT_NE(m_tool->Stdout().find(std::string("Usage: zrpeer ") + command), std::string::npos) << command;
        EXPECT_EQ(m_tool->Stderr(), "");
    }
}

TEST_F(Usage, FilesThatCannotBeUsedAreNamed) {
    Start("send", {"send", "--file", "3=absent.wav"});
    ExpectEnd(1, "", "zrpeer: absent.wav: No such file or directory\n");
    Start("receive", {"receive", "--file", "absent/all.wav"});
    ExpectEnd(1, "", "zrpeer: absent/all.wav: No such file or directory\n");
    Start("each", {"receive", "--each", "absent/each"});
    ExpectEnd(1, "", "zrpeer: absent/each: No such file or directory\n");
    Start("rates", {"rates", "--card", "absent.card"});
    ExpectEnd(1, "", "zrpeer: absent.card is not the control file of a stand-in card\n");
}

} // namespace
