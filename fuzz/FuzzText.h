#pragma once

// The fuzz targets read their input as text: little-endian UTF-16 code units,
// at most 4096 of them (longer inputs say nothing new and slow the search).

#include <cstddef>
#include <cstdint>

#include "qel/sys/TStringCore.h"

namespace qel::fuzz {

inline qel::sys::TStringCore TextFromBytes(std::uint8_t const* data, std::size_t size) {
    std::size_t units = size / 2;
    if (units > 4096)
        units = 4096;
    qel::sys::TStringCore text(u'\0', static_cast<int>(units));
    for (std::size_t i = 0; i < units; ++i) {
        text[static_cast<int>(i)] = static_cast<char16_t>(data[2 * i] | (data[2 * i + 1] << 8));
    }
    return text;
}

}  // namespace qel::fuzz
