#include "qel/core/functions/FunctionRegistryMap.h"

#include <boost/container/small_vector.hpp>
#include <boost/unordered_map.hpp>

#include <deque>

#include "qel/core/functions/RegisteredFunctions.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace {

// "name(t1, t2)", or "name(vector {t1, t2})" for the vector form. A query
// may carry the any type, which has no text of its own.
TStringCore GenerateErrorMessage(FunctionKey const& key) {
    bool const vector = key.GetInputArgContainer() == FunctionKey::ArgContainer::Vector;
    TStringCore text = key.GetName().GetValue();
    text.append(u'(');
    if (vector)
        text.append(TStringCore(u"vector {"));
    bool first = true;
    for (VariableTypeRef const& input : key.GetInputTypes()) {
        if (!first)
            text.append(TStringCore(u", "));
        first = false;
        text.append(input.IsAnyType() ? TStringCore(u"any") : input->ToString());
    }
    if (vector)
        text.append(u'}');
    text.append(u')');
    return text;
}

}  // namespace

std::int32_t ScoreMatchingFunction(FunctionKey::ArgContainer container,
                                   TypeRefVec<VariableTypeRef> const& queryInputs,
                                   TypeRefVec<VariableTypeRef> const& registeredInputs) {
    if (queryInputs.size() != registeredInputs.size())
        return -1;
    std::int32_t score = 0;
    for (std::size_t i = 0; i < queryInputs.size(); ++i) {
        VariableTypeRef const& query = queryInputs[i];
        VariableTypeRef const& registered = registeredInputs[i];
        // Pointers first: the base types are a virtual call away.
        if (query == registered)
            continue;
        if (query.Get() != nullptr && registered.Get() != nullptr &&
            query.GetBaseType() == registered.GetBaseType())
            continue;
        if (!registered.IsAnyType() || query.IsAnyType())
            return -1;
        if (container != FunctionKey::ArgContainer::Vector &&
            !IsCollectionStoreType(query->GetStoreType()))
            return -1;
        ++score;
    }
    return score;
}

// The entries live in registration order in a deque, whose elements never
// move; a group holds its members' addresses in the same order.
template <class V>
struct FunctionRegistryMap<V>::Impl {
    using Entry = std::pair<FunctionKey, V>;
    using Group = boost::container::small_vector<Entry*, 4>;

    Entry* FindExact(FunctionKey const& key) const {
        auto const group = groups.find(key);
        if (group == groups.end())
            return nullptr;
        for (Entry* entry : group->second) {
            if (entry->first.AreKeysExactlyEqual(key))
                return entry;
        }
        return nullptr;
    }

    std::deque<Entry> entries;
    boost::unordered_map<FunctionKey, Group, KeyHash, KeyEquals> groups;
};

template <class V>
FunctionRegistryMap<V>::FunctionRegistryMap() : m_impl(std::make_unique<Impl>()) {}

template <class V>
FunctionRegistryMap<V>::FunctionRegistryMap(FunctionRegistryMap&&) noexcept = default;

template <class V>
FunctionRegistryMap<V>& FunctionRegistryMap<V>::operator=(FunctionRegistryMap&&) noexcept = default;

template <class V>
FunctionRegistryMap<V>::~FunctionRegistryMap() = default;

template <class V>
std::pair<V*, bool> FunctionRegistryMap<V>::FindOrAddExactKey(FunctionKey&& key, V&& value) {
    if (typename Impl::Entry* existing = m_impl->FindExact(key))
        return {&existing->second, false};
    auto& group = m_impl->groups[key];
    typename Impl::Entry& entry = m_impl->entries.emplace_back(std::move(key), std::move(value));
    group.push_back(&entry);
    return {&entry.second, true};
}

template <class V>
V& FunctionRegistryMap<V>::FindExactKey(FunctionKey const& key) {
    typename Impl::Entry* entry = m_impl->FindExact(key);
    if (entry == nullptr) [[unlikely]]
        QEL_VALIDATION_FAILED(QelError::TransformFunctionNotFound, GenerateErrorMessage(key));
    return entry->second;
}

template <class V>
V const& FunctionRegistryMap<V>::FindExactKey(FunctionKey const& key) const {
    return const_cast<FunctionRegistryMap*>(this)->FindExactKey(key);
}

template <class V>
bool FunctionRegistryMap<V>::CanResolve(FunctionKey const& key) const {
    return TryResolve(key, false) != nullptr;
}

template <class V>
V const* FunctionRegistryMap<V>::TryResolve(FunctionKey const& key, bool throwOnFailure) const {
    auto const group = m_impl->groups.find(key);
    typename Impl::Entry const* best = nullptr;
    if (group != m_impl->groups.end()) {
        std::int32_t bestScore = 0x7FFFFFFF;
        for (typename Impl::Entry const* entry : group->second) {
            std::int32_t const score = ScoreMatchingFunction(
                key.GetInputArgContainer(), key.GetInputTypes(), entry->first.GetInputTypes());
            if (score < 0 || score > bestScore)
                continue;
            if (score == bestScore) {
                // A second candidate at the best score so far is ambiguous,
                // whatever might still follow.
                if (throwOnFailure)
                    QEL_VALIDATION_FAILED(QelError::TransformFunctionOverloadIsAmbiguous,
                                          GenerateErrorMessage(key));
                return nullptr;
            }
            bestScore = score;
            best = entry;
        }
    }
    if (best == nullptr) {
        if (throwOnFailure)
            QEL_VALIDATION_FAILED(QelError::TransformFunctionNotFound, GenerateErrorMessage(key));
        return nullptr;
    }
    return &best->second;
}

template <class V>
std::size_t FunctionRegistryMap<V>::GetSize() const {
    return m_impl->entries.size();
}

template <class V>
void FunctionRegistryMap<V>::ForEach(
    std::function<void(FunctionKey const&, V const&)> const& visit) const {
    for (auto const& [key, value] : m_impl->entries)
        visit(key, value);
}

template class FunctionRegistryMap<FunctionInfo>;
template class FunctionRegistryMap<RegisteredFunctions>;

}  // namespace qel::core
