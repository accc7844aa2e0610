// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <set>
#include <utility>

namespace Util {

// Orders by address, which std::less defines for unrelated objects too.
template <typename T> struct PtrKey {
    T* ptr = nullptr;
    friend bool operator<(PtrKey a, PtrKey b) { return std::less<T*>()(a.ptr, b.ptr); }
};

} // namespace Util

namespace ManagerUtils {

// One relation, ordered from both sides, so that both all B of an A and all A of a B are ranges.
template <typename A, typename B> class BiSet {
public:
    bool isEmpty() const { return m_byA.empty(); }

    void insert(A const& a, B const& b)
    {
        m_byA.emplace(a, b);
        m_byB.emplace(b, a);
    }

    void removeB(B const& b)
    {
        auto it = m_byB.lower_bound({ b, A{ 0 } });
        while (it != m_byB.end() && !(b < it->first)) {
            m_byA.erase({ it->second, b });
            it = m_byB.erase(it);
        }
    }

    // Calls function with each B of a.
    template <typename Function> void forEachOfA(A const& a, Function function) const
    {
        for (auto it = m_byA.lower_bound({ a, B{} }); it != m_byA.end() && it->first == a; ++it) {
            function(it->second);
        }
    }

    // Calls function with each B once for each A that it stands with.
    template <typename Function> void forEachB(Function function) const
    {
        for (auto const& [b, a] : m_byB) {
            function(b);
        }
    }

private:
    std::set<std::pair<A, B>> m_byA;
    std::set<std::pair<B, A>> m_byB;
};

} // namespace ManagerUtils
