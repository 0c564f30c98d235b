// Text helpers. Any thread; nothing blocks, unless said otherwise.
#pragma once

#include <string>
#include <vector>

#include "BSW/BasicFun/CharText.h"
#include "BSW/BasicFun/HexText.h"

namespace StringUtils {

// The pieces of `strSrc` between the occurrences of `pattern`, empty ones included:
// "a__b" at "_" gives "a", "" and "b"; "a_" gives "a" and "". An empty text has no
// pieces; an empty separator leaves the text in one.
std::vector<std::string> splitString(const std::string &strSrc, const std::string &pattern);

// `strSrc` with `strNew` in place of every `pattern`, found from the front and not again
// in what was put in. An empty pattern changes nothing.
std::string ReplaceAll(const std::string &strSrc, const std::string &pattern, const std::string &strNew);

// True when `pattern` occurs in `strSrc`; an empty one does in every text.
bool ContainsSubstring(const std::string &strSrc, const std::string &pattern);

// The IPv4 address `strIp` ("192.168.1.20") with `last` (0 to 255) in place of its last
// number. Empty with a line in the log for anything else.
std::string ModifyIPAddress(const std::string &strIp, int last);

// "PP" and the number in decimal: "PP7", "PP-7".
std::string IntToPPString(int value);

// The names of the files (no directories; a link is a file) in the directory `path` (at
// most 255 characters), in the order of their bytes. None with a line in the log when it
// cannot be read. May block on the file system.
std::vector<std::string> GetFilesName(const std::string &path);

} // namespace StringUtils
