// `qel store show FILE` and `qel store check FILE...`: a look at a data store
// in its JSON form, for hosts that write one and authors that read one.
// `show` prints the tree as readable text, `check` only whether it reads.
// A refused text prints "FILE: error CODE: message", where in the text the
// reader gave up (when that can be told: the JSON reader keeps no lines)
// and the library's source context, with exit code 1.

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "qel/core/QelCore.h"
#include "qel/core/serialize/JsonObject.h"
#include "qel/core/serialize/StoreValueParser.h"
#include "qel/core/serialize/StoreValueSerializer.h"
#include "qel/core/store/DictionaryIterators.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/ValueUtil.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/QelTupleData.h"
#include "tools/qel/CommandLine.h"

namespace qel::tools {

namespace {

using namespace qel::core;

constexpr unsigned kDefaultRows = 20;

constexpr char kUsage[] =
    "usage: qel store show [--rows N] FILE\n"
    "       qel store check FILE...\n\n"
    "show    prints the data store in FILE (its JSON form) as text, one line\n"
    "        per value: its key path with the type of its last segment, then\n"
    "        the value itself or, for a collection, its size. Names are in\n"
    "        sorted order, two blanks of indentation a level.\n"
    "          primitives   1.5, true, 2021-12-31, ff010203; strings in\n"
    "                       double quotes with \\\" \\\\ \\n \\t \\uXXXX escapes;\n"
    "                       tuples as { 1, \"x\" }\n"
    "          specials     their keyword in angle brackets: <Null>\n"
    "          arrays       a row per element under the key: position, value\n"
    "          tables       the same, a column each, under a header of the\n"
    "                       column names\n"
    "          sets         a row per item, in sorted order, specials last\n"
    "          key sets     a row per entry, key and value, by sorted key\n"
    "          key maps     their members, one level deeper\n"
    "        Numbers are right-aligned in their column, other texts left-\n"
    "        aligned. Collections inside arrays and key sets are shown like\n"
    "        key map members, under the path of their position or key.\n"
    "        Arrays, tables, sets and key sets show their first N rows\n"
    "        (default 20; 0 shows all) and then \"... M more rows\" (items,\n"
    "        entries).\n"
    "check   reads each FILE and prints \"FILE: ok\" or its first refusal as\n"
    "        FILE: error CODE: message, the position of the failing value\n"
    "        (\"at\" its keys as written in FILE, positions in brackets) and\n"
    "        the library's source; exit code 1 if any was refused\n"
    "FILE may be - for standard input.\n";

TStringCore Utf16(std::string const& utf8) {
    return TStringCore::fromUtf8(utf8.data(), static_cast<int>(utf8.size()));
}

// ---------------------------------------------------------------------------
// Texts of values

// The columns are laid out by characters, not bytes: a name in another
// script must not push its neighbours out of line.
std::size_t Width(std::string const& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    }));
}

// Control characters escaped, so that every value stays on its one line;
// within a string's quotes also the quote and the backslash.
std::string Escaped(std::string const& text, bool quoted) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string out;
    out.reserve(text.size() + 2);
    if (quoted)
        out += '"';
    for (char const c : text) {
        auto const byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else if (byte < 0x20 || byte == 0x7F) {
            out += "\\u00";
            out += kHex[byte >> 4];
            out += kHex[byte & 15];
        } else if (quoted && (c == '"' || c == '\\')) {
            out += '\\';
            out += c;
        } else {
            out += c;
        }
    }
    if (quoted)
        out += '"';
    return out;
}

std::string SpecialText(SpecialKind kind) {
    return "<" + SpecialKindToString(kind).toStdString() + ">";
}

bool IsNumeric(Type const* type) {
    switch (type->GetStoreType()) {
        case StoreType::Int32:
        case StoreType::Int64:
        case StoreType::Real32:
        case StoreType::Real64:
            return true;
        default:
            return false;
    }
}

