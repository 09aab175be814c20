// KeySegment's side of KeyPath.h.
#include <cstdint>

#include "qel/core/serialize/KeyPathSerializer.h"
#include "qel/core/store/KeyPath.h"

namespace qel::core {

// The type's address is folded through three multiply-xorshift rounds before
// it meets the name's id: types are aligned allocations whose low bits say
// nothing, and a serializer cache keeps one row per name and type, so the
// rows of one name must still spread over the buckets.
std::size_t KeySegment::GetTypeAwareHashValue() const noexcept {
    constexpr std::uint64_t k = 0x9ddfea08eb382d69ULL;
    std::uint64_t const id = m_segment.GetStringId();
    std::uint64_t const t = reinterpret_cast<std::uintptr_t>(m_type);
    std::uint64_t const lo = (t & 0x1fffffff) * 8 + 8;
    std::uint64_t const hi = t >> 32;
    std::uint64_t const a = (lo ^ hi) * k;
    std::uint64_t const b = (a ^ hi ^ (a >> 47)) * k;
    std::uint64_t const c = ((b >> 47) ^ b) * k;
    return static_cast<std::size_t>(id ^ ((id >> 2) + (id << 6) + c + 0x9e3779b9ULL));
}

KeySegment KeySegment::AddVersion(unsigned int version) const {
    TStringCore text = m_segment.GetValue();
    text.append(u'#');
    text.append(TStringCore::number(version));
    return KeySegment(RInternString(std::move(text)), m_type);
}

TStringCore KeySegment::ToString() const {
    return KeyPathSerializer::FromKeySegment(*this, true);
}

}  // namespace qel::core
