// The routing table, of a network of the test's own.
#include "NetTest.h"

namespace {

class ZrSocketRoute : public NetTest {
  protected:
    std::string _Gateway(const char *destination, const char *mask, const char *face = "zr0") {
        Buffer<16> text;
        const bool found = zr_get_localgatewayip(Text(face), Text(destination), Text(mask), text, 16) == 0;
        EXPECT_TRUE(found || text.Untouched());
        return found ? text.Str() : "failed";
    }

    ZR_S32 _Set(const char *destination, const char *mask, const char *gateway, const char *face = "zr0") {
        return zr_set_localgatewayip(Text(face), Text(destination), Text(mask), Text(gateway));
    }

    // What the system shows for a route, without blanks at the end of a line.
    std::string _Shown(const std::string &destination) {
        std::string text = NetNamespace::IpOutput("route show " + destination);
        for (std::size_t at = text.find(" \n"); at != std::string::npos; at = text.find(" \n"))
            text.erase(at, 1);
        return text;
    }
};

} // namespace

TEST_F(ZrSocketRoute, SetsTheDefaultGateway) {
    EXPECT_EQ(_Gateway("0.0.0.0", "0.0.0.0"), "failed");
    EXPECT_EQ(_Logged(), "E no such route!");
    ASSERT_EQ(_Set("0.0.0.0", "0.0.0.0", "10.77.0.2"), 0);
    EXPECT_EQ(_Shown("default"), "default via 10.77.0.2 dev zr0\n");
    EXPECT_EQ(_Gateway("0.0.0.0", "0.0.0.0"), "10.77.0.2");
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketRoute, ReplacesARouteAndNoOther) {
    ASSERT_TRUE(NetNamespace::Ip("route add 10.90.0.0/16 via 10.77.0.3 dev zr0\n"
                                 "route add 10.90.1.0/24 via 10.77.0.4 dev zr0\n"));
    ASSERT_EQ(_Set("10.90.0.0", "255.255.0.0", "10.77.0.5"), 0);
    EXPECT_EQ(_Shown("10.90.0.0/16"), "10.90.0.0/16 via 10.77.0.5 dev zr0\n");
    EXPECT_EQ(_Shown("10.90.1.0/24"), "10.90.1.0/24 via 10.77.0.4 dev zr0\n");
    ASSERT_EQ(_Set("10.90.0.0", "255.255.0.0", "10.77.0.5"), 0); // the same again
    EXPECT_EQ(_Shown("10.90.0.0/16"), "10.90.0.0/16 via 10.77.0.5 dev zr0\n");
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketRoute, SetsARouteToOneHost) {
    ASSERT_EQ(_Set("10.91.0.7", "255.255.255.255", "10.77.0.6"), 0);
    EXPECT_EQ(_Shown("10.91.0.7"), "10.91.0.7 via 10.77.0.6 dev zr0\n");
    EXPECT_EQ(_Gateway("10.91.0.7", "255.255.255.255"), "10.77.0.6");
}

TEST_F(ZrSocketRoute, FindsTheGatewayByInterfaceDestinationAndMask) {
    ASSERT_TRUE(NetNamespace::Ip("address add 10.78.0.1/24 dev zr1\n"
                                 "route add default via 10.77.0.2 dev zr0\n"
                                 "route add default via 10.78.0.9 dev zr1 metric 50\n"
                                 "route add 10.90.0.0/16 via 10.77.0.3 dev zr0\n"
                                 "route add 10.90.0.0/24 via 10.77.0.200 dev zr0\n"));
    EXPECT_EQ(_Gateway("0.0.0.0", "0.0.0.0"), "10.77.0.2");
    EXPECT_EQ(_Gateway("0.0.0.0", "0.0.0.0", "zr1"), "10.78.0.9");
    EXPECT_EQ(_Gateway("10.90.0.0", "255.255.0.0"), "10.77.0.3");
    EXPECT_EQ(_Gateway("10.90.0.0", "255.255.255.0"), "10.77.0.200");
    EXPECT_EQ(_Logged(), "");
    EXPECT_EQ(_Gateway("10.90.0.0", "255.0.0.0"), "failed");
    EXPECT_EQ(_Gateway("10.91.0.0", "255.255.0.0"), "failed");
    EXPECT_EQ(_Gateway("10.90.0.0", "255.255.0.0", "zr1"), "failed");
    EXPECT_EQ(_Gateway("10.77.0.0", "255.255.255.0"), "failed"); // without a gateway
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(4, "E no such route!"));
}

