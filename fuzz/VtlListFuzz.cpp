// Fuzz target: arbitrary UTF-16 text through the VTL reader, whole texts and
// single lines, with and without comments. The reader refuses bad text with
// the catalogue's exceptions; anything else (a crash, a hang, an out-of-
// bounds read, undefined behaviour) is a finding. What it reads must write
// to a text that reads again and writes the same (for what the text form
// promises to carry, see RoundTrip.h).

#include <cstddef>
#include <cstdint>

#include "fuzz/FuzzText.h"
#include "fuzz/RoundTrip.h"
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
        std::vector<TransformSpec> program;
        try {
            program = ParseVtlList(text, keepComments);
        } catch (QelException const&) {
            continue;
        }
        if (text.indexOf(u'\0') >= 0 || !qel::fuzz::WritesBackWhole(program))
            continue;
        TStringCore const written = TransformsToString(program, true, nullptr);
        if (TransformsToString(ParseVtlList(written, true), true, nullptr) != written)
            __builtin_trap();
    }
    try {
        ParseVtlLine(text);
    } catch (QelException const&) {
    }
    return 0;
}
