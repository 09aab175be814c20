#include "qel/core/types/PackedStructOffsets.h"

#include "qel/core/types/Context.h"
#include "qel/core/types/TypeTraits.h"

namespace qel::core {

PackedStructOffsets const* PackedStructOffsets::Get(AnonymousHeterogeneousType const* type) {
    QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType);
    return Context::Instance().GetPackedStructOffsets(type);
}

PackedStructOffsets::PackedStructOffsets(std::vector<Type const*> const& members) {
    ComputeOffsets(members);
}

void PackedStructOffsets::ComputeOffsets(std::vector<Type const*> const& members) {
    m_size = 0;
    m_valueOffsets.reserve(members.size());
    m_specialOffsets.reserve(members.size());
    for (Type const* member : members) {
        // Every size is a power of two, so this aligns each value naturally
        // within a buffer that is itself aligned for the largest of them.
        unsigned int const size = GetPrimitiveTypeSize(member);
        if (m_size % size != 0)
            m_size += size - m_size % size;
        m_valueOffsets.push_back(m_size);
        m_size += size;
    }
    for (std::size_t i = 0; i < members.size(); ++i)
        m_specialOffsets.push_back(m_size++);
}

// The check against the byte size is the documented contract; the second one
// keeps an index between the member count and the byte size from reading
// past the offsets.
unsigned int PackedStructOffsets::GetValueOffset(unsigned int index) const {
    QEL_VALIDATE(index < m_size, QelError::IndexOutOfBounds);
    QEL_VALIDATE(index < m_valueOffsets.size(), QelError::IndexOutOfBounds);
    return m_valueOffsets[index];
}

unsigned int PackedStructOffsets::GetSpecialOffset(unsigned int index) const {
    QEL_VALIDATE(index < m_size, QelError::IndexOutOfBounds);
    QEL_VALIDATE(index < m_specialOffsets.size(), QelError::IndexOutOfBounds);
    return m_specialOffsets[index];
}

}  // namespace qel::core
