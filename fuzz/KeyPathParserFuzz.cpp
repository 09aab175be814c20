// Fuzz target: arbitrary UTF-16 text read as a key path, a key path list, a
// segment and a type. The input's bytes are read as little-endian code units.
// What is read is written back and must read again to the same thing, and a
// list of paths goes through a prefix tree. Anything but a catalogue
// exception is a finding: a crash, a hang, an out-of-bounds read, undefined
// behaviour, or a round trip that differs.

#include <cstddef>
#include <cstdint>
#include <optional>

#include "fuzz/FuzzText.h"
#include "qel/core/QelCore.h"

namespace {

using namespace qel::core;

// The names that the text form cannot give back: the empty name, a name cut
// by a zero unit, and digits written bare that read as another number ("007"
// is "7").
bool NameSurvives(TStringCore const& name) {
    if (name.isEmpty() || name.indexOf(u'\0') >= 0)
        return false;
    VtlToken token;
    if (KeyPathSerializer::EscapeKeySegment(name) != name ||
        !VtlScanner::TryScanSingleToken(name, VtlTokenType::Int, token, false))
        return true;
    return TStringCore::number(token.GetInt()) == name;
}

bool TypeSurvives(Type const* type) {
    if (auto const* named = type->TryAs<NamedHeterogeneousType>()) {
        for (auto const& member : named->GetMembers()) {
            if (!NameSurvives(member.GetName()) || !TypeSurvives(member.GetType()))
                return false;
        }
    } else if (auto const* keySet = type->TryAs<KeySetType>()) {
        return TypeSurvives(keySet->GetKeyType()) && TypeSurvives(keySet->GetElementType());
    } else if (auto const* collection = type->TryAs<CollectionType>()) {
        return TypeSurvives(collection->GetElementType());
    }
    return true;  // tuples hold primitives only
}

template <class Read>
auto ReadOrNull(Read&& read) -> decltype(read()) {
    try {
        return read();
    } catch (QelException const&) {
        return {};
    }
}

void ReadPath(TStringCore const& text) {
    auto path = ReadOrNull([&] { return std::optional(KeyPathParser::MakeKeyPath(text)); });
    if (!path)
        return;
    for (KeySegment const& segment : path->GetSegments()) {
        if (!NameSurvives(segment.GetSegment()) ||
            (segment.HasType() && !TypeSurvives(segment.GetType())))
            return;
    }
    TStringCore const written = KeyPathSerializer::FromKeyPath(*path, true, nullptr);
    auto again = ReadOrNull([&] { return std::optional(KeyPathParser::MakeKeyPath(written)); });
    if (!again || !(*again == *path) || again->GetHashValue() != path->GetHashValue())
        __builtin_trap();
    for (qelsize_t i = 0; i < path->GetCount(); ++i) {
        if (!again->GetSegments()[i].TypeAwareEquals(path->GetSegments()[i]))
            __builtin_trap();
    }
}

void ReadType(TStringCore const& text) {
    Type const* type = ReadOrNull([&] { return KeyPathParser::MakeType(text); });
    if (type == nullptr || !TypeSurvives(type))
        return;
    TStringCore const written = KeyPathSerializer::BuildType(type, true);
    if (ReadOrNull([&] { return KeyPathParser::MakeType(written); }) != type)
        __builtin_trap();
}

void ReadList(TStringCore const& text) {
    auto paths = ReadOrNull([&] { return KeyPathParser::MakeKeyPathList(text); });
    auto tree = KeyPathPrefixTree::Make();
    for (KeyPath const& path : paths)
        tree->Add(path, true);
    for (KeyPath const& path : paths) {
        if (tree->Find(path) == nullptr || tree->FindConcreteRelations(path).empty())
            __builtin_trap();
    }
    tree->GetEldersOfDescendants();
    try {
        KeyPathParser::MakeSegment(text).ToString();
    } catch (QelException const&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static bool const ready = [] {
        RegisterDefaultCollatorPool();
        RegisterExternalType(
            77, TStringCore(u"Geometry"),
            [](ValueExternal const&) { return std::vector<unsigned char>(); },
            [](ArrayView<unsigned char const> const&) { return std::shared_ptr<ValueExternal>(); });
        return true;
    }();
    (void)ready;
    TStringCore const text = qel::fuzz::TextFromBytes(data, size);
    ReadPath(text);
    ReadType(text);
    ReadList(text);
    return 0;
}
