#pragma once

// Checked access to the hash maps behind the dictionaries of the store. The
// map is passed as a pointer of any kind (raw, unique or shared); a null one
// fails "pointer to unordered map is null" instead of crashing, since makers
// hand their maps over through pointers that a caller may have left empty.

#include <utility>

#include "qel/core/utility/QelError.h"

namespace qel::core {

namespace detail {
// Out of line, so that a refusal names the library's source and not the
// host's copy of this header.
[[noreturn]] void UnorderedMapRefused(char const* condition, QelError error);
}  // namespace detail

#define QEL_DETAIL_MAP_CHECK(cond, error)                                   \
    do {                                                                    \
        if (!(cond)) [[unlikely]]                                           \
            ::qel::core::detail::UnorderedMapRefused("(" #cond ")", error); \
    } while (false)

#define QEL_DETAIL_MAP_CHECK_NOT_NULL(ptr)                                                   \
    do {                                                                                     \
        if ((ptr) == nullptr) [[unlikely]]                                                   \
            ::qel::core::detail::UnorderedMapRefused("(" #ptr ") != nullptr",                \
                                                     QelError::PointerToUnorderedMapIsNull); \
    } while (false)

template <class MapPointer, class Key>
bool UnorderedMapContainsKey(MapPointer const& map, Key const& key) {
    QEL_DETAIL_MAP_CHECK_NOT_NULL(map);
    return map->find(key) != map->end();
}

// A key already there (for the map's equality: under a collation, another
// spelling of it) fails "insert into map failed due to duplicate key" and
// leaves the map as it was.
template <class MapPointer, class Key, class Value>
void UnorderedMapInsertUnique(MapPointer const& map, Key&& key, Value&& value) {
    QEL_DETAIL_MAP_CHECK_NOT_NULL(map);
    bool const inserted = map->emplace(std::forward<Key>(key), std::forward<Value>(value)).second;
    QEL_DETAIL_MAP_CHECK(inserted, QelError::InsertIntoMapFailedDueToDuplicate);
}

#undef QEL_DETAIL_MAP_CHECK_NOT_NULL
#undef QEL_DETAIL_MAP_CHECK

}  // namespace qel::core