TEST_F(ZrSocketRoute, GatewayTextThatJustFits) {
    ASSERT_EQ(_Set("0.0.0.0", "0.0.0.0", "10.77.0.2"), 0);
    Buffer<16> text;
    const ZR_S8 *zero = Text("0.0.0.0");
    EXPECT_EQ(zr_get_localgatewayip(Text("zr0"), zero, zero, text, 9), -1);
    EXPECT_EQ(_Logged(), "E address buffer of 9 bytes too small!");
    EXPECT_TRUE(text.Untouched());
    EXPECT_EQ(zr_get_localgatewayip(Text("zr0"), zero, zero, text, 10), 0);
    EXPECT_EQ(text.Str(), "10.77.0.2");
    EXPECT_TRUE(text.Untouched(10));
}

TEST_F(ZrSocketRoute, ReportsRoutesThatCannotBeSet) {
    EXPECT_EQ(_Set("0.0.0.0", "0.0.0.0", "10.200.0.1"), -1); // out of reach
    EXPECT_EQ(_Logged(), "E SIOCADDRT failure, errno = 101!");
    EXPECT_EQ(_Set("10.90.0.1", "255.255.0.0", "10.77.0.2"), -1); // bits outside the mask
    EXPECT_EQ(_Logged(), "E SIOCDELRT failure, errno = 22!");
    EXPECT_EQ(_Set("0.0.0.0", "0.0.0.0", "10.77.0.2", "nobody"), -1);
    EXPECT_EQ(_Logged(), "E SIOCDELRT failure, errno = 19!");
    EXPECT_EQ(_Shown("default"), "");
}

TEST_F(ZrSocketRoute, RefusesBadParameters) {
    for (const char *bad : {"", "1.2.3", "256.0.0.0", "zr0"}) {
        EXPECT_EQ(_Set(bad, "0.0.0.0", "10.77.0.2"), -1);
        EXPECT_EQ(_Set("0.0.0.0", bad, "10.77.0.2"), -1);
        EXPECT_EQ(_Set("0.0.0.0", "0.0.0.0", bad), -1);
        EXPECT_EQ(_Gateway(bad, "0.0.0.0"), "failed");
        EXPECT_EQ(_Gateway("0.0.0.0", bad), "failed");
    }
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(20, "E bad parameters!"));
    m_log.Clear();
    Buffer<16> text;
    const ZR_S8 *face = Text("zr0"), *zero = Text("0.0.0.0"), *gateway = Text("10.77.0.2");
    EXPECT_EQ(zr_set_localgatewayip(nullptr, zero, zero, gateway), -1);
    EXPECT_EQ(zr_set_localgatewayip(Text("sixteen-letters!"), zero, zero, gateway), -1);
    EXPECT_EQ(zr_set_localgatewayip(face, nullptr, zero, gateway), -1);
    EXPECT_EQ(zr_set_localgatewayip(face, zero, nullptr, gateway), -1);
    EXPECT_EQ(zr_set_localgatewayip(face, zero, zero, nullptr), -1);
    EXPECT_EQ(zr_get_localgatewayip(nullptr, zero, zero, text, 16), -1);
    EXPECT_EQ(zr_get_localgatewayip(face, nullptr, zero, text, 16), -1);
    EXPECT_EQ(zr_get_localgatewayip(face, zero, nullptr, text, 16), -1);
    EXPECT_EQ(zr_get_localgatewayip(face, zero, zero, nullptr, 16), -1);
    EXPECT_EQ(zr_get_localgatewayip(face, zero, zero, text, 0), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(10, "E bad parameters!"));
    EXPECT_EQ(_Shown("default"), "");
}