// Elements that get lines of their own; a tuple fits in a cell.
bool IsNested(Type const* type) {
    return IsCollectionStoreType(type->GetStoreType()) && !type->Is(StoreType::Tuple);
}

std::string ValueText(std::shared_ptr<StoreValue> const& value);

std::string TupleText(QelTuple const& tuple) {
    std::string out = "{";
    std::size_t const count = tuple.GetType()->GetMembers().size();
    for (unsigned int n = 0; n < count; ++n)
        out += (n == 0 ? " " : ", ") + ValueText(FetchStoreValueFromTuple(tuple, n));
    return out + (count == 0 ? "}" : " }");
}

// A value on one line. Collections only meet this as table cells or tuple
// members, which the reader does not make; they show as their JSON.
std::string ValueText(std::shared_ptr<StoreValue> const& value) {
    if (value == nullptr)
        return "<no value>";
    if (value->IsSpecial())
        return SpecialText(value->GetSpecialKind());
    switch (value->GetStoreType()) {
        case StoreType::String:
            return Escaped(value->AsString().GetValue().toStdString(), true);
        case StoreType::Tuple:
            return TupleText(value->AsTuple());
        case StoreType::Bool:
        case StoreType::Int32:
        case StoreType::Int64:
        case StoreType::Real32:
        case StoreType::Real64:
        case StoreType::Date:
        case StoreType::DateTime:
        case StoreType::Color:
            return FormatPrimitive(*value).toStdString();
        default:
            return Escaped(SerializeValue(*value).toStdString(), false);
    }
}

// Reals in a total order (NaN last, -0 before 0), so that sorting is defined.
template <class F>
bool RealLess(F a, F b) {
    if (std::isnan(a) || std::isnan(b))
        return !std::isnan(a) && std::isnan(b);
    return a < b || (a == b && std::signbit(a) && !std::signbit(b));
}

// The order of set items and key set keys: as the JSON writer sorts them,
// strings by code unit rather than by collation, so that the listing does
// not depend on the collator installed; specials after every normal value.
bool ValueLess(std::shared_ptr<StoreValue> const& a, std::shared_ptr<StoreValue> const& b) {
    if (a == nullptr || b == nullptr)
        return a == nullptr && b != nullptr;
    if (a->IsSpecial() || b->IsSpecial()) {
        return !a->IsSpecial() ? true : b->IsSpecial() && a->GetSpecialKind() < b->GetSpecialKind();
    }
    if (a->GetStoreType() != b->GetStoreType())
        return a->GetStoreType() < b->GetStoreType();
    switch (a->GetStoreType()) {
        case StoreType::String:
            return a->AsString().GetValue() < b->AsString().GetValue();
        case StoreType::Real32:
            return RealLess(a->AsReal32(), b->AsReal32());
        case StoreType::Real64:
            return RealLess(a->AsReal64(), b->AsReal64());
        case StoreType::Bool:
        case StoreType::Int32:
        case StoreType::Int64:
        case StoreType::Date:
        case StoreType::DateTime:
        case StoreType::Color:
            return a->Compare(*b) < 0;
        case StoreType::Tuple: {
            QelTuple const& x = a->AsTuple();
            QelTuple const& y = b->AsTuple();
            std::size_t const count =
                std::min(x.GetType()->GetMembers().size(), y.GetType()->GetMembers().size());
            for (unsigned int n = 0; n < count; ++n) {
                auto const p = FetchStoreValueFromTuple(x, n);
                auto const q = FetchStoreValueFromTuple(y, n);
                if (ValueLess(p, q))
                    return true;
                if (ValueLess(q, p))
                    return false;
            }
            return false;
        }
        default:
            return SerializeValue(*a) < SerializeValue(*b);
    }
}

