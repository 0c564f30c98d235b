// Bytes as hexadecimal text and back. Any thread; nothing blocks. Digits are written in
// lower case and read in both; two of them are a byte, without anything in between.
// Failures leave a line in the log. Source and target must not overlap.
#pragma once

#include <cstdint>
#include <string>

namespace StringUtils {

// The bytes of `strSrc` (any, also zero bytes) as hexadecimal text.
std::string StringToHex(const std::string &strSrc);

// The same for `length` bytes at `pSrc`, into `pHex` of `size` bytes. Digits written
// (2 x `length`), or -1 for bad parameters or when they do not fit with their terminator;
// then `pHex` is empty.
int StringToHex(const char *pSrc, int length, char *pHex, int size);

// The bytes that `strHex` stands for; none when a character is no hexadecimal digit or one
// digit is left over.
std::string HexToString(const std::string &strHex);

// The same for the terminated text `pHex`, into `pDst` of `size` bytes, with a zero byte
// behind them. Bytes written without that one, or -1 for bad parameters, a bad text, or
// when they do not fit with the zero byte; then `pDst` is empty.
int HexToString(const char *pHex, char *pDst, int size);

// The number that 1 or more hexadecimal digits stand for, with or without "0x" or "0X" in
// front; nothing else may be there. 0 for a bad text or one above 64 bits; `pOk`, when
// given, tells whether it is the text's number.
std::uint64_t HexStringToUint64(const std::string &strHex, bool *pOk = nullptr);

} // namespace StringUtils
