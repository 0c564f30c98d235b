// Bytes as hexadecimal text in the log. Any thread.
#include "BSW/BasicFun/HexDump.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "BSW/BasicFun/LogName.h"
#include "BSW/Log/Log.h"

namespace {

std::string HexText(const unsigned char *data, int count) {
    std::string text;
    text.reserve(static_cast<std::size_t>(count) * 3);
    for (int i = 0; i < count; ++i) {
        char item[4];
        snprintf(item, sizeof item, "%02x ", data[i]);
        text += item;
    }
    return text;
}

} // namespace

void DumpHexInfo(const char *title, const unsigned char *data, unsigned short len) {
    if (!title || (!data && len > 0)) {
        LOG_ERR("DumpHexInfo: bad parameter, len = %d", len);
        return;
    }
    const LogName shown(std::string(title, strnlen(title, HEX_DUMP_TITLE_LENGTH)));
    int done = 0;
    do {
        const int count = std::min(len - done, HEX_DUMP_LINE_BYTES);
        CLog::instance()->Access("[I][%s:%4d] \033[1;36m%s, len=%2d, %s\033[0m", LogBaseName(__FILE__), __LINE__,
                                 shown.ForFile(), len, HexText(data + done, count).c_str());
        done += count;
    } while (done < len);
}
