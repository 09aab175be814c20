#include "qel/core/types/Context.h"

#include <tbb/concurrent_unordered_map.h>
#include <tbb/concurrent_vector.h>

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include "core/main/types/IndexedVector.h"
#include "qel/core/store/Collation.h"
#include "qel/core/types/PackedStructOffsets.h"

namespace qel::core {

namespace {

// Types are aligned allocations, so their addresses share low zero bits; mix
// them so that the buckets of a cache are all used.
inline std::size_t MixPointer(void const* p) noexcept {
    return (reinterpret_cast<std::size_t>(p) >> 4) * 0x9E3779B97F4A7C15ULL;
}

struct TypeHash {
    std::size_t operator()(Type const* t) const noexcept { return MixPointer(t); }
};

struct TypePairHash {
    std::size_t operator()(std::pair<Type const*, Type const*> const& p) const noexcept {
        return MixPointer(p.first) ^ (MixPointer(p.second) >> 1);
    }
};

using Member = NamedHeterogeneousType::Member;

// The list keys hash their members in order; the final multiplication
// spreads the combined value over the buckets.
struct MemberListHash {
    std::size_t operator()(std::vector<Member> const& members) const noexcept {
        std::size_t h = members.size();
        for (Member const& member : members)
            h ^= member.GetHashValue() + 0x9E3779B9 + (h << 6) + (h >> 2);
        return h * 0x9E3779B97F4A7C15ULL;
    }
};

struct TypeListHash {
    std::size_t operator()(std::vector<Type const*> const& types) const noexcept {
        std::size_t h = types.size();
        for (Type const* type : types)
            h ^= MixPointer(type) + 0x9E3779B9 + (h << 6) + (h >> 2);
        return h;
    }
};

// Precision and scale in 16 bits; only the precision's low four bits count.
std::uint16_t RealKey(signed char precision, signed char scale) {
    return static_cast<std::uint16_t>(
        (static_cast<unsigned>(static_cast<unsigned char>(scale)) << 8) |
        (static_cast<unsigned>(precision) & 0x0F));
}

template <class Key, class Value, class Hash = std::hash<Key>>
using Cache = tbb::concurrent_unordered_map<Key, Value, Hash>;

constexpr std::size_t kInitialBuckets = 8;

}  // namespace

struct Context::Impl {
    BoolType m_bool;
    IntType m_int32{StoreType::Int32};
    IntType m_int64{StoreType::Int64};
    DateType m_date;
    DateTimeType m_dateTime;
    ColorType m_color;

    Cache<std::uint16_t, RealType const*> m_real32{kInitialBuckets};
    Cache<std::uint16_t, RealType const*> m_real64{kInitialBuckets};
    Cache<Collation, StringType const*> m_strings{kInitialBuckets};
    StringType const* m_stringBase = nullptr;
    std::once_flag m_stringBaseOnce;
    Cache<unsigned short, ExternalType const*> m_externals{kInitialBuckets};
    Cache<Type const*, ArrayType const*, TypeHash> m_arrays{kInitialBuckets};
    Cache<Type const*, SetType const*, TypeHash> m_sets{kInitialBuckets};
    Cache<std::pair<Type const*, Type const*>, KeySetType const*, TypePairHash> m_keySets{
        kInitialBuckets};
    Cache<std::vector<Member>, KeyMapType const*, MemberListHash> m_keyMaps{kInitialBuckets};
    Cache<std::vector<Member>, TableType const*, MemberListHash> m_tables{kInitialBuckets};
    Cache<std::vector<Type const*>, TupleType const*, TypeListHash> m_tuples{kInitialBuckets};
    Cache<AnonymousHeterogeneousType const*, PackedStructOffsets const*, TypeHash> m_offsets{
        kInitialBuckets};

    // Owns every type and layout that a cache points to, winners and losers
    // alike.
    struct OwnerOfPointers {
        std::vector<std::unique_ptr<Type const>> m_types;
        std::vector<std::unique_ptr<PackedStructOffsets const>> m_offsets;
        std::mutex m_mutex;

        void Adopt(std::unique_ptr<Type const> type) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_types.push_back(std::move(type));
        }
        void Adopt(std::unique_ptr<PackedStructOffsets const> offsets) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_offsets.push_back(std::move(offsets));
        }
        ~OwnerOfPointers() {
            m_offsets.clear();
            // Last created first, as later types may refer to earlier ones.
            while (!m_types.empty())
                m_types.pop_back();
        }
    } m_owner;

    IndexedVector<tbb::concurrent_vector<TStringCore>> m_stringTable;
    mutable TReadWriteLock m_stringsLock{0};

    // The lookup pattern of every cache: find; on a miss build with no lock
    // held, insert, and return whatever the map holds now.
    template <class Map, class Make>
    typename Map::mapped_type Lookup(Map& map, typename Map::key_type const& key, Make&& make) {
        auto found = map.find(key);
        if (found != map.end())
            return found->second;
        auto created = make();
        auto result = map.insert({key, created.get()});
        m_owner.Adopt(std::move(created));
        return result.first->second;
    }
};

