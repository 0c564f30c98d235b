// See Statistics.h.
#include "PeerTool/Statistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

std::int64_t Statistics::Quantile(double share) const {
    if (m_values.empty())
        return 0;
    std::vector<std::int64_t> values = m_values;
    const auto rank = static_cast<std::ptrdiff_t>(std::ceil(share * static_cast<double>(values.size())));
    const auto at = values.begin() + std::max<std::ptrdiff_t>(rank - 1, 0);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

std::string Statistics::Text() const {
    if (m_values.empty())
        return "-";
    const auto ms = [this](double share) { return static_cast<double>(Quantile(share)) / 1e6; };
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "min %.2f median %.2f p99 %.2f max %.2f ms", ms(0), ms(0.5), ms(0.99),
                  ms(1));
    return text.data();
}
