// A network interface's addresses and state: the loopback interface as it is anywhere, and
// interfaces of the test's own.
#include "NetTest.h"

#include "Support/WaitUntil.h"

namespace {

using Getter = ZR_S32 (*)(const ZR_S8 *, ZR_S8 *, ZR_S32);

std::string Get(Getter getter, const char *face) {
    Buffer<16> text;
    return getter(Text(face), text, 16) == 0 ? text.Str() : "failed";
}

ZR_S32 GetMac(const ZR_S8 *face, ZR_S8 *mac, ZR_S32 size) {
    return zr_get_localmacaddr(face, mac, size, ':');
}

std::string MacOf(const char *face) {
    Buffer<18> text;
    return GetMac(Text(face), text, 18) == 0 ? text.Str() : "failed";
}

ZR_S32 LinkOf(const char *face) {
    ZR_S32 status = 7;
    return zr_get_linkstatus(Text(face), &status) == 0 ? status : -1;
}

class ZrSocketLoopback : public SocketTest {};
class ZrSocketInterface : public NetTest {
  protected:
    bool _Shows(const std::string &arguments, const std::string &text) {
        return NetNamespace::IpOutput(arguments).find(text) != std::string::npos;
    }
};

} // namespace

TEST_F(ZrSocketLoopback, AddressesAndState) {
    EXPECT_EQ(Get(zr_get_localipaddr, "lo"), "127.0.0.1");
    EXPECT_EQ(Get(zr_get_localnetmask, "lo"), "255.0.0.0");
    EXPECT_EQ(MacOf("lo"), "00:00:00:00:00:00");
    EXPECT_EQ(LinkOf("lo"), 1);
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketLoopback, InterfacesThatDoNotExist) {
    EXPECT_EQ(Get(zr_get_localipaddr, "fifteen-letters"), "failed");
    EXPECT_EQ(_Logged(), "E SIOCGIFADDR failure, errno = 19!");
    EXPECT_EQ(Get(zr_get_localnetmask, "fifteen-letters"), "failed");
    EXPECT_EQ(_Logged(), "E SIOCGIFNETMASK failure, errno = 19!");
    EXPECT_EQ(MacOf("fifteen-letters"), "failed");
    EXPECT_EQ(_Logged(), "E SIOCGIFHWADDR failure, errno = 19!");
    EXPECT_EQ(LinkOf("fifteen-letters"), -1);
    EXPECT_EQ(_Logged(), "E SIOCGIFFLAGS failure, errno = 19!");
}

TEST_F(ZrSocketLoopback, GettersRefuseBadParameters) {
    Buffer<32> text;
    ZR_S32 status = 7;
    const std::string endless(100000, 'x');
    for (const Getter getter : {zr_get_localipaddr, zr_get_localnetmask, GetMac}) {
        for (const char *face : {"", "sixteen-letters!", endless.c_str()})
            EXPECT_EQ(getter(Text(face), text, 32), -1);
        EXPECT_EQ(getter(nullptr, text, 32), -1);
        EXPECT_EQ(getter(Text("lo"), nullptr, 32), -1);
        EXPECT_EQ(getter(Text("lo"), text, 0), -1);
        EXPECT_EQ(getter(Text("lo"), text, -32), -1);
        EXPECT_EQ(m_log.Texts(), std::vector<std::string>(7, "E bad parameters!"));
        m_log.Clear();
    }
    EXPECT_EQ(zr_get_linkstatus(Text("lo"), nullptr), -1);
    EXPECT_EQ(zr_get_linkstatus(nullptr, &status), -1);
    EXPECT_EQ(zr_get_linkstatus(Text("sixteen-letters!"), &status), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(3, "E bad parameters!"));
    EXPECT_EQ(status, 7);
    EXPECT_TRUE(text.Untouched());
}

TEST_F(ZrSocketLoopback, TextsThatJustFit) {
    Buffer<32> text;
    EXPECT_EQ(zr_get_localipaddr(Text("lo"), text, 9), -1);
    EXPECT_EQ(zr_get_localnetmask(Text("lo"), text, 9), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(2, "E address buffer of 9 bytes too small!"));
    EXPECT_EQ(GetMac(Text("lo"), text, 17), -1);
    EXPECT_TRUE(text.Untouched());
    EXPECT_EQ(zr_get_localipaddr(Text("lo"), text, 10), 0);
    EXPECT_EQ(text.Str(), "127.0.0.1");
    EXPECT_TRUE(text.Untouched(10));
}

