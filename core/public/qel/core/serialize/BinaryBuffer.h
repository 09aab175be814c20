#pragma once

// The byte layer under the binary protocol. A creator appends values to a
// growing byte vector, each aligned to its size relative to the start of the
// buffer (padding bytes are 0); a reader walks received bytes by the same
// rules, so that a creator and a reader that make the same calls land on the
// same offsets. Every read is checked against the end of the buffer first:
// hostile bytes give "error reading outside of binary buffer bounds", never a
// read past the end.
//
// Numbers are copied byte for byte from their in-memory form: the format is
// little-endian on a little-endian processor.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "qel/core/utility/ArrayView.h"
#include "qel/core/utility/Base.h"

namespace qel::core {

// Positions and sizes in buffers are 32-bit.
using buffersize_t = unsigned int;

class BinaryBufferCreator {
public:
    // Reserves 5120 bytes.
    BinaryBufferCreator();
    // Reserves `size` bytes; 0 reserves nothing.
    explicit BinaryBufferCreator(unsigned int size);

    buffersize_t GetNextIndex() const { return GetLength(); }
    buffersize_t GetLength() const { return static_cast<buffersize_t>(m_buffer.size()); }
    std::vector<unsigned char> const& GetBuffer() const { return m_buffer; }
    unsigned char const* GetConstData() const { return m_buffer.data(); }

    // One byte, no alignment.
    void Append(bool value);
    void Append(unsigned char value);
    void Append(signed char value);
    // Aligned to their size.
    void Append(unsigned short value);
    void Append(unsigned int value);
    void Append(int value);
    void Append(float value);
    void Append(unsigned long long value);
    void Append(long long value);
    void Append(double value);
    // The UTF-8 bytes, with no alignment, length or terminator.
    void Append(TStringCore const& text);
    void Append(std::string const& bytes);
    // Nothing for 0 bytes; else aligned to `wordSize`, then the bytes.
    void AppendData(void const* data, unsigned int size, unsigned char wordSize);
    // Nothing at all for an empty view, not even padding; else aligned to
    // the element size, then the elements back to back. For bool, unsigned
    // char, unsigned int, int, unsigned long long, long long, float, double.
    template <class T>
    void AppendArray(ArrayView<T const> const& values);
    // 1 to 5 bytes, the low group of 7 bits first.
    void AppendEncodeBase128(unsigned int value);
    // The other buffer's bytes as they are.
    void AppendBuffer(BinaryBufferCreator const& other);
    // Pads with zeros to a multiple of `wordSize`, which may be 1 to 8;
    // else "invalid word size used in binary buffer".
    void AlignToWordBoundary(unsigned char wordSize);
    // Overwrites 4 bytes at `pos`; they must lie in the buffer.
    void SetAt(unsigned int pos, unsigned int value);

private:
    void AppendRaw(void const* data, std::size_t size);

    std::vector<unsigned char> m_buffer;
};

class BinaryBufferReader {
public:
    // Does not own the bytes.
    BinaryBufferReader(unsigned char const* data, unsigned int size);

    bool ReadBool();
    unsigned char ReadUInt8();
    signed char ReadInt8();
    unsigned short ReadUInt16();
    unsigned int ReadUInt32();
    int ReadInt32();
    float ReadReal32();
    unsigned long long ReadUInt64();
    long long ReadInt64();
    double ReadReal64();
    // A view into the buffer, not a copy, valid as long as the bytes; a null
    // view for count 0, which moves nothing. For the types of AppendArray.
    // Fails "invalid word size used in binary buffer" when the elements would
    // lie at an address not aligned for T (a buffer that itself starts
    // misaligned), since they are read in place.
    template <class T>
    ArrayView<T const> ReadArray(unsigned int count);
    // `size` bytes of UTF-8.
    TStringCore ReadString(unsigned int size);
    unsigned int ReadEncodedBase128();

    // Fails "error reading outside of binary buffer bounds" unless `size`
    // bytes follow the position.
    void CheckLength(unsigned int size) const;
    // Accepts 1, 2, 4 and 8 only.
    void MoveToWordBoundary(unsigned char wordSize);

    buffersize_t GetLength() const { return static_cast<buffersize_t>(m_bufferEnd); }
    buffersize_t GetPosition() const { return static_cast<buffersize_t>(m_pos); }
    bool IsEndOfBuffer() const { return m_pos >= m_bufferEnd; }

private:
    template <class T>
    T ReadAligned();
    void Skip(std::size_t wordSize);

    // Offsets from m_start rather than pointers: an alignment move may go
    // past the end, and the check that follows must see it without the
    // pointer arithmetic itself leaving the buffer.
    std::size_t m_pos = 0;
    unsigned char const* m_start;
    std::size_t m_bufferEnd;
};

// Real32 values packed into bytes, and read back.
class BinaryValuePacker {
public:
    BinaryValuePacker();
    explicit BinaryValuePacker(unsigned int size);
    ~BinaryValuePacker();
    void Append(float value);
    void SetReal32AtByteIndex(unsigned int index, float value);
    std::vector<unsigned char> GetBytes() const;

private:
    std::unique_ptr<BinaryBufferCreator> m_impl;
};

class BinaryValueExtractor {
public:
    explicit BinaryValueExtractor(ArrayView<unsigned char const> const& bytes);
    ~BinaryValueExtractor();
    float ReadReal32();
    bool IsEndOfBuffer() const;

private:
    std::unique_ptr<BinaryBufferReader> m_impl;
};

std::vector<unsigned char> EncodeStringAsBytes(TStringCore const& text);
TStringCore DecodeBytesAsString(ArrayView<unsigned char const> const& bytes);

#define QEL_DETAIL_BINARY_ARRAY_TYPES(X) \
    X(bool)                              \
    X(unsigned char)                     \
    X(unsigned int)                      \
    X(int)                               \
    X(unsigned long long)                \
    X(long long)                         \
    X(float)                             \
    X(double)
#define QEL_DETAIL_DECLARE_BINARY_ARRAY(T)                                               \
    extern template void BinaryBufferCreator::AppendArray<T>(ArrayView<T const> const&); \
    extern template ArrayView<T const> BinaryBufferReader::ReadArray<T>(unsigned int);
QEL_DETAIL_BINARY_ARRAY_TYPES(QEL_DETAIL_DECLARE_BINARY_ARRAY)
#undef QEL_DETAIL_DECLARE_BINARY_ARRAY

}  // namespace qel::core
