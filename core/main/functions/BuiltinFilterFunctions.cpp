// The filter functions of the built-ins: a Bool per element, by which the
// filter operator keeps or drops it.

#include <memory>
#include <utility>
#include <vector>

#include "core/main/functions/CreatorValues.h"
#include "qel/core/functions/BuiltinFunctions.h"
#include "qel/core/functions/FunctionNames.h"
#include "qel/core/functions/FunctionRegistration.h"
#include "qel/core/store/SetAdapter.h"
#include "qel/core/store/StoreValue.h"

namespace qel::core {

namespace {

using Values = std::vector<std::shared_ptr<StoreValue>>;
using BoolResult = std::pair<bool, SpecialKind>;

template <class T>
BoolResult FilterNullAndMissing(typename TypeTraits<T>::ArgType, SpecialKind kind) {
    return {kind != SpecialKind::Null && kind != SpecialKind::Missing, SpecialKind::Normal};
}

template <class T>
BoolResult KeepOnlyNormal(typename TypeTraits<T>::ArgType, SpecialKind kind) {
    return {kind == SpecialKind::Normal, SpecialKind::Normal};
}

bool KeepOnlyTrue(bool value) {
    return value;
}

bool KeepOnlyFalse(bool value) {
    return !value;
}

template <class T>
class KeepOnlyFunctor {
public:
    explicit KeepOnlyFunctor(Values const& values) : m_set(functions::SetOf<T>(values)) {}
    bool operator()(typename TypeTraits<T>::ArgType value) const { return m_set.Contains(value); }

private:
    SetAdapter<T> m_set;
};

// Equality of two elements of a run, as keepOnlyFirst defines it.
template <class T>
bool SameElement(T const& a, T const& b) {
    if constexpr (std::is_same_v<T, RIndirectString>) {
        return a.GetValue() == b.GetValue();
    } else if constexpr (std::is_same_v<T, std::shared_ptr<StoreValue>>) {
        if (a == nullptr || b == nullptr)
            return a == b;
        return a->IsEqual(*b);
    } else {
        return a == b;
    }
}

// Keeps the first element of each run of equal elements: a run filter, not
// a distinct one. The state runs on for as long as the functor lives.
template <class T>
class KeepOnlyFirstFunctor {
public:
    explicit KeepOnlyFirstFunctor(Values const&) {}
    bool operator()(typename TypeTraits<T>::ArgType value) {
        if (m_first)
            m_first = false;
        else if (SameElement<T>(value, m_last))
            return false;
        m_last = value;
        return true;
    }

private:
    T m_last{};
    bool m_first = true;
};

template <class T>
void RegisterKeyed(FunctionRegistry& registry, char16_t const* name, Type const* input) {
    RegisterUnarySpecialFunction<T, bool, FilterNullAndMissing<T>>(registry, name, input,
                                                                   BoolType::Get());
}

}  // namespace

void RegisterBuiltinFilterFunctions(FunctionRegistry& registry) {
    using namespace FunctionNames;
    Type const* const b = BoolType::Get();
    Type const* const i = IntType::Get32();
    Type const* const l = IntType::Get64();
    Type const* const f = RealType::Get32();
    Type const* const r = RealType::Get64();
    Type const* const s = StringType::Get();
    Type const* const d = DateType::Get();
    Type const* const t = DateTimeType::Get();

    RegisterKeyed<int>(registry, FILTER_NULL_AND_MISSING, i);
    RegisterKeyed<long long>(registry, FILTER_NULL_AND_MISSING, l);
    RegisterKeyed<float>(registry, FILTER_NULL_AND_MISSING, f);
    RegisterKeyed<double>(registry, FILTER_NULL_AND_MISSING, r);
    RegisterKeyed<QelDateTime>(registry, FILTER_NULL_AND_MISSING, d);
    RegisterKeyed<QelDateTime>(registry, FILTER_NULL_AND_MISSING, t);

    auto const keepOnly = [&]<class T>(Type const* type) {
        RegisterUnaryCreator<T, bool, KeepOnlyFunctor<T>>(registry, KEEP_ONLY, type, b,
                                                          {SetType::Get(type)});
    };
    keepOnly.template operator()<bool>(b);
    keepOnly.template operator()<int>(i);
    keepOnly.template operator()<long long>(l);
    keepOnly.template operator()<float>(f);
    keepOnly.template operator()<double>(r);
    keepOnly.template operator()<RIndirectString>(s);

    RegisterUnarySpecialFunction<int, bool, KeepOnlyNormal<int>>(registry, KEEP_ONLY_NORMAL);
    RegisterUnarySpecialFunction<long long, bool, KeepOnlyNormal<long long>>(registry,
                                                                             KEEP_ONLY_NORMAL);
    RegisterUnarySpecialFunction<float, bool, KeepOnlyNormal<float>>(registry, KEEP_ONLY_NORMAL);
    RegisterUnarySpecialFunction<double, bool, KeepOnlyNormal<double>>(registry, KEEP_ONLY_NORMAL);
    RegisterUnarySpecialFunction<QelDateTime, bool, KeepOnlyNormal<QelDateTime>>(
        registry, KEEP_ONLY_NORMAL, d, b);
    RegisterUnarySpecialFunction<QelDateTime, bool, KeepOnlyNormal<QelDateTime>>(
        registry, KEEP_ONLY_NORMAL, t, b);

    RegisterUnaryFunction<bool, bool, KeepOnlyTrue>(registry, KEEP_ONLY_TRUE);
    RegisterUnaryFunction<bool, bool, KeepOnlyFalse>(registry, KEEP_ONLY_FALSE);

    // The any-typed overload answers to collections only.
    RegisterUnaryCreator<RIndirectString, bool, KeepOnlyFirstFunctor<RIndirectString>>(
        registry, KEEP_ONLY_FIRST, s, b, {}, true);
    RegisterUnaryCreator<int, bool, KeepOnlyFirstFunctor<int>>(registry, KEEP_ONLY_FIRST, i, b, {},
                                                               true);
    RegisterUnaryCreator<long long, bool, KeepOnlyFirstFunctor<long long>>(
        registry, KEEP_ONLY_FIRST, l, b, {}, true);
    RegisterUnaryCreator<std::shared_ptr<StoreValue>, bool,
                         KeepOnlyFirstFunctor<std::shared_ptr<StoreValue>>>(
        registry, KEEP_ONLY_FIRST, nullptr, b, {}, true);
}

}  // namespace qel::core
