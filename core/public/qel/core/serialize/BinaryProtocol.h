#pragma once

// The binary protocol: a tree of typed values carried as a stream of
// payloads, each one buffer. BinaryProtocolCreator writes structures (lists,
// dictionaries, tables, key sets), keys and data into a data stream, and
// FinalizePayload wraps them in a header with the payload's new strings;
// BinaryProtocolReader reads the same calls back. Both check every call
// against a BinaryProtocolStateTracker, so a malformed sequence, written or
// received, fails where it occurs.
//
// A string is sent once per creator, so a reader must see the payloads in
// order. Arrays are read in place: the views point into the received buffer,
// which GetSharedBufferReference() keeps alive.

#include <bitset>
#include <memory>
#include <vector>

#include "qel/core/serialize/BinaryBuffer.h"
#include "qel/core/serialize/BinaryProtocolStateTracker.h"
#include "qel/core/serialize/BinaryProtocolType.h"
#include "qel/core/serialize/StringTable.h"
#include "qel/core/store/RawData.h"
#include "qel/core/store/SpecialKind.h"
#include "qel/core/utility/QelColor.h"
#include "qel/core/utility/QelDateTime.h"

namespace qel::core {

namespace BinaryProtocol {
inline constexpr unsigned short Version = 1;
inline constexpr unsigned short SentinelValue = 0xF00D;
}  // namespace BinaryProtocol

class BinaryProtocolOptions : public std::bitset<32> {
public:
    enum OptionFlags {
        // Each structure ends with a 16-bit sentinel.
        UseChecksums = 0,
        // Sizes, counts and string indices are base-128 numbers.
        UseBase128 = 1,
    };
    BinaryProtocolOptions() : std::bitset<32>(2) {}
    explicit BinaryProtocolOptions(unsigned long value) : std::bitset<32>(value) {}
};

// A received buffer: the owner of its bytes, for as long as arrays read from
// it are in use. The bytes should start on an 8-byte boundary, as fresh heap
// memory does, since arrays are read in place.
class ISharedArrayBuffer : public ISharedDataBuffer {
public:
    virtual ArrayView<unsigned char const> GetBytes() const = 0;
};

// A buffer that owns a vector, as a host that keeps payloads in memory uses.
std::shared_ptr<ISharedArrayBuffer> MakeSharedArrayBuffer(std::vector<unsigned char>&& bytes);

class BinaryProtocolCreator {
public:
    BinaryProtocolCreator(bool useBase128, bool useChecksums);
    virtual ~BinaryProtocolCreator();

    // The payload so far, with its header, as one buffer; then a new
    // payload begins. Fails with a structure still open ("operation not
    // supported in current binary protocol state") or with nothing written
    // ("cannot serialize empty payload"); the creator is then as it was.
    virtual std::vector<unsigned char> FinalizePayload();
    virtual void BeginListType(BinaryListType type);
    virtual void EndListType();
    virtual void BeginListData(unsigned int count);
    virtual void EndListData();
    virtual void BeginDictionaryType(unsigned int count);
    virtual void EndDictionaryType();
    virtual void BeginTableType(unsigned int count);
    virtual void EndTableType();
    virtual void BeginKeySetType(BinaryKeySetType type);
    virtual void EndKeySetType();
    virtual void AppendKey(unsigned char value);
    virtual void AppendKey(unsigned int value);
    virtual void AppendKey(unsigned long long value);
    virtual void AppendKey(bool value);
    virtual void AppendKey(int value);
    virtual void AppendKey(long long value);
    virtual void AppendKey(float value);
    virtual void AppendKey(double value);
    virtual void AppendKey(QelColor value);
    virtual void AppendKey(QelDateTime value);
    virtual void AppendKey(TStringCore const& value);
    virtual void AppendKey(SpecialKind value);
    virtual void AppendKeyType(Type const* type, bool isSpecial);
    virtual void AppendData(unsigned char value);
    virtual void AppendData(unsigned int value);
    virtual void AppendData(unsigned long long value);
    virtual void AppendData(bool value);
    virtual void AppendData(int value);
    virtual void AppendData(long long value);
    virtual void AppendData(float value);
    virtual void AppendData(double value);
    virtual void AppendData(QelColor value);
    virtual void AppendData(QelDateTime value);
    virtual void AppendData(TStringCore const& value);
    virtual void AppendData(SpecialKind value);
    virtual void AppendArray(ArrayView<unsigned char const> const& values);
    virtual void AppendArray(ArrayView<unsigned int const> const& values);
    virtual void AppendArray(ArrayView<unsigned long long const> const& values);
    virtual void AppendArray(ArrayView<SpecialKind const> const& values);
    virtual void AppendArray(ArrayView<int const> const& values);

