#include "qel/core/serialize/BinaryProtocol.h"

#include <utility>

#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

class VectorArrayBuffer final : public ISharedArrayBuffer {
public:
    explicit VectorArrayBuffer(std::vector<unsigned char>&& bytes) : m_bytes(std::move(bytes)) {}
    ArrayView<unsigned char const> GetBytes() const override {
        return ArrayView<unsigned char const>(m_bytes.data(), m_bytes.size());
    }

private:
    std::vector<unsigned char> m_bytes;
};

}  // namespace

std::shared_ptr<ISharedArrayBuffer> MakeSharedArrayBuffer(std::vector<unsigned char>&& bytes) {
    return std::make_shared<VectorArrayBuffer>(std::move(bytes));
}

// ---------------------------------------------------------------------------
// Creator

class BinaryProtocolCreator::TypeCreator final : public IBinaryProtocolTypeWriter {
public:
    explicit TypeCreator(BinaryProtocolCreator& protocol) : m_protocol(protocol) {}
    void Append(signed char value) override { m_protocol.AppendRaw(value); }
    void Append(unsigned char value) override { m_protocol.AppendRaw(value); }
    void Append(TStringCore const& text) override { m_protocol.AppendRaw(text); }

private:
    BinaryProtocolCreator& m_protocol;
};

BinaryProtocolCreator::BinaryProtocolCreator(bool useBase128, bool useChecksums)
    : m_name(u"/"),
      m_useBase128(useBase128),
      m_useChecksums(useChecksums),
      m_typeCreator(std::make_unique<TypeCreator>(*this)),
      m_state(std::make_unique<BinaryProtocolStateTracker>()),
      m_spareBuffer(std::make_unique<BinaryBufferCreator>()),
      m_dataBuffer(std::make_unique<BinaryBufferCreator>()) {}

BinaryProtocolCreator::~BinaryProtocolCreator() = default;

void BinaryProtocolCreator::Reset() {
    m_spareBuffer = std::make_unique<BinaryBufferCreator>();
    m_dataBuffer = std::make_unique<BinaryBufferCreator>();
    m_strings.NewPayload();
}

void BinaryProtocolCreator::AppendCount(unsigned int count) {
    if (m_useBase128)
        m_dataBuffer->AppendEncodeBase128(count);
    else
        m_dataBuffer->Append(count);
}

void BinaryProtocolCreator::AppendString(TStringCore const& value) {
    AppendCount(m_strings.GetOrAppendString(value));
}

void BinaryProtocolCreator::AppendChecksum() {
    if (m_useChecksums)
        m_dataBuffer->Append(BinaryProtocol::SentinelValue);
}

std::vector<unsigned char> BinaryProtocolCreator::FinalizePayload() {
    QEL_VALIDATE_NOT(m_state->HasStates(), QelError::OperationNotSupportedInCurrentBinaryProtocol);
    QEL_VALIDATE(m_dataBuffer->GetLength() > 0, QelError::CannotSerializeEmptyPayload);
    BinaryBufferCreator const& indices = *m_strings.GetIndicesBuffer();
    BinaryBufferCreator const& strings = *m_strings.GetStringBuffer();
    BinaryBufferCreator out(m_dataBuffer->GetLength() + indices.GetLength() + strings.GetLength() +
                            100);
    out.Append(m_version);
    BinaryProtocolOptions options(0);
    options.set(BinaryProtocolOptions::UseBase128, m_useBase128);
    options.set(BinaryProtocolOptions::UseChecksums, m_useChecksums);
    out.Append(static_cast<unsigned int>(options.to_ulong()));
    std::string const name = m_name.toStdString();
    if (m_useBase128)
        out.AppendEncodeBase128(static_cast<unsigned int>(name.size()));
    else
        out.Append(static_cast<unsigned int>(name.size()));
    out.Append(name);
    out.AlignToWordBoundary(4);

    // A table goes with the payload when it names any string. (Its bytes
    // alone do not tell: the empty string is a string with an index and an
    // offset but no bytes, and a table of it must still be sent, or the
    // reader could neither resolve it nor accept the next table.)
    bool const hasTable = indices.GetLength() > sizeof(buffersize_t);
    buffersize_t const strIndicesLen = hasTable ? indices.GetLength() : 0;
    buffersize_t const stringBytesLen = hasTable ? strings.GetLength() : 0;
    buffersize_t const strIndicesPosAt = out.GetLength();
    out.Append(0u);
    out.Append(strIndicesLen);
    buffersize_t const stringBytesPosAt = out.GetLength();
    out.Append(0u);
    out.Append(stringBytesLen);
    buffersize_t const dataTablePosAt = out.GetLength();
    out.Append(0u);
    buffersize_t strIndicesPos = 0;
    buffersize_t stringBytesPos = 0;
    if (hasTable) {
        out.AlignToWordBoundary(8);
        strIndicesPos = out.GetLength();
        out.AppendBuffer(indices);
        out.AlignToWordBoundary(8);
        stringBytesPos = out.GetLength();
        out.AppendBuffer(strings);
    }
    out.AlignToWordBoundary(8);
    buffersize_t const dataTablePos = out.GetLength();
    out.AppendBuffer(*m_dataBuffer);
    out.SetAt(strIndicesPosAt, strIndicesPos);
    out.SetAt(stringBytesPosAt, stringBytesPos);
    out.SetAt(dataTablePosAt, dataTablePos);
    Reset();
    return out.GetBuffer();
}

