// Fuzz target: arbitrary UTF-16 text through the VTL reader, whole texts and
// single lines, with and without comments. The reader refuses bad text with
// the catalogue's exceptions; anything else (a crash, a hang, an out-of-
// bounds read, undefined behaviour) is a finding.

#include <cstddef>
#include <cstdint>

#include "fuzz/FuzzText.h"
#include "qel/core/QelCore.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    using namespace qel::core;
    static bool const ready = [] {
        RegisterDefaultCollatorPool();
        return true;
    }();
    (void)ready;
    TStringCore const text = qel::fuzz::TextFromBytes(data, size);
    for (bool keepComments : {true, false}) {
        try {
            ParseVtlList(text, keepComments);
        } catch (QelException const&) {
        }
    }
    try {
        ParseVtlLine(text);
    } catch (QelException const&) {
    }
    return 0;
}
