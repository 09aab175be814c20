#include "qel/core/serialize/BinaryBuffer.h"

#include <cstring>

#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

constexpr unsigned int kDefaultReserve = 5120;

std::size_t PaddingTo(std::size_t size, std::size_t wordSize) {
    std::size_t const rest = size % wordSize;
    return rest == 0 ? 0 : wordSize - rest;
}

}  // namespace

// ---------------------------------------------------------------------------
// BinaryBufferCreator

BinaryBufferCreator::BinaryBufferCreator() : BinaryBufferCreator(kDefaultReserve) {}

BinaryBufferCreator::BinaryBufferCreator(unsigned int size) {
    if (size != 0)
        m_buffer.reserve(size);
}

void BinaryBufferCreator::AppendRaw(void const* data, std::size_t size) {
    auto const* bytes = static_cast<unsigned char const*>(data);
    m_buffer.insert(m_buffer.end(), bytes, bytes + size);
}

void BinaryBufferCreator::Append(bool value) {
    m_buffer.push_back(value ? 1 : 0);
}

void BinaryBufferCreator::Append(unsigned char value) {
    m_buffer.push_back(value);
}

void BinaryBufferCreator::Append(signed char value) {
    m_buffer.push_back(static_cast<unsigned char>(value));
}

#define QEL_DETAIL_APPEND_ALIGNED(T)                                                 \
    void BinaryBufferCreator::Append(T value) {                                      \
        m_buffer.resize(m_buffer.size() + PaddingTo(m_buffer.size(), sizeof(T)), 0); \
        AppendRaw(&value, sizeof(T));                                                \
    }
QEL_DETAIL_APPEND_ALIGNED(unsigned short)
QEL_DETAIL_APPEND_ALIGNED(unsigned int)
QEL_DETAIL_APPEND_ALIGNED(int)
QEL_DETAIL_APPEND_ALIGNED(float)
QEL_DETAIL_APPEND_ALIGNED(unsigned long long)
QEL_DETAIL_APPEND_ALIGNED(long long)
QEL_DETAIL_APPEND_ALIGNED(double)
#undef QEL_DETAIL_APPEND_ALIGNED

void BinaryBufferCreator::Append(TStringCore const& text) {
    Append(text.toStdString());
}

void BinaryBufferCreator::Append(std::string const& bytes) {
    AppendRaw(bytes.data(), bytes.size());
}

void BinaryBufferCreator::AppendData(void const* data, unsigned int size, unsigned char wordSize) {
    if (size == 0)
        return;
    AlignToWordBoundary(wordSize);
    AppendRaw(data, size);
}

template <class T>
void BinaryBufferCreator::AppendArray(ArrayView<T const> const& values) {
    if (values.GetSize() == 0)
        return;
    m_buffer.resize(m_buffer.size() + PaddingTo(m_buffer.size(), sizeof(T)), 0);
    AppendRaw(values.GetData(), values.GetSize() * sizeof(T));
}

void BinaryBufferCreator::AppendEncodeBase128(unsigned int value) {
    while (value >= 128) {
        m_buffer.push_back(static_cast<unsigned char>((value & 127) | 128));
        value >>= 7;
    }
    m_buffer.push_back(static_cast<unsigned char>(value));
}

void BinaryBufferCreator::AppendBuffer(BinaryBufferCreator const& other) {
    AppendRaw(other.m_buffer.data(), other.m_buffer.size());
}

void BinaryBufferCreator::AlignToWordBoundary(unsigned char wordSize) {
    QEL_VALIDATE(wordSize > 0 && wordSize <= 8, QelError::InvalidWordSizeUsedInBinaryBuffer);
    m_buffer.resize(m_buffer.size() + PaddingTo(m_buffer.size(), wordSize), 0);
}

void BinaryBufferCreator::SetAt(unsigned int pos, unsigned int value) {
    // The sum is a size_t, so a position near the top cannot wrap the test.
    QEL_VALIDATE(pos + sizeof(buffersize_t) <= m_buffer.size(),
                 QelError::ErrorSettingValueOutsideOfBinaryBuffer);
    std::memcpy(m_buffer.data() + pos, &value, sizeof(value));
}

// ---------------------------------------------------------------------------
// BinaryBufferReader

BinaryBufferReader::BinaryBufferReader(unsigned char const* data, unsigned int size)
    : m_start(data), m_bufferEnd(data == nullptr ? 0 : size) {}

void BinaryBufferReader::CheckLength(unsigned int size) const {
    QEL_VALIDATE(m_pos <= m_bufferEnd, QelError::ErrorReadingOutsideOfBinaryBufferBounds);
    QEL_VALIDATE((size_t)(m_bufferEnd - m_pos) >= size,
                 QelError::ErrorReadingOutsideOfBinaryBufferBounds);
    QEL_VALIDATE(m_pos + size <= m_bufferEnd, QelError::ErrorReadingOutsideOfBinaryBufferBounds);
}

void BinaryBufferReader::Skip(std::size_t wordSize) {
    m_pos += PaddingTo(m_pos, wordSize);
}

void BinaryBufferReader::MoveToWordBoundary(unsigned char wordSize) {
    QEL_VALIDATE((wordSize == 1) || (wordSize == 2) || (wordSize == 4) || (wordSize == 8),
                 QelError::InvalidWordSizeUsedInBinaryBuffer);
    Skip(wordSize);
}

template <class T>
T BinaryBufferReader::ReadAligned() {
    Skip(sizeof(T));
    CheckLength(sizeof(T));
    T value;
    std::memcpy(&value, m_start + m_pos, sizeof(T));
    m_pos += sizeof(T);
    return value;
}

