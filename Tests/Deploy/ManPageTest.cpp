// The manual pages: clean for mandoc, and no option of a program is left out.
#include <regex>

#include <gmock/gmock.h>

#include "DeployFixture.h"
#include "ServiceFixture.h"

using testing::HasSubstr;

namespace {

class DeployManPage : public Deploy {
  protected:
    static std::string Page(const std::string &name) { return Source("Docs/man/" + name); }

    // The page as plain text of one line.
    static std::string Text(const std::string &name) {
        return RunShell("mandoc -Tascii -O width=400 " + Page(name) + " | sed -e 's/.\\x08//g'").output;
    }

    // Options and commands that a help text declares.
    static std::set<std::string> Declared(const std::string &help) {
        static const std::regex name("(^|[ ,])(--[a-z][a-z-]*)");
        std::set<std::string> names;
        for (std::sregex_iterator match(help.begin(), help.end(), name), end; match != end; ++match)
            names.insert((*match)[2]);
        return names;
    }

    // Every option that the program with `arguments` and --help shows stands in the page.
    static void ExpectOptions(const std::string &page, const std::string &program,
                              std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), ZR_BINARY_DIR "/bin/" + program);
        arguments.push_back("--help");
        const std::string text = Text(page);
        const CommandEnd help = RunProgram(arguments);
        ASSERT_EQ(help.status, 0) << help.errors;
        const auto names = Declared(help.output);
        EXPECT_TRUE(names.contains("--help")) << help.output;
        for (const std::string &name : names)
            EXPECT_TRUE(text.find(name) != text.npos) << page << " lacks " << name << " of\n" << help.output;
    }
};

TEST_F(DeployManPage, AllAreClean) {
    for (const char *page : {"zrfpgamng.8", "zrctl.1", "zrpeer.1", "zrcard.1", "zrdesk.1"}) {
        const CommandEnd end = RunShell("mandoc -Tlint -W warning " + Page(page));
        EXPECT_EQ(end.status, 0) << end.output << end.errors;
    }
}

TEST_F(DeployManPage, PeerPageHasEveryCommandAndOption) {
    for (const char *command : {"receive", "send", "loop", "control", "debug", "rates"}) {
        EXPECT_THAT(Text("zrpeer.1"), HasSubstr(std::string("zrpeer ") + command));
        ExpectOptions("zrpeer.1", "zrpeer", {command});
    }
}

TEST_F(DeployManPage, CardPageHasEveryCommandAndOption) {
    for (const char *command :
         {"create", "status", "plug", "unplug", "busy", "fault", "tags", "speed", "stop", "start", "advance"}) {
        EXPECT_THAT(Text("zrcard.1"), HasSubstr(command));
        ExpectOptions("zrcard.1", "zrcard", {"any", command});
    }
}

TEST_F(DeployManPage, DeskPageHasEveryOption) {
    ExpectOptions("zrdesk.1", "zrdesk");
}

TEST_F(DeployManPage, ServicePageHasItsPathsAndSignals) {
    const std::string text = Text("zrfpgamng.8");
    for (const char *word : {TO_PEER, FROM_PEER, CONTROL, "/firmware/log/ZRFpgaMng/system.log", "org.FpgaMng.server",
                             "audio_dbus_method_FpgaMngDebug", "DEBUG_LOG_LEVEL", "SIGTERM", "SIGABRT"})
        EXPECT_THAT(text, HasSubstr(word));
}

} // namespace
