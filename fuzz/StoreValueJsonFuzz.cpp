// Fuzz target: arbitrary bytes, read as UTF-8 text, through the reader of
// the JSON form of data stores. The reader refuses bad text with the
// catalogue's exceptions; anything else (a crash, a hang, an out-of-bounds
// read, undefined behaviour, another exception) is a finding. A store that
// reads is written back, so that the values the reader builds are walked
// whole.

#include <cstddef>
#include <cstdint>

#include "qel/core/QelCore.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    using namespace qel::core;
    static bool const ready = [] {
        RegisterDefaultCollatorPool();
        return true;
    }();
    (void)ready;
    // Longer inputs say nothing new and slow the search.
    std::size_t const length = size < 8192 ? size : 8192;
    TStringCore const text =
        length == 0
            ? TStringCore()
            : TStringCore::fromUtf8(reinterpret_cast<char const*>(data), static_cast<int>(length));
    try {
        auto const store = StoreValueParser::MakeDataStore(text);
        SerializeDataStoreCompact(*store);
    } catch (QelException const&) {
    }
    return 0;
}