bool BinaryBufferReader::ReadBool() {
    return ReadUInt8() != 0;
}

unsigned char BinaryBufferReader::ReadUInt8() {
    CheckLength(1);
    return m_start[m_pos++];
}

signed char BinaryBufferReader::ReadInt8() {
    return static_cast<signed char>(ReadUInt8());
}

unsigned short BinaryBufferReader::ReadUInt16() {
    return ReadAligned<unsigned short>();
}

unsigned int BinaryBufferReader::ReadUInt32() {
    return ReadAligned<unsigned int>();
}

int BinaryBufferReader::ReadInt32() {
    return ReadAligned<int>();
}

float BinaryBufferReader::ReadReal32() {
    return ReadAligned<float>();
}

unsigned long long BinaryBufferReader::ReadUInt64() {
    return ReadAligned<unsigned long long>();
}

long long BinaryBufferReader::ReadInt64() {
    return ReadAligned<long long>();
}

double BinaryBufferReader::ReadReal64() {
    return ReadAligned<double>();
}

template <class T>
ArrayView<T const> BinaryBufferReader::ReadArray(unsigned int count) {
    if (count == 0)
        return ArrayView<T const>::Null();
    Skip(sizeof(T));
    // The byte count fits in 64 bits: at most 2^32 elements of 8 bytes.
    std::size_t const bytes = std::size_t{count} * sizeof(T);
    QEL_VALIDATE(m_pos <= m_bufferEnd, QelError::ErrorReadingOutsideOfBinaryBufferBounds);
    QEL_VALIDATE(m_bufferEnd - m_pos >= bytes, QelError::ErrorReadingOutsideOfBinaryBufferBounds);
    unsigned char const* const first = m_start + m_pos;
    QEL_VALIDATE(reinterpret_cast<std::uintptr_t>(first) % alignof(T) == 0,
                 QelError::InvalidWordSizeUsedInBinaryBuffer);
    m_pos += bytes;
    return ArrayView<T const>(reinterpret_cast<T const*>(first), count);
}

TStringCore BinaryBufferReader::ReadString(unsigned int size) {
    if (size == 0)
        return TStringCore();
    CheckLength(size);
    // fromUtf8 takes an int length; a longer string cannot be in a 32-bit
    // buffer that also holds its table, but the check costs nothing.
    QEL_VALIDATE(size <= 0x7FFFFFFFu, QelError::ErrorReadingOutsideOfBinaryBufferBounds);
    TStringCore text = TStringCore::fromUtf8(reinterpret_cast<char const*>(m_start + m_pos),
                                             static_cast<int>(size));
    m_pos += size;
    return text;
}

unsigned int BinaryBufferReader::ReadEncodedBase128() {
    unsigned int result = 0;
    unsigned int shift = 0;
    while (true) {
        CheckLength(1);
        unsigned int const b = m_start[m_pos++];
        QEL_VALIDATE(shift <= 21 || (shift <= 28 && b <= 15), QelError::OutOfRange);
        result += (b & 127) << shift;
        if ((b & 128) == 0)
            return result;
        shift += 7;
    }
}

// ---------------------------------------------------------------------------
// Packer and extractor

BinaryValuePacker::BinaryValuePacker() : m_impl(std::make_unique<BinaryBufferCreator>()) {}
BinaryValuePacker::BinaryValuePacker(unsigned int size)
    : m_impl(std::make_unique<BinaryBufferCreator>(size)) {}
BinaryValuePacker::~BinaryValuePacker() = default;

void BinaryValuePacker::Append(float value) {
    m_impl->Append(value);
}

void BinaryValuePacker::SetReal32AtByteIndex(unsigned int index, float value) {
    unsigned int bits;
    std::memcpy(&bits, &value, sizeof(bits));
    m_impl->SetAt(index, bits);
}

std::vector<unsigned char> BinaryValuePacker::GetBytes() const {
    return m_impl->GetBuffer();
}

BinaryValueExtractor::BinaryValueExtractor(ArrayView<unsigned char const> const& bytes)
    : m_impl(std::make_unique<BinaryBufferReader>(bytes.GetData(),
                                                  static_cast<unsigned int>(bytes.GetSize()))) {}
BinaryValueExtractor::~BinaryValueExtractor() = default;

float BinaryValueExtractor::ReadReal32() {
    return m_impl->ReadReal32();
}

bool BinaryValueExtractor::IsEndOfBuffer() const {
    return m_impl->IsEndOfBuffer();
}

std::vector<unsigned char> EncodeStringAsBytes(TStringCore const& text) {
    std::string const bytes = text.toStdString();
    return std::vector<unsigned char>(bytes.begin(), bytes.end());
}

TStringCore DecodeBytesAsString(ArrayView<unsigned char const> const& bytes) {
    QEL_VALIDATE(bytes.GetSize() <= 0xFFFFFFFFu, QelError::OutOfRange);
    auto const size = static_cast<unsigned int>(bytes.GetSize());
    BinaryBufferReader reader(bytes.GetData(), size);
    return reader.ReadString(size);
}

#define QEL_DETAIL_INSTANTIATE_BINARY_ARRAY(T)                                    \
    template void BinaryBufferCreator::AppendArray<T>(ArrayView<T const> const&); \
    template ArrayView<T const> BinaryBufferReader::ReadArray<T>(unsigned int);
QEL_DETAIL_BINARY_ARRAY_TYPES(QEL_DETAIL_INSTANTIATE_BINARY_ARRAY)
#undef QEL_DETAIL_INSTANTIATE_BINARY_ARRAY

}  // namespace qel::core
