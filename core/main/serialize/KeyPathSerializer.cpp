#include "qel/core/serialize/KeyPathSerializer.h"

#include <boost/unordered_map.hpp>

#include "core/main/serialize/EdgeBlanks.h"
#include "qel/core/serialize/VtlScanner.h"
#include "qel/core/store/Collation.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/types/Type.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

// ---------------------------------------------------------------------------
// The cache

std::size_t KeyPathSerializerCacheKey::GetHashValue() const noexcept {
    std::size_t seed = segment.GetTypeAwareHashValue();
    for (bool flag : {includeType, heterogeneousContents})
        seed ^= static_cast<std::size_t>(flag) + 0x9e3779b9 + (seed << 6) + (seed >> 2);
    return seed;
}

namespace {

struct CacheKeyHash {
    std::size_t operator()(KeyPathSerializerCacheKey const& key) const noexcept {
        return key.GetHashValue();
    }
};

}  // namespace

struct KeyPathSerializerCache::Impl {
    boost::unordered_map<KeyPathSerializerCacheKey, TStringCore, CacheKeyHash> m_texts;
};

KeyPathSerializerCache::KeyPathSerializerCache() : m_impl(std::make_unique<Impl>()) {}
KeyPathSerializerCache::~KeyPathSerializerCache() = default;

TStringCore const* KeyPathSerializerCache::Find(KeySegment const& segment, bool includeType,
                                                bool heterogeneousContents) const {
    auto it = m_impl->m_texts.find({segment, includeType, heterogeneousContents});
    return it == m_impl->m_texts.end() ? nullptr : &it->second;
}

TStringCore const& KeyPathSerializerCache::Insert(KeySegment const& segment, bool includeType,
                                                  bool heterogeneousContents, TStringCore&& text) {
    TStringCore& stored = m_impl->m_texts[{segment, includeType, heterogeneousContents}];
    stored = std::move(text);
    return stored;
}

std::size_t KeyPathSerializerCache::GetCount() const noexcept {
    return m_impl->m_texts.size();
}

// ---------------------------------------------------------------------------
// Types

namespace {

// Context makes exactly one class per store type, so a type object of
// another class (or none) did not come from there: the caller is broken.
template <class T>
T const* Expect(Type const* generic) {
    T const* type = dynamic_cast<T const*>(generic);
    if (type == nullptr) [[unlikely]]
        detail::LogicValidationFailed(detail::SourcePath(__FILE__), __LINE__, "(type) != nullptr",
                                      QelError::Unspecified);
    return type;
}

// Precision and scale as the bytes they are stored in: -1 reads back as 255,
// whereas "-1" would not read back at all.
void AppendByte(TStringCore& out, signed char value) {
    out.append(TStringCore::number(static_cast<unsigned>(static_cast<unsigned char>(value))));
}

void AppendType(TStringCore& out, Type const* generic, bool heterogeneousContents);

template <class Named>
void AppendMembers(TStringCore& out, Named const* type, bool heterogeneousContents) {
    if (!heterogeneousContents || type->GetCount() == 0)
        return;
    out.append(TStringCore(u"{ "));
    bool first = true;
    for (NamedHeterogeneousType::Member const& member : type->GetMembers()) {
        if (!first)
            out.append(TStringCore(u", "));
        first = false;
        out.append(KeyPathSerializer::EscapeKeySegment(member.GetName()));
        out.append(u':');
        AppendType(out, member.GetType(), true);
    }
    out.append(TStringCore(u" }"));
}

void AppendElement(TStringCore& out, CollectionType const* type) {
    out.append(u'<');
    AppendType(out, type->GetElementType(), true);
    out.append(u'>');
}

void AppendType(TStringCore& out, Type const* generic, bool heterogeneousContents) {
    Type const* type = Expect<Type>(generic);
    out.append(StoreTypeToChar(type->GetStoreType()));
    switch (type->GetStoreType()) {
        case StoreType::Bool:
        case StoreType::Int32:
        case StoreType::Int64:
        case StoreType::Date:
        case StoreType::DateTime:
        case StoreType::Color:
            return;
        case StoreType::Real32:
        case StoreType::Real64: {
            RealType const* real = Expect<RealType>(type);
            if (real->GetPrecision() == RealType::DefaultPrecision &&
                real->GetScale() == RealType::DefaultScale)
                return;
            out.append(u'<');
            AppendByte(out, real->GetPrecision());
            out.append(u',');
            AppendByte(out, real->GetScale());
            out.append(u'>');
            return;
        }
        case StoreType::String: {
            Collation const& collation = Expect<StringType>(type)->GetCollation();
            if (collation == Collation::DefaultCollation)
                return;
            out.append(u'<');
            out.append(collation.GetLocale().GetValue());
            out.append(u'>');
            return;
        }
        case StoreType::Tuple: {
            auto const& members = Expect<TupleType>(type)->GetMembers();
            if (members.empty())
                return;
            out.append(TStringCore(u"{ "));
            for (std::size_t i = 0; i < members.size(); ++i) {
                if (i > 0)
                    out.append(TStringCore(u", "));
                AppendType(out, members[i], true);
            }
            out.append(TStringCore(u" }"));
            return;
        }
        case StoreType::External:
            out.append(u'<');
            out.append(Expect<ExternalType>(type)->GetExternalTypeName());
            out.append(u'>');
            return;
        case StoreType::Array:
            AppendElement(out, Expect<ArrayType>(type));
            return;
        case StoreType::Set:
            AppendElement(out, Expect<SetType>(type));
            return;
        case StoreType::KeySet: {
            KeySetType const* keySet = Expect<KeySetType>(type);
            out.append(u'<');
            AppendType(out, keySet->GetKeyType(), true);
            out.append(u',');
            AppendType(out, keySet->GetElementType(), true);
            out.append(u'>');
            return;
        }
        case StoreType::KeyMap:
            AppendMembers(out, Expect<KeyMapType>(type), heterogeneousContents);
            return;
        case StoreType::Table:
            AppendMembers(out, Expect<TableType>(type), heterogeneousContents);
            return;
    }
}

}  // namespace

