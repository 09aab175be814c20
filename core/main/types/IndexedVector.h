#pragma once

// IndexedVector maps texts to dense ids from 0. Text number n is element n of
// the container, whose elements never move, so a reader that knows an id can
// reach its text without a lock. The container always holds one element more
// than the count: an empty spare that the next insert fills.
//
// Insert and Find need external synchronisation (the caller's read-write
// lock); At does not.

#include <atomic>
#include <boost/unordered_map.hpp>
#include <functional>

#include "qel/core/utility/StringHash.h"

namespace qel::core {

template <class Container>
class IndexedVector {
public:
    using Text = typename Container::value_type;
    static constexpr unsigned long kNotFound = ~0UL;

    IndexedVector() { m_texts.push_back(Text()); }

    unsigned long Find(Text const& text) const {
        auto it = m_ids.find(text);
        return it == m_ids.end() ? kNotFound : it->second;
    }

    // Another writer may have inserted the same text since the caller's
    // Find; then the spare is simply reused and the existing id returned.
    unsigned long Insert(Text&& text) {
        unsigned long n = m_count.load(std::memory_order_relaxed);
        m_texts[n] = text;
        auto [it, inserted] = m_ids.emplace(std::move(text), n);
        if (inserted) {
            m_texts.push_back(Text());
            m_count.store(n + 1, std::memory_order_release);
        }
        return it->second;
    }

    Text const& At(unsigned long id) const { return m_texts[id]; }
    unsigned long Count() const { return m_count.load(std::memory_order_acquire); }

private:
    std::atomic<unsigned long> m_count{0};
    Container m_texts;
    boost::unordered_map<Text, unsigned long, std::hash<Text>> m_ids;
};

}  // namespace qel::core