std::string Plural(std::size_t count, char const* one, char const* many) {
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

// ---------------------------------------------------------------------------
// The listing

// Key names joined as a path.
std::string Join(std::string const& path, std::string const& segment) {
    return path.empty() ? segment : path + '/' + segment;
}

// Rows of cells, each column padded to its widest cell: numbers to the
// right, other texts to the left, and no blank at the end of a line.
struct Grid {
    std::vector<bool> rightAligned;
    std::vector<std::vector<std::string>> rows;

    void Print(std::ostream& out, std::string const& indent) const {
        std::vector<std::size_t> widths(rightAligned.size(), 0);
        for (auto const& row : rows) {
            for (std::size_t c = 0; c < row.size() && c < widths.size(); ++c)
                widths[c] = std::max(widths[c], Width(row[c]));
        }
        for (auto const& row : rows) {
            std::string line = indent;
            for (std::size_t c = 0; c < row.size() && c < widths.size(); ++c) {
                std::string const pad(widths[c] - Width(row[c]), ' ');
                if (c > 0)
                    line += "  ";
                line += rightAligned[c] ? pad + row[c] : row[c] + pad;
            }
            line.erase(line.find_last_not_of(' ') + 1);
            out << line << '\n';
        }
    }
};

// One line of a list of members: its label (the key path, typed) and what
// follows it, a value or a collection's size; PrintContents shows the rest.
struct Member {
    std::string label;
    std::string path;  // untyped, for the members' own labels
    TStringCore name;  // the order of the list, as the JSON writer sorts
    std::shared_ptr<StoreValue> value;
};

class StorePrinter {
public:
    StorePrinter(std::ostream& out, unsigned rows) : m_out(out), m_rows(rows) {}

    void PrintStore(IStoreKeyMap const& root) {
        if (root.GetCount() == 0) {
            m_out << "(empty)\n";
            return;
        }
        PrintMembers(KeyMapMembers(root, ""), 0);
    }

private:
    // Labels wider than this do not widen their siblings' column: one long
    // name should not push every value of its map to the right.
    static constexpr std::size_t kMaxLabelColumn = 40;

    static Member MakeMember(std::string const& parent, RInternString const& name,
                             std::shared_ptr<StoreValue> const& value) {
        Member member;
        member.path = Join(
            parent,
            Escaped(KeyPathSerializer::EscapeKeySegment(name.GetValue()).toStdString(), false));
        std::string typed = member.path;
        if (value != nullptr) {
            KeySegment const segment(name, value->GetType());
            // A table's columns share its rows, so its label names their
            // types; a key map's members carry their own.
            TStringCore const text =
                value->GetStoreType() == StoreType::Table && !value->IsSpecial()
                    ? KeyPathSerializer::FromKeySegment(segment, true)
                    : KeyPathSerializer::FromKeySegmentWithoutHeterogeneousTypeContents(segment,
                                                                                        true);
            typed = Join(parent, Escaped(text.toStdString(), false));
        }
        member.label = std::move(typed);
        member.name = name.GetValue();
        member.value = value;
        return member;
    }

    static std::vector<Member> KeyMapMembers(IStoreKeyMap const& map, std::string const& path) {
        std::vector<Member> members;
        for (auto const& [name, value] : map.GetKeyValuePairs())
            members.push_back(MakeMember(path, name, value));
        std::sort(members.begin(), members.end(),
                  [](Member const& a, Member const& b) { return a.name < b.name; });
        return members;
    }

    void PrintMembers(std::vector<Member> const& members, int depth) {
        std::size_t column = 0;
        for (Member const& member : members) {
            if (Width(member.label) <= kMaxLabelColumn)
                column = std::max(column, Width(member.label));
        }
        for (Member const& member : members) {
            std::string const indent(2 * depth, ' ');
            std::string const pad(Width(member.label) < column ? column - Width(member.label) : 0,
                                  ' ');
            m_out << indent << member.label << pad << "  " << Summary(member.value) << '\n';
            PrintContents(member, depth + 1);
        }
    }

    static std::string Summary(std::shared_ptr<StoreValue> const& value) {
        if (value == nullptr || value->IsSpecial())
            return ValueText(value);
        switch (value->GetStoreType()) {
            case StoreType::Array:
                return Plural(value->AsArray().GetCount(), "row", "rows");
            case StoreType::Table:
                return Plural(value->AsTable().GetRowCount(), "row", "rows") + ", " +
                       Plural(value->AsTable().GetColumnCount(), "column", "columns");
            case StoreType::Set: {
                IStoreSet const& set = value->AsSet();
                std::size_t const specials = set.GetSpecialCount();
                std::string text = Plural(set.GetCount() - specials, "item", "items");
                if (specials > 0)
                    text += ", " + Plural(specials, "special", "specials");
                return text;
            }
            case StoreType::KeySet:
                return KeySetSummary(*value);
            case StoreType::KeyMap:
                return Plural(value->AsKeyMap().GetCount(), "key", "keys");
            default:
                return ValueText(value);
        }
    }

    static std::string KeySetSummary(StoreValue const& value) {
        auto const* const type = TypeAs<KeySetType>(value.GetType());
        return ForAnyTwoStorageTypes(
            type->GetKeyType()->GetStoreType(), type->GetElementType()->GetStoreType(),
            [&]<class K, class V>() {
                auto const& dictionary = value.AsDictionary<K, V>();
                std::size_t const specials = dictionary.GetSpecialKeyCount();
                std::string text = Plural(dictionary.GetCount() - specials, "entry", "entries");
                if (specials > 0)
                    text += ", " + Plural(specials, "special key", "special keys");
                return text;
            });
    }

    void PrintContents(Member const& member, int depth) {
        StoreValue const* const value = member.value.get();
        if (value == nullptr || value->IsSpecial())
            return;
        switch (value->GetStoreType()) {
            case StoreType::Array:
                PrintArray(member, value->AsArray(), depth);
                return;
            case StoreType::Table:
                PrintTable(value->AsTable(), depth);
                return;
            case StoreType::Set:
                PrintSet(value->AsSet(), depth);
                return;
            case StoreType::KeySet:
                PrintKeySet(member, *value, depth);
                return;
            case StoreType::KeyMap:
                PrintMembers(KeyMapMembers(value->AsKeyMap(), member.path), depth);
                return;
            default:
                return;
        }
    }

    std::size_t Shown(std::size_t count) const {
        return m_rows == 0 ? count : std::min<std::size_t>(count, m_rows);
    }

    // The line that stands for the rows left out, if any.
    void PrintMore(std::size_t count, int depth, char const* one = "more row",
                   char const* many = "more rows") {
        std::size_t const shown = Shown(count);
        if (shown < count)
            m_out << std::string(2 * depth, ' ') << "... " << Plural(count - shown, one, many)
                  << '\n';
    }

    void PrintArray(Member const& member, IStoreArray const& array, int depth) {
        std::size_t const count = array.GetCount();
        Type const* const element = array.GetElementType();
        if (IsNested(element)) {
            std::vector<Member> members;
            for (unsigned int i = 0; i < Shown(count); ++i) {
                members.push_back(MakeMember(member.path, RInternString(Utf16(std::to_string(i))),
                                             array.GetStoreValueAt(i)));
            }
            PrintMembers(members, depth);
        } else {
            Grid grid{{true, IsNumeric(element)}, {}};
            for (unsigned int i = 0; i < Shown(count); ++i)
                grid.rows.push_back({std::to_string(i), ValueText(array.GetStoreValueAt(i))});
            grid.Print(m_out, std::string(2 * depth, ' '));
        }
        PrintMore(count, depth);
    }

    void PrintTable(IStoreTable const& table, int depth) {
        std::vector<std::pair<TStringCore, std::shared_ptr<StoreValue>>> columns;
        for (auto const& [name, column] : table.GetColumns())
            columns.emplace_back(name.GetValue(), column);
        std::sort(columns.begin(), columns.end(),
                  [](auto const& a, auto const& b) { return a.first < b.first; });
        Grid grid{{true}, {{""}}};
        for (auto const& [name, column] : columns) {
            grid.rightAligned.push_back(column != nullptr && !column->IsSpecial() &&
                                        column->GetStoreType() == StoreType::Array &&
                                        IsNumeric(column->AsArray().GetElementType()));
            grid.rows[0].push_back(Escaped(name.toStdString(), false));
        }
        std::size_t const count = table.GetRowCount();
        for (unsigned int i = 0; i < Shown(count); ++i) {
            std::vector<std::string> row{std::to_string(i)};
            for (auto const& [name, column] : columns) {
                bool const has = column != nullptr && !column->IsSpecial() &&
                                 column->GetStoreType() == StoreType::Array &&
                                 i < column->AsArray().GetCount();
                row.push_back(has ? ValueText(column->AsArray().GetStoreValueAt(i)) : "");
            }
            grid.rows.push_back(std::move(row));
        }
        grid.Print(m_out, std::string(2 * depth, ' '));
        PrintMore(count, depth);
    }

    void PrintSet(IStoreSet const& set, int depth) {
        std::vector<std::shared_ptr<StoreValue>> items;
        IUniformCollection::StoreValueIterable const& values = set.GetStoreValues();
        for (auto at = values.begin()->Clone(); at->NotEqual(values.end()); at->MoveNext())
            items.push_back(at->GetCurrent());
        std::sort(items.begin(), items.end(), ValueLess);
        Grid grid{{IsNumeric(set.GetElementType())}, {}};
        for (std::size_t i = 0; i < Shown(items.size()); ++i)
            grid.rows.push_back({ValueText(items[i])});
        grid.Print(m_out, std::string(2 * depth, ' '));
        PrintMore(items.size(), depth, "more item", "more items");
    }

    // Keys and elements boxed, so that one listing serves the 36 pairs.
    void PrintKeySet(Member const& member, StoreValue const& value, int depth) {
        auto const* const type = TypeAs<KeySetType>(value.GetType());
        Type const* const keyType = type->GetKeyType();
        Type const* const elementType = type->GetElementType();
        using Entry = std::pair<std::shared_ptr<StoreValue>, std::shared_ptr<StoreValue>>;
        std::vector<Entry> entries;
        ForAnyTwoStorageTypes(
            keyType->GetStoreType(), elementType->GetStoreType(), [&]<class K, class V>() {
                auto const& dictionary = value.AsDictionary<K, V>();
                for (auto const& [key, element] : dictionary.GetKeyValuePairs()) {
                    entries.emplace_back(MakeStoreValueFromStorageType<K>(keyType, key),
                                         MakeStoreValueFromStorageType<V>(elementType, element));
                }
                for (auto const& [kind, element] : dictionary.GetSpecialKeyValuePairs()) {
                    entries.emplace_back(factory::MakeSpecial(keyType, kind),
                                         MakeStoreValueFromStorageType<V>(elementType, element));
                }
            });
        std::sort(entries.begin(), entries.end(),
                  [](Entry const& a, Entry const& b) { return ValueLess(a.first, b.first); });
        std::size_t const shown = Shown(entries.size());
        if (IsNested(elementType)) {
            std::vector<Member> members;
            for (std::size_t i = 0; i < shown; ++i) {
                // The key as the store reads it from a path: its plain text.
                std::shared_ptr<StoreValue> const& key = entries[i].first;
                std::string const name =
                    key->GetStoreType() == StoreType::String && !key->IsSpecial()
                        ? key->AsString().GetValue().toStdString()
                        : ValueText(key);
                members.push_back(
                    MakeMember(member.path, RInternString(Utf16(name)), entries[i].second));
            }
            PrintMembers(members, depth);
        } else {
            Grid grid{{IsNumeric(keyType), IsNumeric(elementType)}, {}};
            for (std::size_t i = 0; i < shown; ++i)
                grid.rows.push_back({ValueText(entries[i].first), ValueText(entries[i].second)});
            grid.Print(m_out, std::string(2 * depth, ' '));
        }
        PrintMore(entries.size(), depth, "more entry", "more entries");
    }

    std::ostream& m_out;
    unsigned m_rows;
};

// ---------------------------------------------------------------------------
// Refusals

struct Refusal {
    QelException error;
    std::string position;  // empty when it cannot be told
};

bool SameRefusal(QelException const& a, QelException const& b) {
    return a.GetError() == b.GetError() && a.GetRawDetails() == b.GetRawDetails();
}

// The refusal of `read`, if it refuses.
template <class Read>
std::optional<QelException> RefusalOf(Read&& read) {
    try {
        read();
    } catch (QelException const& e) {
        return e;
    } catch (std::exception const&) {
        // Not the reader's own refusal: nothing to match against.
        return std::nullopt;
    }
    return std::nullopt;
}

// Where `refusal` arose below `json`, a value of `type` (null: the root),
// found by reading its parts alone in the reader's order (members by name,
// elements by position): the first part that fails leads on, if it fails
// the same way; otherwise `position` is all that can be said.
std::string Locate(Type const* type, std::shared_ptr<IJsonObject> const& json,
                   std::string const& position, QelException const& refusal) {
    if (json == nullptr)
        return position;
    bool const named = type == nullptr || type->Is(StoreType::KeyMap) || type->Is(StoreType::Table);
    if (named && json->IsDictionary()) {
        IJsonIterable<JsonDictionaryEntry> const& members = json->GetDictionary();
        auto const end = members.end();
        for (auto at = members.begin(); !at->IsEqualTo(*end); at->MoveNext()) {
            JsonDictionaryEntry const entry = at->GetCurrent();
            Type const* member = nullptr;
            auto const failure = RefusalOf([&] {
                member = KeyPathParser::MakeSegment(entry.first).GetType();
                if (member != nullptr)
                    StoreValueParser::MakeStoreValueFromJsonObject(member, entry.second);
            });
            std::string const where = Join(position, entry.first.toStdString());
            if (member == nullptr && !failure) {
                // A key without a type, which the reader refuses itself.
                return refusal.GetError() == QelError::NeedToSpecifyAKeyType ? where : position;
            }
            // A table takes arrays of primitives only, which it checks
            // before reading a column.
            bool const column =
                member != nullptr && member->Is(StoreType::Array) &&
                IsPrimitiveStoreType(TypeAs<ArrayType>(member)->GetElementType()->GetStoreType());
            if (!failure && type != nullptr && type->Is(StoreType::Table) && member != nullptr &&
                !column) {
                return refusal.GetError() == QelError::TableValuesMustBeArrays ||
                               refusal.GetError() == QelError::TableArraysMustContainPrimitives
                           ? where
                           : position;
            }
            if (!failure)
                continue;
            if (!SameRefusal(*failure, refusal))
                return position;
            return member == nullptr ? where : Locate(member, entry.second, where, refusal);
        }
        return position;
    }
    if (type != nullptr && type->Is(StoreType::Array) && json->IsArray()) {
        Type const* const element = TypeAs<ArrayType>(type)->GetElementType();
        bool const nested = IsNested(element);
        unsigned int index = 0;
        IJsonIterable<JsonArrayElement> const& items = json->GetArray();
        auto const end = items.end();
        for (auto each = items.begin(); !each->IsEqualTo(*end); each->MoveNext()) {
            JsonArrayElement const item = each->GetCurrent();
            std::string const at = position + '[' + std::to_string(index++) + ']';
            // A special element is a pair of value and keyword, which only
            // the array reader takes; it is passed over.
            if (!nested && item->IsArray())
                continue;
            auto const failure =
                RefusalOf([&] { StoreValueParser::MakeStoreValueFromJsonObject(element, item); });
            if (!failure)
                continue;
            if (!SameRefusal(*failure, refusal))
                return position;
            return nested ? Locate(element, item, at, refusal) : at;
        }
    }
    return position;
}

std::shared_ptr<DataStore> Read(std::string const& text) {
    TStringCore const json = Utf16(text);
    try {
        return StoreValueParser::MakeDataStore(json);
    } catch (QelException const& e) {
        std::string position;
        try {
            position = Locate(nullptr, GetRootJsonObject(json), "", e);
        } catch (std::exception const&) {
            // Not JSON at all: no position to give.
        }
        throw Refusal{e, Escaped(position, false)};
    }
}

// "FILE: error CODE: message: details", then where, then the library's
// source, as `qel vtl check` prints.
void PrintRefusal(std::ostream& out, std::string const& path, Refusal const& refusal) {
    QelException const& e = refusal.error;
    out << path << ": error " << static_cast<unsigned>(e.GetError()) << ": "
        << ErrorToString(e.GetError()).toStdString();
    std::string const details = e.GetRawDetails().toStdString();
    if (!details.empty())
        out << ": " << Escaped(details, false);
    out << '\n';
    if (!refusal.position.empty())
        out << "  at " << refusal.position << '\n';
    if (!e.GetContext().isEmpty())
        out << "  (" << e.GetContext().toStdString() << ")\n";
}

int Check(std::vector<std::string> const& files, std::ostream& out) {
    if (files.empty())
        throw UsageError("'store check' needs at least one FILE");
    int status = 0;
    for (std::string const& path : files) {
        try {
            Read(ReadAll(path));
            out << path << ": ok\n";
        } catch (Refusal const& refusal) {
            PrintRefusal(out, path, refusal);
            status = 1;
        } catch (std::exception const& e) {
            // An unreadable file, or a failure that is no refusal of the
            // reader: the other files are still checked.
            out << path << ": error: " << e.what() << '\n';
            status = 1;
        }
    }
    return status;
}

unsigned ParseRows(std::string const& text) {
    if (text.empty() || text.size() > 9 ||
        text.find_first_not_of("0123456789") != std::string::npos)
        throw UsageError("--rows needs a number, not '" + text + "'");
    return static_cast<unsigned>(std::stoul(text));
}

int Show(std::vector<std::string> const& args, std::ostream& out) {
    unsigned rows = kDefaultRows;
    std::vector<std::string> files;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--rows") {
            if (i + 1 == args.size())
                throw UsageError("--rows needs a number");
            rows = ParseRows(args[++i]);
        } else {
            files.push_back(args[i]);
        }
    }
    if (files.size() != 1)
        throw UsageError("'store show' takes exactly one FILE");
    std::shared_ptr<DataStore> store;
    try {
        store = Read(ReadAll(files[0]));
    } catch (Refusal const& refusal) {
        PrintRefusal(out, files[0], refusal);
        return 1;
    }
    StorePrinter(out, rows).PrintStore(*store->GetKeyMap());
    return 0;
}

int RunStore(std::vector<std::string> const& args, std::ostream& out) {
    if (args.empty())
        throw UsageError("'store' needs a subcommand: show or check");
    if (args[0] == "--help" || args[0] == "-h") {
        out << kUsage;
        return 0;
    }
    RegisterCollatorPool();
    std::vector<std::string> rest(args.begin() + 1, args.end());
    if (args[0] == "show")
        return Show(rest, out);
    if (args[0] == "check")
        return Check(rest, out);
    throw UsageError("unknown store subcommand '" + args[0] + "'");
}

}  // namespace

Command MakeStoreCommand() {
    Command command;
    command.name = "store";
    command.summary = "print a data store (JSON) as text, or check that it reads";
    command.usage = kUsage;
    command.run = RunStore;
    return command;
}

}  // namespace qel::tools
