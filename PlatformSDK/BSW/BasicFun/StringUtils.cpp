// Text helpers. Any thread.
#include "BSW/BasicFun/StringUtils.h"

std::vector<std::string> StringUtils::splitString(const std::string &strSrc, const std::string &pattern) {
    std::vector<std::string> pieces;
    if (strSrc.empty())
        return pieces;
    if (pattern.empty())
        return {strSrc};
    // With the separator behind it, every piece of the text ends at one.
    const std::string text = strSrc + pattern;
    std::string::size_type start = 0;
    for (auto end = text.find(pattern); end != std::string::npos; end = text.find(pattern, start)) {
        pieces.push_back(text.substr(start, end - start));
        start = end + pattern.size();
    }
    return pieces;
}
