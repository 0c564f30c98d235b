// See OrderCheck.h.
#include "Desk/OrderCheck.h"

#include <algorithm>

OrderCheck::Place OrderCheck::Take(uint64_t number) {
    if (number >= m_next) {
        const uint64_t missing = std::min(number - m_next, KEPT);
        for (uint64_t back = 1; back <= missing; ++back)
            m_came.reset((number - back) % KEPT);
        m_came.set(number % KEPT);
        m_next = number + 1;
        return Place::InOrder;
    }
    if (number < m_first || m_next - number > KEPT || m_came.test(number % KEPT))
        return Place::Repeated;
    m_came.set(number % KEPT);
    return Place::Late;
}
