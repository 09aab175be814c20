#pragma once

// Tells two JSON trees apart the way their readers' callers could: kinds,
// every accessor's result or exception (type and text), the array walk and
// the dictionary walk of every value, and what an iterator's clone sees.
// Shared by the differential test of the two readers and their fuzz target.

#include <bit>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <typeinfo>

#include "qel/core/serialize/JsonObject.h"
#include "qel/core/serialize/StoreValueParser.h"
#include "qel/core/serialize/StoreValueSerializer.h"
#include "qel/core/utility/QelException.h"

namespace qel::fuzz {

namespace detail {

using qel::core::IJsonObject;

template <class Read>
std::string Observe(Read&& read) {
    try {
        return read();
    } catch (std::exception const& e) {
        return std::string("threw ").append(typeid(e).name()).append(": ").append(e.what());
    }
}

inline std::string Units(qel::sys::TStringCore const& text) {
    std::string out;
    for (int i = 0; i < text.size(); ++i)
        out.append(std::to_string(static_cast<unsigned>(text[i]))).append(",");
    return out;
}

inline std::string Describe(IJsonObject const& o) {
    std::string out;
    out.append(o.IsValue() ? "v" : "-").append(o.IsArray() ? "a" : "-");
    out.append(o.IsDictionary() ? "d" : "-").append(o.IsString() ? "s" : "-");
    out.append(" bool ").append(Observe([&] { return std::string(o.GetBool() ? "1" : "0"); }));
    out.append(" i32 ").append(Observe([&] { return std::to_string(o.GetInt32()); }));
    out.append(" i64 ").append(Observe([&] { return std::to_string(o.GetInt64()); }));
    // Reals by their bits: -0 and 0 differ, NaN equals itself.
    out.append(" r32 ").append(
        Observe([&] { return std::to_string(std::bit_cast<std::uint32_t>(o.GetReal32())); }));
    out.append(" r64 ").append(
        Observe([&] { return std::to_string(std::bit_cast<std::uint64_t>(o.GetReal64())); }));
    out.append(" str ").append(Observe([&] { return Units(o.GetString()); }));
    return out;
}

// Walks both iterables in step; `deep` descends into the elements, otherwise
// they are only described (the array walk of a dictionary meets its values
// again, which the dictionary walk descends into).
template <class T, class Visit>
std::string WalkBoth(core::IJsonIterable<T> const& a, core::IJsonIterable<T> const& b,
                     std::string const& path, Visit&& visit) {
    auto ia = a.begin();
    auto ib = b.begin();
    auto const ea = a.end();
    auto const eb = b.end();
    auto const firstA = ia->Clone();
    auto const firstB = ib->Clone();
    for (int index = 0;; ++index) {
        bool const endA = ia->IsEqualTo(*ea);
        if (endA != ib->IsEqualTo(*eb))
            return path + ": walks of different lengths";
        if (endA)
            break;
        std::string difference = visit(ia->GetCurrent(), ib->GetCurrent(), index);
        if (!difference.empty())
            return difference;
        ia->MoveNext();
        ib->MoveNext();
    }
    if (firstA->IsEqualTo(*a.begin()) != firstB->IsEqualTo(*b.begin()))
        return path + ": clones of the first position differ";
    return {};
}

inline std::string Difference(IJsonObject const& a, IJsonObject const& b, std::string const& path,
                              bool deep) {
    std::string const da = Describe(a);
    std::string const db = Describe(b);
    if (da != db)
        return path + ": " + da + " | " + db;
    if (!deep)
        return {};
    std::string difference = WalkBoth<core::JsonArrayElement>(
        a.GetArray(), b.GetArray(), path, [&](auto const& x, auto const& y, int index) {
            return Difference(*x, *y, path + "[" + std::to_string(index) + "]", a.IsArray());
        });
    if (!difference.empty())
        return difference;
    return WalkBoth<core::JsonDictionaryEntry>(
        a.GetDictionary(), b.GetDictionary(), path, [&](auto const& x, auto const& y, int) {
            std::string const name = path + "{" + Units(x.first) + "}";
            if (x.first != y.first)
                return name + ": names differ from {" + Units(y.first) + "}";
            return Difference(*x.second, *y.second, name, a.IsDictionary());
        });
}

}  // namespace detail

// The first difference between two trees, as a path and the two
// descriptions; empty when a caller cannot tell them apart.
inline std::string JsonTreeDifference(core::IJsonObject const& a, core::IJsonObject const& b) {
    return detail::Difference(a, b, "$", true);
}

// The store that the store parser reads from a tree, as its JSON text, or
// its refusal: the parser reads whole columns of the fast reader's tree at
// once and must read them as it reads the reference's, element by element.
inline std::string StoreText(std::shared_ptr<core::IJsonObject> const& tree) {
    try {
        return core::SerializeValue(*core::StoreValueParser::MakeKeyMap(tree)).toStdString();
    } catch (core::QelException const& e) {
        return std::string("refused: ") + e.what();
    }
}

}  // namespace qel::fuzz
