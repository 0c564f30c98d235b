// Text helpers. Any thread.
#include "BSW/BasicFun/StringUtils.h"

#include <arpa/inet.h>

#include "BSW/BasicFun/LogName.h"
#include "BSW/Log/Log.h"

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

std::string StringUtils::ReplaceAll(const std::string &strSrc, const std::string &pattern, const std::string &strNew) {
    if (pattern.empty())
        return strSrc;
    std::string text;
    std::string::size_type start = 0;
    for (auto found = strSrc.find(pattern); found != std::string::npos; found = strSrc.find(pattern, start)) {
        text.append(strSrc, start, found - start).append(strNew);
        start = found + pattern.size();
    }
    return text.append(strSrc, start);
}

bool StringUtils::ContainsSubstring(const std::string &strSrc, const std::string &pattern) {
    return strSrc.find(pattern) != std::string::npos;
}

std::string StringUtils::ModifyIPAddress(const std::string &strIp, int last) {
    in_addr address = {};
    // A zero byte would end the text for inet_pton, not for the caller.
    const bool valid =
        !ContainsSubstring(strIp, std::string(1, '\0')) && inet_pton(AF_INET, strIp.c_str(), &address) == 1;
    if (!valid || last < 0 || last > 255) {
        LogName shown(strIp);
        LOG_ERR("bad parameters! ip = %s, last = %d", shown.Next(), last);
        return {};
    }
    return strIp.substr(0, strIp.rfind('.') + 1) + std::to_string(last);
}

std::string StringUtils::IntToPPString(int value) {
    return "PP" + std::to_string(value);
}
