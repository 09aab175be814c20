#include "qel/core/serialize/StringTable.h"

#include <boost/unordered_map.hpp>

#include "qel/core/utility/StringHash.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

struct StringTableBufferCreator::Impl {
    std::shared_ptr<BinaryBufferCreator> strings = std::make_shared<BinaryBufferCreator>();
    std::shared_ptr<BinaryBufferCreator> indices = std::make_shared<BinaryBufferCreator>();
};

StringTableBufferCreator::StringTableBufferCreator(unsigned int startIndex)
    : m_impl(std::make_unique<Impl>()) {
    m_impl->indices->Append(startIndex);
}

StringTableBufferCreator::~StringTableBufferCreator() = default;

void StringTableBufferCreator::AppendString(TStringCore const& text) {
    m_impl->indices->Append(m_impl->strings->GetLength());
    m_impl->strings->Append(text);
}

std::shared_ptr<BinaryBufferCreator> const& StringTableBufferCreator::GetIndicesBuffer() const {
    return m_impl->indices;
}

std::shared_ptr<BinaryBufferCreator> const& StringTableBufferCreator::GetStringBuffer() const {
    return m_impl->strings;
}

struct StringTableCreator::Impl {
    std::unique_ptr<StringTableBufferCreator> buffers =
        std::make_unique<StringTableBufferCreator>(1);
    boost::unordered_map<TStringCore, unsigned int, std::hash<TStringCore>> indices;
};

StringTableCreator::StringTableCreator() : m_impl(std::make_unique<Impl>()) {}
StringTableCreator::~StringTableCreator() = default;

unsigned int StringTableCreator::GetNextIndex() const {
    return static_cast<unsigned int>(m_impl->indices.size()) + 1;
}

unsigned int StringTableCreator::GetOrAppendString(TStringCore const& text) {
    auto const found = m_impl->indices.find(text);
    if (found != m_impl->indices.end())
        return found->second;
    m_impl->buffers->AppendString(text);
    unsigned int const index = GetNextIndex();
    m_impl->indices.emplace(text, index);
    return index;
}

std::shared_ptr<BinaryBufferCreator> const& StringTableCreator::GetIndicesBuffer() const {
    return m_impl->buffers->GetIndicesBuffer();
}

std::shared_ptr<BinaryBufferCreator> const& StringTableCreator::GetStringBuffer() const {
    return m_impl->buffers->GetStringBuffer();
}

void StringTableCreator::NewPayload() {
    m_impl->buffers = std::make_unique<StringTableBufferCreator>(GetNextIndex());
}

StringTableReader::StringTableReader() {
    m_strings.reserve(1000);
    m_strings.emplace_back();
}

void StringTableReader::AddStrings(BinaryBufferReader& indices, BinaryBufferReader& strings) {
    unsigned int const payloadStartIndex = indices.ReadUInt32();
    QEL_VALIDATE(static_cast<qelsize_t>(m_strings.size()) == payloadStartIndex,
                 QelError::Unspecified);
    std::vector<unsigned int> offsets;
    while (!indices.IsEndOfBuffer())
        offsets.push_back(indices.ReadUInt32());
    if (offsets.empty())
        return;
    offsets.push_back(strings.GetLength());
    // Offsets give lengths only: the strings are read in sequence. A length
    // that wraps (offsets out of order) fails the reader's bounds check.
    for (std::size_t i = 0; i + 1 < offsets.size(); ++i)
        m_strings.push_back(strings.ReadString(offsets[i + 1] - offsets[i]));
}

TStringCore const& StringTableReader::GetString(unsigned int index) const {
    QEL_VALIDATE(index > 0 && index < m_strings.size(), QelError::InvalidStringTableIndex);
    return m_strings[index];
}

}  // namespace qel::core
