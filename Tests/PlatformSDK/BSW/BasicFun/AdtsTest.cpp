// Headers of ADTS frames, made by hand for every profile and sampling rate.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "BSW/BasicFun/Function.h"
#include "Support/LogCapture.h"

using Texts = std::vector<std::string>;
using Header = std::vector<unsigned char>;

namespace {

struct Fields {
    int version = 0; // MPEG-4
    int layer = 0;
    int noProtection = 1;
    int profile = 1;
    int rate = 8;
    int channels = 1;
    int length = 7;
};

// Appends the lowest `count` bits of `value`.
void Append(std::vector<bool> &bits, int value, int count) {
    for (int bit = count - 1; bit >= 0; --bit)
        bits.push_back(value >> bit & 1);
}

// The header, bit by bit in its order. What is not in `fields` is all ones, so that it
// shows where it does not belong.
Header Make(const Fields &fields) {
    std::vector<bool> bits;
    Append(bits, 0xfff, 12);
    Append(bits, fields.version, 1);
    Append(bits, fields.layer, 2);
    Append(bits, fields.noProtection, 1);
    Append(bits, fields.profile, 2);
    Append(bits, fields.rate, 4);
    Append(bits, 1, 1); // private
    Append(bits, fields.channels, 3);
    Append(bits, 0xf, 4); // original, home, copyright bit and start
    Append(bits, fields.length, 13);
    Append(bits, 0x7ff, 11); // fullness of the buffer
    Append(bits, 3, 2);      // blocks
    Header header(bits.size() / 8);
    for (std::size_t bit = 0; bit < bits.size(); ++bit)
        header[bit / 8] = static_cast<unsigned char>(header[bit / 8] << 1 | bits[bit]);
    return header;
}

} // namespace

class AdtsTest : public testing::Test {
  protected:
    // The lines that the header gives.
    Texts Dump(Header header) {
        m_log.Clear();
        dumpADTS(header.data(), static_cast<int>(header.size()));
        return m_log.TextsOf("Adts.cpp");
    }

    LogCapture m_log;
};

TEST_F(AdtsTest, AHeaderIsThreeLines) {
    // LC, 48000 Hz, 2 channels, 371 bytes, without protection.
    EXPECT_EQ(Dump({0xff, 0xf1, 0x4c, 0x80, 0x2e, 0x7f, 0xfc}),
              (Texts{"D Syn=fff  MPEG4=0  layer=0  protection=1", "D MPEG-4  profile=1 LC  sampling=3 48000 Hz",
                     "D channels=2  frame length=371"}));
}

TEST_F(AdtsTest, VersionLayerAndProtectionStandInTheFirst) {
    EXPECT_EQ(Dump(Make({.version = 1, .layer = 2, .noProtection = 0}))[0],
              "D Syn=fff  MPEG4=1  layer=2  protection=0");
    EXPECT_EQ(Dump(Make({.version = 1}))[1], "D MPEG-2  profile=1 LC  sampling=8 16000 Hz");
}

TEST_F(AdtsTest, EveryProfileHasItsName) {
    const char *names[] = {"Main", "LC", "SSR", "reserved"};
    for (int profile = 0; profile < 4; ++profile)
        EXPECT_EQ(Dump(Make({.profile = profile}))[1],
                  "D MPEG-4  profile=" + std::to_string(profile) + " " + names[profile] + "  sampling=8 16000 Hz");
}

TEST_F(AdtsTest, EverySamplingRateIsKnown) {
    const int rates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 0, 0, 0, 0};
    const char digits[] = "0123456789abcdef";
    for (int rate = 0; rate < 16; ++rate)
        EXPECT_EQ(Dump(Make({.rate = rate}))[1], std::string("D MPEG-4  profile=1 LC  sampling=") + digits[rate] + " " +
                                                     std::to_string(rates[rate]) + " Hz");
}

TEST_F(AdtsTest, ChannelsAndLengthCrossTheirBytes) {
    for (int channels = 0; channels < 8; ++channels)
        EXPECT_EQ(Dump(Make({.channels = channels, .length = 8191}))[2],
                  "D channels=" + std::to_string(channels) + "  frame length=8191");
    EXPECT_EQ(Dump(Make({.length = 4096}))[2], "D channels=1  frame length=4096");
    EXPECT_EQ(Dump(Make({.length = 1}))[2], "D channels=1  frame length=1");
}

TEST_F(AdtsTest, WhatIsNoHeaderIsRefused) {
    EXPECT_EQ(Dump({0xff, 0xe1, 0x4c, 0x80, 0x2e, 0x7f, 0xfc}), Texts{"E dumpADTS: no header, Syn=ffe"});
    EXPECT_EQ(Dump({0xff, 0xf1, 0x4c, 0x80, 0x2e, 0x7f}), Texts{"E dumpADTS: bad parameter, len = 6"});
    EXPECT_EQ(Dump({}), Texts{"E dumpADTS: bad parameter, len = 0"});
    m_log.Clear();
    unsigned char byte = 0xff;
    dumpADTS(&byte, -1);
    dumpADTS(nullptr, 7);
    EXPECT_EQ(m_log.TextsOf("Adts.cpp"),
              (Texts{"E dumpADTS: bad parameter, len = -1", "E dumpADTS: bad parameter, len = 7"}));
}