void BinaryProtocolCreator::BeginListType(BinaryListType type) {
    m_state->BeginListType(type);
    m_dataBuffer->Append(static_cast<unsigned char>(static_cast<signed char>(type)));
}

void BinaryProtocolCreator::EndListType() {
    m_state->EndListType();
    AppendChecksum();
}

void BinaryProtocolCreator::BeginListData(unsigned int count) {
    m_state->BeginListData(count);
    AppendCount(count);
}

void BinaryProtocolCreator::EndListData() {
    m_state->EndListData();
}

void BinaryProtocolCreator::BeginDictionaryType(unsigned int count) {
    m_state->BeginDictionaryType(count);
    AppendCount(count);
}

void BinaryProtocolCreator::EndDictionaryType() {
    m_state->EndDictionaryType();
    AppendChecksum();
}

void BinaryProtocolCreator::BeginTableType(unsigned int count) {
    m_state->BeginTableType(count);
    AppendCount(count);
}

void BinaryProtocolCreator::EndTableType() {
    m_state->EndTableType();
    AppendChecksum();
}

void BinaryProtocolCreator::BeginKeySetType(BinaryKeySetType type) {
    m_state->BeginKeySetType(type);
    m_dataBuffer->Append(static_cast<unsigned char>(type));
}

void BinaryProtocolCreator::EndKeySetType() {
    m_state->EndKeySetType();
    AppendChecksum();
}

template <class T>
void BinaryProtocolCreator::AppendValue(T value) {
    if constexpr (std::is_same_v<T, QelColor>)
        m_dataBuffer->Append(value.AsInt32());
    else if constexpr (std::is_same_v<T, QelDateTime>)
        m_dataBuffer->Append(value.GetValue());
    else if constexpr (std::is_same_v<T, SpecialKind>)
        m_dataBuffer->Append(static_cast<unsigned char>(value));
    else
        m_dataBuffer->Append(value);
}

#define QEL_DETAIL_APPEND_KEY_AND_DATA(T)             \
    void BinaryProtocolCreator::AppendKey(T value) {  \
        m_state->TouchKey();                          \
        AppendValue(value);                           \
    }                                                 \
    void BinaryProtocolCreator::AppendData(T value) { \
        m_state->TouchData();                         \
        AppendValue(value);                           \
    }
