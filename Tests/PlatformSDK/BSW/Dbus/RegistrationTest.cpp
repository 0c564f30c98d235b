// The table of services: what is added, refused and removed.
#include <cstdio>
#include <string>

#include "DbusFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Registering needs no bus.
class RegistrationTest : public testing::Test {
  protected:
    static int Add(const char *object, const char *interface, const char *method, PFN_DBUS_INVOKE handler = Echo) {
        return CDbusHandler::instance()->RegisteredServices(object, interface, method, handler, false);
    }

    static int Remove(const char *object, const char *interface, const char *method) {
        return CDbusHandler::instance()->UnRegisteredServices(object, interface, method);
    }

    // The methods of the table, in its order.
    static std::vector<std::string> Methods() {
        std::vector<std::string> methods;
        for (const DBUS_SERVICES &service : DbusHandlerProbe::Services())
            methods.push_back(service.pstrMethod);
        return methods;
    }

    static std::string Pointer(const void *pointer) {
        char text[32];
        std::snprintf(text, sizeof text, "%p", pointer);
        return text;
    }

    LogCapture m_log;
};

} // namespace

TEST_F(RegistrationTest, KeepsTheCallersPointersInOrder) {
    char method[] = "a";
    EXPECT_EQ(Add(PATH, INTERFACE, method), 1);
    EXPECT_EQ(Add(PATH, INTERFACE, "b", KeepFirst), 1);
    EXPECT_EQ(Add(PATH, INTERFACE, method), 1); // the same once more
    const std::vector<DBUS_SERVICES> services = DbusHandlerProbe::Services();
    ASSERT_EQ(services.size(), 3u);
    EXPECT_EQ(services[0].pstrObjectName, PATH);
    EXPECT_EQ(services[0].pstrInterface, INTERFACE);
    EXPECT_EQ(services[0].pstrMethod, method);
    EXPECT_EQ(services[0].pfnInvoke, &Echo);
    EXPECT_EQ(services[1].pfnInvoke, &KeepFirst);
    EXPECT_EQ(services[2].pstrMethod, method);
    EXPECT_THAT(m_log.Texts(), IsEmpty());
}

TEST_F(RegistrationTest, AnyNullArgumentIsRefused) {
    EXPECT_EQ(Add(nullptr, INTERFACE, "m"), 0);
    EXPECT_EQ(Add(PATH, nullptr, "m"), 0);
    EXPECT_EQ(Add(PATH, INTERFACE, nullptr), 0);
    EXPECT_EQ(Add(PATH, INTERFACE, "m", nullptr), 0);
    EXPECT_THAT(DbusHandlerProbe::Services(), IsEmpty());
    ASSERT_EQ(m_log.Texts().size(), 4u);
    EXPECT_EQ(m_log.Texts()[1], "E RegisteredServices param wrong pstrObjectName:" + Pointer(PATH) +
                                    " pstrtInterface:(nil) pstrMethod:" + Pointer("m") +
                                    " pfnRegistrationCallback:" + Pointer(reinterpret_cast<void *>(&Echo)));
    EXPECT_THAT(m_log.Texts()[3], testing::EndsWith(" pfnRegistrationCallback:(nil)"));
}

TEST_F(RegistrationTest, RemovalWithANullArgumentIsRefused) {
    EXPECT_EQ(Remove(nullptr, INTERFACE, "m"), 0);
    EXPECT_EQ(Remove(PATH, nullptr, "m"), 0);
    EXPECT_EQ(Remove(PATH, INTERFACE, nullptr), 0);
    ASSERT_EQ(m_log.Texts().size(), 3u);
    EXPECT_EQ(m_log.Texts()[2], "E UnRegisteredServices param wrong pstrObjectName:" + Pointer(PATH) +
                                    " pstrtInterface:" + Pointer(INTERFACE) + " pstrMethod:(nil) ");
}

TEST_F(RegistrationTest, RemovalOfTheExactEntryLeavesIt) {
    Add(PATH, INTERFACE, "m");
    EXPECT_EQ(Remove(PATH, INTERFACE, "m"), 1);
    EXPECT_THAT(Methods(), ElementsAre("m"));
}

TEST_F(RegistrationTest, RemovalTakesTheOtherMethodsOfTheObject) {
    for (const char *method : {"a", "b", "keep", "c", "d"})
        Add(PATH, INTERFACE, method);
    Add("/org/test/other", INTERFACE, "e");
    EXPECT_EQ(Remove(PATH, INTERFACE, "keep"), 1); // neighbours go together
    EXPECT_THAT(Methods(), ElementsAre("keep", "e"));
}

TEST_F(RegistrationTest, RemovalIgnoresTheInterface) {
    Add(PATH, INTERFACE, "a");
    EXPECT_EQ(Remove(PATH, "org.test.unknown", "b"), 1);
    EXPECT_THAT(Methods(), IsEmpty());
}

TEST_F(RegistrationTest, RemovalKeepsAnEntryWhoseInterfaceIsTheObjectName) {
    Add(PATH, PATH, "a");
    Add(PATH, INTERFACE, "b");
    EXPECT_EQ(Remove(PATH, INTERFACE, "c"), 1);
    EXPECT_THAT(Methods(), ElementsAre("a"));
}

TEST_F(RegistrationTest, RemovalComparesTextsNotPointers) {
    Add(PATH, INTERFACE, "a");
    Add(PATH, INTERFACE, "b");
    const std::string path = PATH;
    const std::string method = "b";
    EXPECT_EQ(Remove(path.c_str(), INTERFACE, method.c_str()), 1);
    EXPECT_THAT(Methods(), ElementsAre("b"));
    EXPECT_EQ(Remove("/org/test/objec", INTERFACE, "x"), 1);
    EXPECT_THAT(Methods(), ElementsAre("b"));
}

TEST_F(RegistrationTest, IsNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<CDbusHandler>);
    EXPECT_FALSE(std::is_copy_assignable_v<CDbusHandler>);
    EXPECT_EQ(CDbusHandler::instance(), CDbusHandler::instance());
}