    // Starts a new payload; the strings sent so far stay known.
    void Reset();
    // Into the data stream without the state tracker: the type descriptors.
    void AppendRaw(signed char value);
    void AppendRaw(unsigned char value);
    void AppendRaw(TStringCore const& value);

protected:
    // The payload's name, "/" unless a subclass says otherwise.
    TStringCore m_name;

private:
    class TypeCreator;
    void AppendCount(unsigned int count);
    void AppendString(TStringCore const& value);
    void AppendChecksum();
    template <class T>
    void AppendValue(T value);

    unsigned short m_version = BinaryProtocol::Version;
    bool m_useBase128;
    bool m_useChecksums;
    std::unique_ptr<TypeCreator> m_typeCreator;
    std::unique_ptr<BinaryProtocolStateTracker> m_state;
    std::unique_ptr<BinaryBufferCreator> m_spareBuffer;
    std::unique_ptr<BinaryBufferCreator> m_dataBuffer;
    StringTableCreator m_strings;
};

class BinaryProtocolReader {
public:
    BinaryProtocolReader();
    explicit BinaryProtocolReader(std::shared_ptr<ISharedArrayBuffer> const& buffer);
    virtual ~BinaryProtocolReader();

    virtual BinaryListType BeginListType();
    virtual void EndListType();
    virtual unsigned int BeginListData();
    virtual void EndListData();
    virtual unsigned int BeginDictionaryType();
    virtual unsigned int BeginTableType();
    virtual void EndDictionaryType();
    virtual void EndTableType();
    virtual BinaryKeySetType BeginKeySetType();
    virtual void EndKeySetType();
    virtual unsigned char ReadStorage8BitKey();
    virtual unsigned int ReadStorage32BitKey();
    virtual unsigned long long ReadStorage64BitKey();
    virtual bool ReadBoolKey();
    virtual int ReadInt32Key();
    virtual long long ReadInt64Key();
    virtual float ReadReal32Key();
    virtual double ReadReal64Key();
    virtual QelColor ReadColorKey();
    virtual QelDateTime ReadDateTimeKey();
    virtual TStringCore ReadStringKey();
    virtual SpecialKind ReadSpecialKey();
    virtual std::pair<Type const*, bool> ReadKeyType();
    virtual unsigned char ReadStorage8Bit();
    virtual unsigned int ReadStorage32Bit();
    virtual unsigned long long ReadStorage64Bit();
    virtual bool ReadBool();
    virtual int ReadInt32();
    virtual long long ReadInt64();
    virtual float ReadReal32();
    virtual double ReadReal64();
    virtual TStringCore ReadString();
    virtual QelColor ReadColor();
    virtual QelDateTime ReadDateTime();
    virtual SpecialKind ReadSpecial();
    virtual ArrayView<unsigned char const> ReadStorage8BitArray(unsigned int count);
    virtual ArrayView<unsigned int const> ReadStorage32BitArray(unsigned int count);
    virtual ArrayView<unsigned long long const> ReadStorage64BitArray(unsigned int count);
    virtual ArrayView<SpecialKind const> ReadSpecialArray(unsigned int count);
    virtual std::shared_ptr<ISharedDataBuffer> GetSharedBufferReference() const;

    // Takes the next payload of the stream, and gives its name. Fails with a
    // structure still open, on a version other than the stream's, or on a
    // header that points outside the buffer.
    TStringCore NextPayload(std::shared_ptr<ISharedArrayBuffer> const& buffer);
    // With checksums on, the sentinel that ends a structure.
    void ValidateChecksum();
    // How many structures are open: the depth of the value being read.
    std::size_t GetDepth() const { return m_state->GetDepth(); }

    // Untracked reads, for the type descriptors.
    signed char RawReadInt8();
    unsigned char RawReadUInt8();
    TStringCore RawReadString();

private:
    class TypeReader;
    BinaryBufferReader& Data();
    unsigned int ReadCount();
    SpecialKind ReadSpecialKind();

    unsigned short m_version = 0;
    bool m_useBase128 = false;
    bool m_useChecksums = false;
    std::unique_ptr<TypeReader> m_typeReader;
    std::unique_ptr<BinaryProtocolStateTracker> m_state;
    std::unique_ptr<BinaryBufferReader> m_dataReader;
    StringTableReader m_strings;
    std::shared_ptr<ISharedArrayBuffer> m_buffer;
};

}  // namespace qel::core