TStringCore KeyPathSerializer::BuildType(Type const* type, bool heterogeneousContents) {
    TStringCore out;
    AppendType(out, type, heterogeneousContents);
    return out;
}

// ---------------------------------------------------------------------------
// Names, segments and paths

namespace {

// Whether the reader can convert an integer name back; one beyond 64 bits
// would make the whole path unreadable. Leading zeros fit, and are lost: the
// text form has always read "007" as "7".
bool FitsInt64(TStringCore const& digits) {
    constexpr unsigned long long kMax = 9223372036854775807ULL;
    unsigned long long value = 0;
    for (char16_t unit : digits.view()) {
        auto const digit = static_cast<unsigned>(unit - u'0');
        if (value > (kMax - digit) / 10)
            return false;
        value = value * 10 + digit;
    }
    return true;
}

}  // namespace

// The scanner decides, so that a name is quoted exactly when reading it bare
// would give another token: a keyword, a real, punctuation, a blank. It runs
// without building values, since it runs once for every segment written.
TStringCore KeyPathSerializer::EscapeKeySegment(TStringCore const& name) {
    if (name.isEmpty())
        return TStringCore();
    VtlToken token;
    bool const bare = VtlScanner::TryScanSingleToken(name, token, true) &&
                      !detail::HasEdgeBlank(name) &&
                      (token.GetType() == VtlTokenType::Identifier ||
                       (token.GetType() == VtlTokenType::Int && FitsInt64(name)));
    return bare ? name : VtlScanner::Quote(name);
}

void KeyPathSerializer::BuildKeySegment(TStringCore& out, KeySegment const& segment,
                                        bool includeType, bool heterogeneousContents,
                                        KeyPathSerializerCache* cache) {
    if (cache != nullptr) {
        if (TStringCore const* text = cache->Find(segment, includeType, heterogeneousContents)) {
            out.append(*text);
            return;
        }
    }
    TStringCore text = EscapeKeySegment(segment.GetSegment());
    if (includeType && segment.HasType()) {
        if (!text.isEmpty())
            text.append(u':');
        AppendType(text, segment.GetType(), heterogeneousContents);
    }
    if (cache != nullptr)
        out.append(cache->Insert(segment, includeType, heterogeneousContents, std::move(text)));
    else
        out.append(text);
}

TStringCore KeyPathSerializer::FromKeyPath(KeyPath const& path, bool includeType,
                                           KeyPathSerializerCache* cache) {
    TStringCore out;
    for (KeySegment const& segment : path.GetSegments()) {
        if (!out.isEmpty())
            out.append(u'/');
        BuildKeySegment(out, segment, includeType, includeType, cache);
    }
    return out;
}

TStringCore KeyPathSerializer::FromKeySegment(KeySegment const& segment, bool includeType) {
    TStringCore out;
    BuildKeySegment(out, segment, includeType, true, nullptr);
    return out;
}

TStringCore KeyPathSerializer::FromKeySegmentWithoutHeterogeneousTypeContents(
    KeySegment const& segment, bool includeType) {
    TStringCore out;
    BuildKeySegment(out, segment, includeType, false, nullptr);
    return out;
}

}  // namespace qel::core
