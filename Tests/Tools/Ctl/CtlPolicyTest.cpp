// The policy for the system bus, as it is delivered, tried by root, by a member of the
// group audio and by a stranger.
#include <fstream>
#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "CtlProgram.h"
#include "Support/BusClient.h"
#include "Support/BusDaemon.h"
#include "Support/ScratchDir.h"

using testing::HasSubstr;

namespace {

constexpr const char *DELIVERED = ZR_SOURCE_DIR "/Deploy/dbus/org.FpgaMng.server.conf";
constexpr const char *NAME = "org.FpgaMng.server";
constexpr const char *PATH = "/org/FpgaMng/object";
constexpr const char *INTERFACE = "org.FpgaMng.interface";
constexpr const char *METHOD = "audio_dbus_method_FpgaMngDebug";
constexpr const char *DENIED = "org.freedesktop.DBus.Error.AccessDenied";
constexpr const char *RELATIVE_ADDRESS = "unix:path=bus.socket"; // others may not enter the directories above

// What a usual system bus allows before any service's own policy.
constexpr const char *SYSTEM_POLICY =
    "<policy context=\"default\">\n"
    "<allow user=\"*\"/><deny own=\"*\"/><deny send_type=\"method_call\"/><allow send_type=\"signal\"/>\n"
    "<allow send_requested_reply=\"true\" send_type=\"method_return\"/>\n"
    "<allow send_requested_reply=\"true\" send_type=\"error\"/>\n"
    "<allow receive_type=\"method_call\"/><allow receive_type=\"method_return\"/>\n"
    "<allow receive_type=\"error\"/><allow receive_type=\"signal\"/>\n"
    "<allow send_destination=\"org.freedesktop.DBus\" send_interface=\"org.freedesktop.DBus\"/>\n"
    "</policy>";

// On a bus that allows everything else, and on a usual one.
class CtlPolicy : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override {
        if (!CanBecomeOthers())
            GTEST_SKIP() << ONE_USER_ONLY;
        ASSERT_EQ(chmod(m_directory.Path().c_str(), 0711), 0);
        StartBus(DELIVERED);
    }

    // Starts the bus, anew when it runs, with the policy in `file`.
    void StartBus(const std::string &file) {
        m_bus.reset();
        m_bus.emplace(std::string(GetParam() == "Open" ? BusDaemon::OPEN_POLICY : SYSTEM_POLICY) + "\n<include>" +
                      file + "</include>");
    }

    // The service's place on the bus, taken by the test.
    void OwnName() {
        m_service.emplace(m_bus->Address());
        ASSERT_EQ(m_service->RequestName(NAME, 0), DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER);
    }

    static std::string Call(const std::string &name, const char *path = PATH, const char *interface = INTERFACE,
                            const char *method = METHOD) {
        return BusClient(RELATIVE_ADDRESS).Call(name.c_str(), path, interface, method, "help");
    }

    // Sends a signal of the method's name to the service; the name of the bus's error.
    static std::string Signal() {
        BusClient sender(RELATIVE_ADDRESS);
        const BusMessage signal(dbus_message_new_signal(PATH, INTERFACE, METHOD), dbus_message_unref);
        dbus_message_set_destination(signal.get(), NAME);
        const BusMessage error = sender.ReceiveReply(sender.Send(signal.get()));
        return error ? dbus_message_get_error_name(error.get()) : "no error";
    }

    // Answers the next call as the service would; false when none comes.
    bool AnswerOne() {
        const BusMessage call = m_service->ReceiveCall(METHOD);
        if (call)
            m_service->Reply(call.get(), "{\"res\":0}");
        return call != nullptr;
    }

    // What `user` gets when it asks for the name.
    static std::string Own(User user) {
        return AsUser(user,
                      [] {
                          const int reply = BusClient(RELATIVE_ADDRESS).RequestName(NAME, 0);
                          return std::string(reply == DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER ? "owner" : "not owner");
                      })
            .Result();
    }

    ScratchDir m_directory;
    std::optional<BusDaemon> m_bus;
    std::optional<BusClient> m_service;
};

// The service's user is none of this machine's: a stranger stands for it.
TEST_P(CtlPolicy, TheServicesUserOwnsTheName) {
    std::string policy = ReadWholeFile(DELIVERED);
    const std::string user = "user=\"zrfpgamng\"";
    ASSERT_THAT(policy, HasSubstr(user));
    policy.replace(policy.find(user), user.size(), "user=\"" + std::to_string(NOBODY) + "\"");
    std::ofstream("service.conf") << policy;
    StartBus(m_directory.Path() + "/service.conf");
    EXPECT_EQ(Own(User::Stranger), "owner");
}

TEST_P(CtlPolicy, NobodyElseOwnsTheName) {
    EXPECT_THAT(Own(User::Stranger), HasSubstr("not allowed to own"));
    EXPECT_THAT(Own(User::AudioMember), HasSubstr("not allowed to own"));
    OwnName();
}

TEST_P(CtlPolicy, RootCalls) {
    OwnName();
    BusClient caller(m_bus->Address());
    const dbus_uint32_t serial = caller.Send(NAME, PATH, INTERFACE, METHOD, "help");
    ASSERT_TRUE(AnswerOne());
    const BusMessage reply = caller.ReceiveReply(serial);
    ASSERT_TRUE(reply);
    EXPECT_EQ(FirstString(reply.get()), "{\"res\":0}");
}

TEST_P(CtlPolicy, AMemberOfTheGroupCalls) {
    OwnName();
    AsUser member(User::AudioMember, [] { return Call(NAME); });
    EXPECT_TRUE(AnswerOne());
    EXPECT_EQ(member.Result(), "{\"res\":0}");
}

TEST_P(CtlPolicy, AStrangerIsDenied) {
    OwnName();
    EXPECT_EQ(AsUser(User::Stranger, [] { return Call(NAME); }).Result(), DENIED);
    const std::string unique = m_service->UniqueName();
    EXPECT_EQ(AsUser(User::Stranger, [&] { return Call(unique); }).Result(), DENIED);
}

TEST_P(CtlPolicy, NothingButTheMethodIsAllowed) {
    OwnName();
    for (const User user : {User::Stranger, User::AudioMember}) {
        EXPECT_EQ(AsUser(user, [] { return Call(NAME, "/other"); }).Result(), DENIED);
        EXPECT_EQ(AsUser(user, [] { return Call(NAME, PATH, "org.other.interface"); }).Result(), DENIED);
        EXPECT_EQ(AsUser(user, [] { return Call(NAME, PATH, INTERFACE, "other"); }).Result(), DENIED);
        EXPECT_EQ(AsUser(user, Signal).Result(), DENIED);
    }
    EXPECT_EQ(Call(NAME, PATH, INTERFACE, "other"), DENIED); // root, too
}

TEST_P(CtlPolicy, ZrctlTellsADenialInOneLine) {
    OwnName();
    const CtlEnd end = RunCtlAs(User::Stranger, {"raw", "help"});
    EXPECT_EQ(end.status, 6);
    EXPECT_EQ(end.output, "");
    EXPECT_EQ(end.errors, "zrctl: denied: the bus's policy lets only root and the group audio call the service\n");
}

INSTANTIATE_TEST_SUITE_P(Bus, CtlPolicy, testing::Values("Open", "System"),
                         [](const auto &test) { return test.param; });

} // namespace
