// Fuzz target: arbitrary UTF-16 text through the scanner and through
// ParsePrimitive for every primitive type. The input's bytes are read as
// little-endian code units. Anything but a catalogue exception (or
// boost::bad_get from a mismatched token value, which this target does not
// provoke) is a finding: a crash, a hang, an out-of-bounds read or undefined
// behaviour.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "fuzz/FuzzText.h"
#include "qel/core/QelCore.h"

namespace {

using namespace qel::core;

void ScanAll(TStringCore const& text) {
    VtlScanner scanner{TStringCore(text)};
    // A token consumes at least one unit, so the text's length bounds the loop.
    for (int i = 0; i <= text.size() + 1; ++i) {
        VtlToken const& token = scanner.Next();
        if (token.GetType() == VtlTokenType::End)
            break;
        if (i % 3 == 0)
            scanner.Peek(2);
    }
    VtlToken token;
    VtlScanner::TryScanSingleToken(text, token, true);
    VtlScanner::TryScanSingleToken(text, token, false);
    TStringCore string;
    if (VtlScanner::TryScanSingleString(text, string)) {
        // Quoting must give back a text that scans to the same string.
        TStringCore again;
        if (!VtlScanner::TryScanSingleString(VtlScanner::Quote(string), again))
            __builtin_trap();
        if (string.indexOf(u'\0') < 0 && !(again == string))
            __builtin_trap();
    }
}

void ParseAll(TStringCore const& text) {
    static Type const* const types[] = {BoolType::Get(),   IntType::Get32(),
                                        IntType::Get64(),  RealType::Get32(),
                                        RealType::Get64(), StringType::Get(),
                                        DateType::Get(),   DateTimeType::Get(),
                                        ColorType::Get(),  ArrayType::Get(IntType::Get32())};
    for (Type const* type : types) {
        try {
            auto value = ParsePrimitive(type, text);
            FormatPrimitive(*value);
        } catch (QelException const&) {
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static bool const ready = [] {
        RegisterDefaultCollatorPool();
        return true;
    }();
    (void)ready;
    TStringCore const text = qel::fuzz::TextFromBytes(data, size);
    ScanAll(text);
    ParseAll(text);
    return 0;
}
