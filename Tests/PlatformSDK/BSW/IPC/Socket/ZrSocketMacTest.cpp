// MAC addresses as text: good and bad ones, and every kind of bytes there and back.
#include "SocketSupport.h"

#include <cctype>
#include <random>

namespace {

using Mac = std::array<ZR_U8, 6>;

const Mac SAMPLE = {0x00, 0x1a, 0x2B, 0xc3, 0xfe, 0xff};

class ZrSocketMac : public SocketTest {};

} // namespace

TEST_F(ZrSocketMac, WritesSixPairsOfDigits) {
    Buffer<18> text;
    EXPECT_EQ(zr_trans_macbin2str(text, 18, SAMPLE.data(), ':'), 0);
    EXPECT_EQ(text.Str(), "00:1a:2b:c3:fe:ff");
    EXPECT_EQ(zr_trans_macbin2str(text, 18, SAMPLE.data(), '-'), 0);
    EXPECT_EQ(text.Str(), "00-1a-2b-c3-fe-ff");
    Buffer<13> bare;
    EXPECT_EQ(zr_trans_macbin2str(bare, 13, SAMPLE.data(), 0), 0);
    EXPECT_EQ(bare.Str(), "001a2bc3feff");
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketMac, WritesNothingThatDoesNotFit) {
    for (const ZR_S32 size : {17, 13, 1, 0, -1}) {
        Buffer<18> text;
        EXPECT_EQ(zr_trans_macbin2str(text, size, SAMPLE.data(), ':'), -1);
        EXPECT_TRUE(text.Untouched());
        EXPECT_EQ(_Logged(), "E bad parameters!");
    }
    Buffer<18> text;
    EXPECT_EQ(zr_trans_macbin2str(text, 12, SAMPLE.data(), 0), -1);
    EXPECT_TRUE(text.Untouched());
}

TEST_F(ZrSocketMac, RefusesNullAndSeparatorsThatAreDigits) {
    Buffer<18> text;
    Mac mac = SAMPLE;
    EXPECT_EQ(zr_trans_macbin2str(nullptr, 18, SAMPLE.data(), ':'), -1);
    EXPECT_EQ(zr_trans_macbin2str(text, 18, nullptr, ':'), -1);
    EXPECT_EQ(zr_trans_macbin2str(text, 18, SAMPLE.data(), '7'), -1);
    EXPECT_EQ(zr_trans_macbin2str(text, 18, SAMPLE.data(), 'F'), -1);
    EXPECT_EQ(zr_trans_macstr2bin(nullptr, mac.data()), -1);
    EXPECT_EQ(zr_trans_macstr2bin(Text("00:1a:2b:c3:fe:ff"), nullptr), -1);
    EXPECT_EQ(m_log.Texts(), std::vector<std::string>(6, "E bad parameters!"));
}

TEST_F(ZrSocketMac, ReadsEveryFormItWritesInEitherCase) {
    for (const char *text : {"00:1a:2b:c3:fe:ff", "00-1A-2B-C3-FE-FF", "001a2bC3feFF", "00.1a.2b.c3.fe.ff",
                             "00 1a 2b c3 fe ff", "00g1ag2bgc3gfegff"}) {
        Mac mac = {};
        EXPECT_EQ(zr_trans_macstr2bin(Text(text), mac.data()), 0) << text;
        EXPECT_EQ(mac, SAMPLE) << text;
    }
    EXPECT_EQ(_Logged(), "");
}

TEST_F(ZrSocketMac, RefusesTextsThatAreNoAddress) {
    for (const char *text : {"",
                             "0",
                             "00:1a:2b:c3:fe",
                             "00:1a:2b:c3:fe:",
                             "00:1a:2b:c3:fe:f",
                             "00:1a:2b:c3:fe:fff",
                             "00:1a:2b:c3:fe:ff:00",
                             "00:1a-2b:c3:fe:ff",
                             "00:1a:2b:c3-fe:ff",
                             "0g:1a:2b:c3:fe:ff",
                             "00:1a:2b:c3:fe:g0",
                             " 00:1a:2b:c3:fe:ff",
                             "00:1a:2b:c3:fe:ff ",
                             "001a2bc3fef",
                             "001a2bc3fefff",
                             "001a2bc3fefg",
                             "0:1a:2b:c3:fe:ff",
                             "0:1:2:3:4:5",
                             "+0:1a:2b:c3:fe:ff",
                             "0x:1a:2b:c3:fe:ff",
                             "00a1aa2bac3afeaff",
                             "00::1a:2b:c3:fe:f"}) {
        Mac mac = {9, 9, 9, 9, 9, 9};
        EXPECT_EQ(zr_trans_macstr2bin(Text(text), mac.data()), -1) << text;
        EXPECT_EQ(mac, (Mac{9, 9, 9, 9, 9, 9})) << text;
        EXPECT_EQ(_Logged(), "E bad parameters!");
    }
    EXPECT_EQ(zr_trans_macstr2bin(Text(std::string(100000, '0')), Mac().data()), -1);
}

TEST_F(ZrSocketMac, AnyBytesComeBackWithAnySeparator) {
    std::mt19937 random(20260);
    for (int round = 0; round < 5000; ++round) {
        Mac mac, back = {};
        for (ZR_U8 &byte : mac)
            byte = static_cast<ZR_U8>(random());
        const auto separator = static_cast<ZR_U8>(random());
        if (isxdigit(separator))
            continue;
        Buffer<20> text;
        ASSERT_EQ(zr_trans_macbin2str(text, 18, mac.data(), separator), 0);
        ASSERT_TRUE(text.Untouched(18));
        ASSERT_EQ(zr_trans_macstr2bin(text, back.data()), 0) << "separator " << int(separator);
        ASSERT_EQ(back, mac);
    }
}

TEST_F(ZrSocketMac, AnyTextIsEitherRefusedOrWrittenAgain) {
    std::mt19937 random(7);
    const std::string alphabet = "0123456789abcdefABCDEF:::--. xg";
    for (int round = 0; round < 5000; ++round) {
        std::string text(random() % 3 == 0 ? 12 : random() % 2 == 0 ? 17 : random() % 30, 0);
        for (char &character : text)
            character = alphabet[random() % (round % 2 == 0 ? 22 : alphabet.size())];
        if (text.size() == 17 && round % 3 != 0)
            for (const std::size_t place : {2, 5, 8, 11, 14})
                text[place] = ':';
        Mac mac = {};
        if (zr_trans_macstr2bin(Text(text), mac.data()) != 0)
            continue;
        Buffer<18> again;
        const auto separator = static_cast<ZR_U8>(text.size() == 17 ? text[2] : 0);
        ASSERT_EQ(zr_trans_macbin2str(again, 18, mac.data(), separator), 0);
        for (char &character : text)
            character = static_cast<char>(tolower(character));
        ASSERT_EQ(again.Str(), text);
    }
}
