// Terminated texts in buffers of their own. Any thread.
#include "BSW/BasicFun/CharText.h"

#include <climits>
#include <cstring>

#include "BSW/BasicFun/HexText.h"
#include "BSW/Log/Log.h"

namespace {

bool IsWhite(char c) {
    return c != '\0' && strchr(" \t\n\v\f\r", c) != nullptr;
}

} // namespace

char *trim(char *text) {
    if (!text) {
        LOG_ERR("bad parameters!");
        return nullptr;
    }
    while (IsWhite(*text))
        ++text;
    char *end = text + strlen(text);
    while (end > text && IsWhite(end[-1]))
        --end;
    *end = '\0';
    return text;
}

int BlankChar(int c) {
    return c == ' ' || c == '\t' ? 1 : 0;
}

int split(char **pieces, char *text, const char *separators, int count) {
    if (!pieces || !text || !separators || count <= 0) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    int found = 0;
    char *rest = nullptr;
    for (char *piece = strtok_r(text, separators, &rest); piece && found < count;
         piece = strtok_r(nullptr, separators, &rest))
        pieces[found++] = piece;
    return found;
}

int CharToHex(char *text, char *hex, int size) {
    const std::size_t length = text ? strlen(text) : 0;
    return StringUtils::StringToHex(text, length <= INT_MAX ? static_cast<int>(length) : -1, hex, size);
}
