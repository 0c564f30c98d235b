// Bytes as hexadecimal text and back. Any thread.
#include "BSW/BasicFun/HexText.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "BSW/BasicFun/LogName.h"
#include "BSW/Log/Log.h"

namespace {

// Not of any locale.
bool IsHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool IsHexText(std::string_view text) {
    for (const char c : text) {
        if (IsHexDigit(c))
            continue;
        LogName shown(std::string(1, c));
        LOG_ERR("Invalid character:%s", shown.Next());
        return false;
    }
    if (text.size() % 2 == 0)
        return true;
    LogName shown{std::string(text)};
    LOG_ERR("Invalid hex string: %s", shown.Next());
    return false;
}

// Writes two digits for each byte; nothing behind them.
void PutDigits(std::string_view bytes, char *hex) {
    constexpr char DIGITS[] = "0123456789abcdef";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        *hex++ = DIGITS[byte >> 4];
        *hex++ = DIGITS[byte & 15];
    }
}

// `digits` are as many as IsHexText lets through.
void PutBytes(std::string_view digits, char *bytes) {
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        const char pair[] = {digits[i], digits[i + 1], '\0'};
        unsigned char byte = 0;
        sscanf(pair, "%2hhx", &byte);
        *bytes++ = static_cast<char>(byte);
    }
}

bool IsBadTarget(const void *source, char *target, int size) {
    if (target && size > 0)
        target[0] = '\0';
    return !source || !target || size <= 0;
}

// A line in the log and false when `needed` bytes and a terminator do not fit.
bool Fits(std::size_t needed, int size) {
    if (needed < static_cast<std::size_t>(size))
        return true;
    LOG_ERR("text needs %zu bytes, size = %d", needed + 1, size);
    return false;
}

} // namespace

std::string StringUtils::StringToHex(const std::string &strSrc) {
    std::string hex(strSrc.size() * 2, '\0');
    PutDigits(strSrc, hex.data());
    return hex;
}

int StringUtils::StringToHex(const char *pSrc, int length, char *pHex, int size) {
    if (IsBadTarget(pSrc, pHex, size) || length < 0) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    const std::string_view bytes(pSrc, static_cast<std::size_t>(length));
    const std::size_t digits = bytes.size() * 2;
    if (!Fits(digits, size))
        return -1;
    PutDigits(bytes, pHex);
    pHex[digits] = '\0';
    return static_cast<int>(digits);
}

std::string StringUtils::HexToString(const std::string &strHex) {
    if (!IsHexText(strHex))
        return {};
    std::string bytes(strHex.size() / 2, '\0');
    PutBytes(strHex, bytes.data());
    return bytes;
}

int StringUtils::HexToString(const char *pHex, char *pDst, int size) {
    if (IsBadTarget(pHex, pDst, size)) {
        LOG_ERR("bad parameters!");
        return -1;
    }
    const std::string_view digits(pHex);
    const std::size_t count = digits.size() / 2;
    if (!IsHexText(digits) || !Fits(count, size))
        return -1;
    PutBytes(digits, pDst);
    pDst[count] = '\0';
    return static_cast<int>(count);
}

std::uint64_t StringUtils::HexStringToUint64(const std::string &strHex, bool *pOk) {
    if (pOk)
        *pOk = false;
    const bool prefixed = strHex.starts_with("0x") || strHex.starts_with("0X");
    const char *first = strHex.data() + (prefixed ? 2 : 0), *last = strHex.data() + strHex.size();
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(first, last, value, 16);
    if (error == std::errc::invalid_argument || end != last) {
        LogName shown(strHex);
        LOG_ERR("Invalid hex string: %s", shown.Next());
        return 0;
    }
    if (error == std::errc::result_out_of_range) {
        LOG_ERR("Overflow occurred during conversion");
        return 0;
    }
    if (pOk)
        *pOk = true;
    return value;
}
