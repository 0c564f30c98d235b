// Headers of ADTS frames. Any thread.
#include "BSW/BasicFun/Adts.h"

#include "BSW/Log/Log.h"

namespace {

constexpr int SYNC_WORD = 0xfff;
constexpr const char *PROFILES[] = {"Main", "LC", "SSR", "reserved"};
constexpr int RATES[16] = {96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000};

// `count` bits of the header from bit `first` on; bit 0 is the top bit of the first byte.
int Bits(const unsigned char *data, int first, int count) {
    int value = 0;
    for (int bit = first; bit < first + count; ++bit)
        value = value << 1 | (data[bit / 8] >> (7 - bit % 8) & 1);
    return value;
}

} // namespace

void dumpADTS(unsigned char *data, int len) {
    if (!data || len < ADTS_HEADER_SIZE) {
        LOG_ERR("dumpADTS: bad parameter, len = %d", len);
        return;
    }
    const int sync = Bits(data, 0, 12);
    if (sync != SYNC_WORD) {
        LOG_ERR("dumpADTS: no header, Syn=%02x", sync);
        return;
    }
    const int version = Bits(data, 12, 1);
    const int profile = Bits(data, 16, 2);
    const int rate = Bits(data, 18, 4);
    LOG_DBG("Syn=%02x  MPEG4=%x  layer=%x  protection=%x", sync, version, Bits(data, 13, 2), Bits(data, 15, 1));
    LOG_DBG("%s  profile=%x %s  sampling=%x %d Hz", version == 0 ? "MPEG-4" : "MPEG-2", profile, PROFILES[profile],
            rate, RATES[rate]);
    LOG_DBG("channels=%d  frame length=%d", Bits(data, 23, 3), Bits(data, 30, 13));
}