TEST_F(ZrSocketLoopback, SettersRefuseBadParameters) {
    for (const auto set : {zr_set_localipaddr, zr_set_localnetmask, zr_set_localmacaddr}) {
        EXPECT_EQ(set(Text("lo"), nullptr), -1);
        EXPECT_EQ(set(Text("lo"), Text("")), -1);
        EXPECT_EQ(set(Text("lo"), Text("300.1.1.1")), -1);
        EXPECT_EQ(m_log.Texts(), std::vector<std::string>(3, "E bad parameters!"));
        m_log.Clear();
    }
    EXPECT_EQ(zr_set_localipaddr(nullptr, Text("127.0.0.1")), -1);
    EXPECT_EQ(zr_set_localnetmask(Text("sixteen-letters!"), Text("255.0.0.0")), -1);
    EXPECT_EQ(zr_set_localmacaddr(Text(""), Text("02:00:00:00:00:07")), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(3, "E bad parameters!"));
}

TEST_F(ZrSocketInterface, ReadsWhatTheSystemHas) {
    EXPECT_EQ(Get(zr_get_localipaddr, "zr0"), "10.77.0.1");
    EXPECT_EQ(Get(zr_get_localnetmask, "zr0"), "255.255.255.0");
    EXPECT_EQ(MacOf("zr0"), "02:00:00:00:00:01");
    EXPECT_EQ(MacOf("zr1"), "02:00:00:00:00:02");
    EXPECT_EQ(_Logged(), "");
    EXPECT_EQ(Get(zr_get_localipaddr, "zr1"), "failed");
    EXPECT_EQ(_Logged(), "E SIOCGIFADDR failure, errno = 99!");
    EXPECT_EQ(Get(zr_get_localnetmask, "zr1"), "failed");
    EXPECT_EQ(_Logged(), "E SIOCGIFNETMASK failure, errno = 99!");
}

TEST_F(ZrSocketInterface, SetsAddressAndNetmask) {
    ASSERT_EQ(zr_set_localipaddr(Text("zr1"), Text("10.78.1.2")), 0);
    EXPECT_TRUE(_Shows("address show dev zr1", "inet 10.78.1.2/8"));
    ASSERT_EQ(zr_set_localnetmask(Text("zr1"), Text("255.255.240.0")), 0);
    EXPECT_TRUE(_Shows("address show dev zr1", "inet 10.78.1.2/20"));
    EXPECT_EQ(Get(zr_get_localipaddr, "zr1"), "10.78.1.2");
    EXPECT_EQ(Get(zr_get_localnetmask, "zr1"), "255.255.240.0");
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketInterface, SetsTheHardwareAddress) {
    ASSERT_TRUE(NetNamespace::Ip("link set zr1 down\n"));
    ASSERT_EQ(zr_set_localmacaddr(Text("zr1"), Text("02-00-00-AB-cd-77")), 0);
    EXPECT_TRUE(_Shows("link show dev zr1", "link/ether 02:00:00:ab:cd:77"));
    EXPECT_EQ(MacOf("zr1"), "02:00:00:ab:cd:77");
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketInterface, SettersReportTheirFailures) {
    EXPECT_EQ(zr_set_localipaddr(Text("nobody"), Text("10.1.1.1")), -1);
    EXPECT_EQ(_Logged(), "E SIOCSIFADDR failure, errno = 19!");
    EXPECT_EQ(zr_set_localnetmask(Text("zr1"), Text("255.0.0.0")), -1); // has no address
    EXPECT_EQ(_Logged(), "E SIOCSIFNETMASK failure, errno = 99!");
    EXPECT_EQ(zr_set_localnetmask(Text("zr0"), Text("255.0.255.0")), -1); // no netmask
    EXPECT_EQ(_Logged(), "E SIOCSIFNETMASK failure, errno = 22!");
    EXPECT_EQ(zr_set_localmacaddr(Text("zr1"), Text("01:00:00:00:00:07")), -1); // a group
    EXPECT_EQ(_Logged(), "E SIOCSIFHWADDR failure, errno = 99!");
    EXPECT_EQ(MacOf("zr1"), "02:00:00:00:00:02");
}

TEST_F(ZrSocketInterface, LinkState) {
    EXPECT_TRUE(WaitUntil([] { return LinkOf("zr0") == 1; }));
    ASSERT_TRUE(NetNamespace::Ip("link set zr1 down\n")); // the cable's other end
    EXPECT_TRUE(WaitUntil([] { return LinkOf("zr0") == 0; }));
    EXPECT_EQ(LinkOf("zr1"), 0);
    ASSERT_TRUE(NetNamespace::Ip("link set zr1 up\n"));
    EXPECT_TRUE(WaitUntil([] { return LinkOf("zr0") == 1; }));
    ASSERT_TRUE(NetNamespace::Ip("link set zr0 down\n"));
    EXPECT_EQ(LinkOf("zr0"), 0);
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketInterface, HardwareAddressOfAnInterfaceThatIsNotEthernet) {
    if (!NetNamespace::Ip("tuntap add mode tun name zrtun\n"))
        GTEST_SKIP() << "no tunnel interfaces";
    EXPECT_EQ(MacOf("zrtun"), "failed");
    EXPECT_EQ(_Logged(), "E no Ethernet interface, kind 65534!");
}