QEL_DETAIL_APPEND_KEY_AND_DATA(unsigned char)
QEL_DETAIL_APPEND_KEY_AND_DATA(unsigned int)
QEL_DETAIL_APPEND_KEY_AND_DATA(unsigned long long)
QEL_DETAIL_APPEND_KEY_AND_DATA(bool)
QEL_DETAIL_APPEND_KEY_AND_DATA(int)
QEL_DETAIL_APPEND_KEY_AND_DATA(long long)
QEL_DETAIL_APPEND_KEY_AND_DATA(float)
QEL_DETAIL_APPEND_KEY_AND_DATA(double)
QEL_DETAIL_APPEND_KEY_AND_DATA(QelColor)
QEL_DETAIL_APPEND_KEY_AND_DATA(QelDateTime)
QEL_DETAIL_APPEND_KEY_AND_DATA(SpecialKind)
#undef QEL_DETAIL_APPEND_KEY_AND_DATA

void BinaryProtocolCreator::AppendKey(TStringCore const& value) {
    m_state->TouchKey();
    AppendString(value);
}

void BinaryProtocolCreator::AppendData(TStringCore const& value) {
    m_state->TouchData();
    AppendString(value);
}

void BinaryProtocolCreator::AppendKeyType(Type const* type, bool isSpecial) {
    m_state->TouchTypeInfo();
    SerializeBinaryProtocolType(*m_typeCreator, type, isSpecial);
}

#define QEL_DETAIL_APPEND_ARRAY(T)                                              \
    void BinaryProtocolCreator::AppendArray(ArrayView<T const> const& values) { \
        m_state->TouchVector(static_cast<unsigned int>(values.GetSize()));      \
        m_dataBuffer->AppendArray(values);                                      \
    }
QEL_DETAIL_APPEND_ARRAY(unsigned char)
QEL_DETAIL_APPEND_ARRAY(unsigned int)
QEL_DETAIL_APPEND_ARRAY(unsigned long long)
QEL_DETAIL_APPEND_ARRAY(int)
#undef QEL_DETAIL_APPEND_ARRAY

void BinaryProtocolCreator::AppendArray(ArrayView<SpecialKind const> const& values) {
    m_state->TouchVector(static_cast<unsigned int>(values.GetSize()));
    m_dataBuffer->AppendArray(ArrayView<unsigned char const>(
        reinterpret_cast<unsigned char const*>(values.GetData()), values.GetSize()));
}

void BinaryProtocolCreator::AppendRaw(signed char value) {
    m_dataBuffer->Append(value);
}

void BinaryProtocolCreator::AppendRaw(unsigned char value) {
    m_dataBuffer->Append(value);
}

void BinaryProtocolCreator::AppendRaw(TStringCore const& value) {
    AppendString(value);
}

// ---------------------------------------------------------------------------
// Reader

class BinaryProtocolReader::TypeReader final : public IBinaryProtocolTypeReader {
public:
    explicit TypeReader(BinaryProtocolReader& protocol) : m_protocol(protocol) {}
    signed char ReadInt8() override { return m_protocol.RawReadInt8(); }
    unsigned char ReadUInt8() override { return m_protocol.RawReadUInt8(); }
    TStringCore ReadString() override { return m_protocol.RawReadString(); }

private:
    BinaryProtocolReader& m_protocol;
};

BinaryProtocolReader::BinaryProtocolReader()
    : m_typeReader(std::make_unique<TypeReader>(*this)),
      m_state(std::make_unique<BinaryProtocolStateTracker>()) {}

BinaryProtocolReader::BinaryProtocolReader(std::shared_ptr<ISharedArrayBuffer> const& buffer)
    : BinaryProtocolReader() {
    NextPayload(buffer);
}

BinaryProtocolReader::~BinaryProtocolReader() = default;

BinaryBufferReader& BinaryProtocolReader::Data() {
    // No payload yet reads as an empty one.
    if (m_dataReader == nullptr)
        m_dataReader = std::make_unique<BinaryBufferReader>(nullptr, 0);
    return *m_dataReader;
}

