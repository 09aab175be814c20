#pragma once

// One value per exact FunctionKey, and the resolution of a query key to the
// best registered overload.
//
// Keys are grouped coarsely: the overloads of one name, argument container
// and input count form one group, kept in the order of registration, and a
// lookup walks only its group. Resolution scores each candidate by the
// number of inputs that matched only through an any-typed registered input
// (ScoreMatchingFunction) and keeps the first lowest score; meeting the best
// score a second time during the walk ends it as ambiguous, even when a
// better candidate would follow. That order dependence is part of the
// contract, so the registration order of overloads matters.
//
// A map is filled while a registry is set up and only read afterwards; it
// takes no lock.

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "qel/core/functions/FunctionKey.h"

namespace qel::core {

class RegisteredFunctions;

// -1 for no match; otherwise the number of positions that matched only
// through an any-typed registered input. Lower is better. In the Individual
// form the any type stands for every collection type and never for a scalar;
// in the Vector form it stands for every type.
std::int32_t ScoreMatchingFunction(FunctionKey::ArgContainer container,
                                   TypeRefVec<VariableTypeRef> const& queryInputs,
                                   TypeRefVec<VariableTypeRef> const& registeredInputs);

template <class V>
class FunctionRegistryMap {
public:
    struct KeyHash {
        std::size_t operator()(FunctionKey const& key) const {
            return key.GetPotentialOverloadHash();
        }
    };
    struct KeyEquals {
        bool operator()(FunctionKey const& a, FunctionKey const& b) const {
            return a.IsPotentialOverloadCandidate(b);
        }
    };

    FunctionRegistryMap();
    FunctionRegistryMap(FunctionRegistryMap&&) noexcept;
    FunctionRegistryMap& operator=(FunctionRegistryMap&&) noexcept;
    ~FunctionRegistryMap();

    // The value stored at the exact key, and whether this call added it. An
    // existing value stays, and `value` is dropped. The pointer stays valid
    // as long as the map.
    std::pair<V*, bool> FindOrAddExactKey(FunctionKey&& key, V&& value);
    // Fails "transform function not found: " when the exact key is absent.
    V& FindExactKey(FunctionKey const& key);
    V const& FindExactKey(FunctionKey const& key) const;

    // Never fails: no match and ambiguity both give false.
    bool CanResolve(FunctionKey const& key) const;
    // The best value, or null; with `throwOnFailure` the null cases fail
    // "transform function not found: " or "transform function overload is
    // ambiguous: " instead.
    V const* TryResolve(FunctionKey const& key, bool throwOnFailure) const;
    V const& Resolve(FunctionKey const& key) const { return *TryResolve(key, true); }

    std::size_t GetSize() const;
    // Every entry, in the order of registration.
    void ForEach(std::function<void(FunctionKey const&, V const&)> const& visit) const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

extern template class FunctionRegistryMap<FunctionInfo>;
extern template class FunctionRegistryMap<RegisteredFunctions>;

}  // namespace qel::core
