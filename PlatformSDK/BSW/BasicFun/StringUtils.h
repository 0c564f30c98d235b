// Text helpers. Any thread.
#pragma once

#include <string>
#include <vector>

namespace StringUtils {

// The pieces of `strSrc` between the occurrences of `pattern`, empty ones included:
// "a__b" at "_" gives "a", "" and "b"; "a_" gives "a" and "". An empty text has no
// pieces; an empty separator leaves the text in one.
std::vector<std::string> splitString(const std::string &strSrc, const std::string &pattern);

} // namespace StringUtils
