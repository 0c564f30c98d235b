// File names and other foreign texts in log lines. Any thread.
#include "BSW/BasicFun/LogName.h"

LogName::LogName(const char *text) : m_plain(text ? text : "(null)") {
    for (const char c : m_plain)
        m_doubled.append(c == '%' ? 2 : 1, c);
}

const char *LogName::Next() {
    m_forFile = !m_forFile;
    return (m_forFile ? m_doubled : m_plain).c_str();
}
