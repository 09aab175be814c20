// Fuzz target: arbitrary bytes as one binary payload holding a data store.
// The reader may refuse them with the catalogue's exceptions and nothing
// else; what it accepts must write again and read back. Anything else (a
// crash, another exception, a hang) is a finding.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "qel/core/QelCore.h"

namespace {

using namespace qel::core;

// A host value kind, so that external values are read too: its bytes as
// they came.
class Blob final : public ValueExternal {
public:
    explicit Blob(std::vector<unsigned char> bytes)
        : ValueExternal(TStringCore(u"blob")), m_bytes(std::move(bytes)) {}
    std::unique_ptr<StoreValue> Clone() const override { return std::make_unique<Blob>(m_bytes); }
    std::vector<unsigned char> m_bytes;
};

std::shared_ptr<IDataStore> ReadStore(std::vector<unsigned char>&& bytes) {
    BinaryProtocolReader reader;
    reader.NextPayload(MakeSharedArrayBuffer(std::move(bytes)));
    return StoreValueBinaryParser::MakeDataStore(reader);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static bool const ready = [] {
        RegisterDefaultCollatorPool();
        RegisterExternalType(
            4711, TStringCore(u"blob"),
            [](ValueExternal const& v) { return static_cast<Blob const&>(v).m_bytes; },
            [](ArrayView<unsigned char const> const& bytes) {
                return std::make_shared<Blob>(
                    std::vector<unsigned char>(bytes.begin(), bytes.end()));
            });
        return true;
    }();
    (void)ready;
    // A copy: arrays are read in place, so the payload must start on an
    // 8-byte boundary, as heap memory does and the fuzzer's input need not.
    std::vector<unsigned char> bytes(data, data + size);
    std::shared_ptr<IDataStore> store;
    try {
        store = ReadStore(std::move(bytes));
    } catch (QelException const&) {
        return 0;
    }
    BinaryProtocolCreator creator(false, true);
    SerializeDataStore(creator, *store);
    ReadStore(creator.FinalizePayload());
    return 0;
}