Context& Context::Instance() {
    static Context instance;
    return instance;
}

Context::Context() : m_impl(std::make_unique<Impl>()) {}
Context::~Context() = default;

BoolType const* Context::GetBoolType() const {
    return &m_impl->m_bool;
}
IntType const* Context::GetInt32Type() const {
    return &m_impl->m_int32;
}
IntType const* Context::GetInt64Type() const {
    return &m_impl->m_int64;
}
DateType const* Context::GetDateType() const {
    return &m_impl->m_date;
}
DateTimeType const* Context::GetDateTimeType() const {
    return &m_impl->m_dateTime;
}
ColorType const* Context::GetColorType() const {
    return &m_impl->m_color;
}

RealType const* Context::GetReal32(signed char precision, signed char scale) const {
    return m_impl->Lookup(m_impl->m_real32, RealKey(precision, scale), [&] {
        return std::unique_ptr<RealType>(new RealType(StoreType::Real32, precision, scale));
    });
}

RealType const* Context::GetReal64(signed char precision, signed char scale) const {
    return m_impl->Lookup(m_impl->m_real64, RealKey(precision, scale), [&] {
        return std::unique_ptr<RealType>(new RealType(StoreType::Real64, precision, scale));
    });
}

StringType const* Context::GetString(Collation const& collation) const {
    return m_impl->Lookup(m_impl->m_strings, collation,
                          [&] { return std::unique_ptr<StringType>(new StringType(collation)); });
}

StringType const* Context::GetStringBase() const {
    std::call_once(m_impl->m_stringBaseOnce,
                   [this] { m_impl->m_stringBase = GetString(Collation()); });
    return m_impl->m_stringBase;
}

ExternalType const* Context::GetExternal(unsigned short id) const {
    return m_impl->Lookup(m_impl->m_externals, id,
                          [&] { return std::unique_ptr<ExternalType>(new ExternalType(id)); });
}

ArrayType const* Context::GetArrayType(Type const* element) const {
    return m_impl->Lookup(m_impl->m_arrays, element,
                          [&] { return std::unique_ptr<ArrayType>(new ArrayType(element)); });
}

SetType const* Context::GetSetType(Type const* element) const {
    return m_impl->Lookup(m_impl->m_sets, element,
                          [&] { return std::unique_ptr<SetType>(new SetType(element)); });
}

KeySetType const* Context::GetKeySetType(Type const* key, Type const* element) const {
    return m_impl->Lookup(m_impl->m_keySets, {key, element}, [&] {
        return std::unique_ptr<KeySetType>(new KeySetType(key, element));
    });
}

KeyMapType const* Context::GetKeyMapType(std::vector<Member>&& members) const {
    std::sort(members.begin(), members.end(), NamedTypeMemberCompare);
    return m_impl->Lookup(m_impl->m_keyMaps, members, [&] {
        return std::unique_ptr<KeyMapType>(new KeyMapType(std::vector<Member>(members)));
    });
}

TableType const* Context::GetTableType(std::vector<Member>&& members) const {
    std::sort(members.begin(), members.end(), NamedTypeMemberCompare);
    return m_impl->Lookup(m_impl->m_tables, members, [&] {
        return std::unique_ptr<TableType>(new TableType(std::vector<Member>(members)));
    });
}

TupleType const* Context::GetTupleType(std::vector<Type const*>&& members) const {
    return m_impl->Lookup(m_impl->m_tuples, members, [&] {
        return std::unique_ptr<TupleType>(new TupleType(std::vector<Type const*>(members)));
    });
}

PackedStructOffsets const* Context::GetPackedStructOffsets(
    AnonymousHeterogeneousType const* type) const {
    return m_impl->Lookup(m_impl->m_offsets, type, [&] {
        return std::unique_ptr<PackedStructOffsets>(new PackedStructOffsets(type->GetMembers()));
    });
}

unsigned long Context::InternString(TStringCore&& text) const {
    auto& table = m_impl->m_stringTable;
    {
        TReadLocker lock(m_impl->m_stringsLock);
        unsigned long id = table.Find(text);
        if (id != table.kNotFound)
            return id;
    }
    TWriteLocker lock(m_impl->m_stringsLock);
    return table.Insert(std::move(text));
}

TStringCore const& Context::GetInternedString(unsigned long id) const {
    return m_impl->m_stringTable.At(id);
}

}  // namespace qel::core