TStringCore BinaryProtocolReader::NextPayload(std::shared_ptr<ISharedArrayBuffer> const& buffer) {
    QEL_VALIDATE_NOT(m_state->HasStates(), QelError::OperationNotSupportedInCurrentBinaryProtocol);
    QEL_VALIDATE_NOT_NULL(buffer, QelError::NullIsNotAValidArgument);
    ArrayView<unsigned char const> const bytes = buffer->GetBytes();
    QEL_VALIDATE(bytes.GetSize() <= 0xFFFFFFFFu, QelError::OutOfRange);
    unsigned int const length = static_cast<unsigned int>(bytes.GetSize());
    BinaryBufferReader header(bytes.GetData(), length);

    unsigned short const version = header.ReadUInt16();
    if (m_version == 0) {
        m_version = version;
        QEL_VALIDATE(m_version == BinaryProtocol::Version, QelError::BinaryProtocolVersionMismatch);
    } else {
        QEL_VALIDATE(m_version == version, QelError::BinaryProtocolVersionMismatch);
    }
    BinaryProtocolOptions const options(header.ReadUInt32());
    m_useBase128 = options.test(BinaryProtocolOptions::UseBase128);
    m_useChecksums = options.test(BinaryProtocolOptions::UseChecksums);
    unsigned int const nameLength =
        m_useBase128 ? header.ReadEncodedBase128() : header.ReadUInt32();
    TStringCore name = header.ReadString(nameLength);

    unsigned int const strIndicesPos = header.ReadUInt32();
    unsigned int const strIndicesLen = header.ReadUInt32();
    unsigned int const stringBytesPos = header.ReadUInt32();
    unsigned int const stringBytesLen = header.ReadUInt32();
    unsigned int const dataTablePos = header.ReadUInt32();
    if (strIndicesPos != 0 && stringBytesPos != 0) {
        QEL_VALIDATE(strIndicesPos < length,
                     QelError::OperationNotSupportedInCurrentBinaryProtocol);
        QEL_VALIDATE(length - strIndicesPos >= strIndicesLen,
                     QelError::OperationNotSupportedInCurrentBinaryProtocol);
        QEL_VALIDATE(stringBytesPos < length,
                     QelError::OperationNotSupportedInCurrentBinaryProtocol);
        QEL_VALIDATE(length - stringBytesPos >= stringBytesLen,
                     QelError::OperationNotSupportedInCurrentBinaryProtocol);
        BinaryBufferReader indices(bytes.GetData() + strIndicesPos, strIndicesLen);
        BinaryBufferReader strings(bytes.GetData() + stringBytesPos, stringBytesLen);
        m_strings.AddStrings(indices, strings);
    }
    QEL_VALIDATE(dataTablePos < length, QelError::OperationNotSupportedInCurrentBinaryProtocol);
    m_dataReader =
        std::make_unique<BinaryBufferReader>(bytes.GetData() + dataTablePos, length - dataTablePos);
    m_buffer = buffer;
    return name;
}

void BinaryProtocolReader::ValidateChecksum() {
    if (!m_useChecksums)
        return;
    unsigned short const checksum = Data().ReadUInt16();
    QEL_VALIDATE(checksum == BinaryProtocol::SentinelValue, QelError::Unspecified);
}

unsigned int BinaryProtocolReader::ReadCount() {
    return m_useBase128 ? Data().ReadEncodedBase128() : Data().ReadUInt32();
}

SpecialKind BinaryProtocolReader::ReadSpecialKind() {
    return static_cast<SpecialKind>(Data().ReadUInt8());
}

BinaryListType BinaryProtocolReader::BeginListType() {
    BinaryListType const type(Data().ReadUInt8());
    m_state->BeginListType(type);
    return type;
}

void BinaryProtocolReader::EndListType() {
    m_state->EndListType();
    ValidateChecksum();
}

unsigned int BinaryProtocolReader::BeginListData() {
    unsigned int const count = ReadCount();
    m_state->BeginListData(count);
    return count;
}

void BinaryProtocolReader::EndListData() {
    m_state->EndListData();
}

unsigned int BinaryProtocolReader::BeginDictionaryType() {
    unsigned int const count = ReadCount();
    m_state->BeginDictionaryType(count);
    return count;
}

unsigned int BinaryProtocolReader::BeginTableType() {
    unsigned int const count = ReadCount();
    m_state->BeginTableType(count);
    return count;
}

void BinaryProtocolReader::EndDictionaryType() {
    m_state->EndDictionaryType();
    ValidateChecksum();
}

