// Fuzz target: arbitrary bytes, read as UTF-8 text and as UTF-16 text,
// through both JSON readers. They must accept and refuse alike, refuse with
// the same message, and build trees that no caller can tell apart (see
// JsonReadersDifference.h); the data stores read from the two trees (the
// store parser reads whole columns of the fast reader's at once) must be
// the same store or the same refusal.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "fuzz/FuzzText.h"
#include "fuzz/JsonReadersDifference.h"
#include "qel/core/QelCore.h"

namespace {

using namespace qel::core;

// The tree, or the refusal's text in `refusal`.
std::shared_ptr<IJsonObject> Read(TStringCore const& text, JsonReader reader,
                                  std::string& refusal) {
    try {
        return GetRootJsonObject(text, reader);
    } catch (QelException const& e) {
        refusal = e.what();
        return nullptr;
    }
}

// Both readers on one text; a difference is printed before the trap.
void Compare(TStringCore const& text) {
    std::string fastRefusal;
    std::string referenceRefusal;
    auto const fast = Read(text, JsonReader::Fast, fastRefusal);
    auto const reference = Read(text, JsonReader::Reference, referenceRefusal);
    std::string difference;
    if ((fast == nullptr) != (reference == nullptr) || fastRefusal != referenceRefusal)
        difference =
            "verdicts differ: fast '" + fastRefusal + "', reference '" + referenceRefusal + "'";
    else if (fast != nullptr)
        difference = qel::fuzz::JsonTreeDifference(*fast, *reference);
    if (difference.empty() && fast != nullptr) {
        std::string const fastStore = qel::fuzz::StoreText(fast);
        std::string const referenceStore = qel::fuzz::StoreText(reference);
        if (fastStore != referenceStore)
            difference =
                "stores differ: fast '" + fastStore + "', reference '" + referenceStore + "'";
    }
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        __builtin_trap();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static bool const ready = [] {
        RegisterDefaultCollatorPool();
        return true;
    }();
    (void)ready;
    // Long enough to nest past the readers' depth limit.
    std::size_t const length = std::min<std::size_t>(size, 8192);
    Compare(TStringCore::fromUtf8(reinterpret_cast<char const*>(data), static_cast<int>(length)));
    // As UTF-16 too, for lone surrogates and the conversion to UTF-8.
    Compare(qel::fuzz::TextFromBytes(data, size));
    return 0;
}
