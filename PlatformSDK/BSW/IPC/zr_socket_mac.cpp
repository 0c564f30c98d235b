// MAC addresses as text.
#include "BSW/IPC/zr_socket_mac.h"

#include <algorithm>
#include <cstring>

#include "BSW/IPC/zr_socket_internal.h"
#include "BSW/Log/Log.h"

using SocketInternal::Text;

namespace {

constexpr int MAC_BYTES = 6;
constexpr int LONGEST_TEXT = 3 * MAC_BYTES - 1;

// 0 to 15, or -1 for what is no hexadecimal digit.
int DigitValue(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

bool Parse(const char *text, ZR_U8 (&mac)[MAC_BYTES]) {
    const std::size_t length = strnlen(text, LONGEST_TEXT + 1);
    const bool separated = length == LONGEST_TEXT;
    if (!separated && length != 2 * MAC_BYTES)
        return false;
    for (int i = 0; i < MAC_BYTES; ++i) {
        const char *pair = text + i * (separated ? 3 : 2);
        const int high = DigitValue(pair[0]), low = DigitValue(pair[1]);
        if (high < 0 || low < 0)
            return false;
        const bool last = i == MAC_BYTES - 1;
        if (separated && !last && (pair[2] != text[2] || DigitValue(pair[2]) >= 0))
            return false;
        mac[i] = static_cast<ZR_U8>(high * 16 + low);
    }
    return true;
}

} // namespace

ZR_S32 zr_trans_macbin2str(ZR_S8 *szMac, ZR_S32 nBuffLen, const ZR_U8 *pu8Mac, ZR_U8 splitchar) {
    const ZR_S32 needed = splitchar != 0 ? LONGEST_TEXT + 1 : 2 * MAC_BYTES + 1;
    if (!szMac || !pu8Mac || nBuffLen < needed || DigitValue(static_cast<char>(splitchar)) >= 0) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    static const char digits[] = "0123456789abcdef";
    ZR_S8 *out = szMac;
    for (int i = 0; i < MAC_BYTES; ++i) {
        if (i > 0 && splitchar != 0)
            *out++ = static_cast<ZR_S8>(splitchar);
        *out++ = digits[pu8Mac[i] >> 4];
        *out++ = digits[pu8Mac[i] & 15];
    }
    *out = 0;
    return 0;
}

ZR_S32 zr_trans_macstr2bin(const ZR_S8 *szMac, ZR_U8 *pu8Mac) {
    ZR_U8 mac[MAC_BYTES];
    if (!szMac || !pu8Mac || !Parse(Text(szMac), mac)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    std::copy(mac, mac + MAC_BYTES, pu8Mac);
    return 0;
}