void BinaryProtocolReader::EndTableType() {
    m_state->EndTableType();
    ValidateChecksum();
}

BinaryKeySetType BinaryProtocolReader::BeginKeySetType() {
    auto const type = static_cast<BinaryKeySetType>(Data().ReadUInt8());
    m_state->BeginKeySetType(type);
    return type;
}

void BinaryProtocolReader::EndKeySetType() {
    m_state->EndKeySetType();
    ValidateChecksum();
}

#define QEL_DETAIL_READ_KEY_AND_DATA(Name, T, read) \
    T BinaryProtocolReader::Read##Name##Key() {     \
        m_state->TouchKey();                        \
        return read;                                \
    }                                               \
    T BinaryProtocolReader::Read##Name() {          \
        m_state->TouchData();                       \
        return read;                                \
    }
QEL_DETAIL_READ_KEY_AND_DATA(Storage8Bit, unsigned char, Data().ReadUInt8())
QEL_DETAIL_READ_KEY_AND_DATA(Storage32Bit, unsigned int, Data().ReadUInt32())
QEL_DETAIL_READ_KEY_AND_DATA(Storage64Bit, unsigned long long, Data().ReadUInt64())
QEL_DETAIL_READ_KEY_AND_DATA(Bool, bool, Data().ReadBool())
QEL_DETAIL_READ_KEY_AND_DATA(Int32, int, Data().ReadInt32())
QEL_DETAIL_READ_KEY_AND_DATA(Int64, long long, Data().ReadInt64())
QEL_DETAIL_READ_KEY_AND_DATA(Real32, float, Data().ReadReal32())
QEL_DETAIL_READ_KEY_AND_DATA(Real64, double, Data().ReadReal64())
QEL_DETAIL_READ_KEY_AND_DATA(Color, QelColor, QelColor::FromInt32(Data().ReadInt32()))
QEL_DETAIL_READ_KEY_AND_DATA(DateTime, QelDateTime, QelDateTime::FromValue(Data().ReadUInt64()))
QEL_DETAIL_READ_KEY_AND_DATA(String, TStringCore, m_strings.GetString(ReadCount()))
QEL_DETAIL_READ_KEY_AND_DATA(Special, SpecialKind, ReadSpecialKind())
#undef QEL_DETAIL_READ_KEY_AND_DATA

std::pair<Type const*, bool> BinaryProtocolReader::ReadKeyType() {
    m_state->TouchTypeInfo();
    return ReadBinaryProtocolType(*m_typeReader);
}

ArrayView<unsigned char const> BinaryProtocolReader::ReadStorage8BitArray(unsigned int count) {
    m_state->TouchVector(count);
    return Data().ReadArray<unsigned char>(count);
}

ArrayView<unsigned int const> BinaryProtocolReader::ReadStorage32BitArray(unsigned int count) {
    m_state->TouchVector(count);
    return Data().ReadArray<unsigned int>(count);
}

ArrayView<unsigned long long const> BinaryProtocolReader::ReadStorage64BitArray(
    unsigned int count) {
    m_state->TouchVector(count);
    return Data().ReadArray<unsigned long long>(count);
}

ArrayView<SpecialKind const> BinaryProtocolReader::ReadSpecialArray(unsigned int count) {
    m_state->TouchVector(count);
    ArrayView<unsigned char const> const bytes = Data().ReadArray<unsigned char>(count);
    // SpecialKind is a one-byte enumeration with that underlying type, so
    // every byte is a value of it.
    return ArrayView<SpecialKind const>(reinterpret_cast<SpecialKind const*>(bytes.GetData()),
                                        bytes.GetSize(), bytes.IsNull());
}

std::shared_ptr<ISharedDataBuffer> BinaryProtocolReader::GetSharedBufferReference() const {
    return m_buffer;
}

signed char BinaryProtocolReader::RawReadInt8() {
    return Data().ReadInt8();
}

unsigned char BinaryProtocolReader::RawReadUInt8() {
    return Data().ReadUInt8();
}

TStringCore BinaryProtocolReader::RawReadString() {
    return m_strings.GetString(ReadCount());
}

}  // namespace qel::core
