#include "core/main/store/ValueSetImpl.h"

#include <type_traits>
#include <utility>
#include <vector>

#include "qel/core/store/Factory.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/utility/Parser.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {

// ---------------------------------------------------------------------------
// The boxed iterator: every element, then every special

template <class T>
class ValueSet<T>::SetStoreValueIterator final : public IStoreValueIterator {
public:
    enum class Stage { Begin, Specials, End };

    SetStoreValueIterator(SetType const* type, std::shared_ptr<Container const> values,
                          std::shared_ptr<SpecialKindSet const> specials, Stage stage)
        : m_type(type),
          m_stage(stage),
          m_values(std::move(values)),
          m_specials(std::move(specials)) {
        QEL_VALIDATE_NOT_NULL(m_specials.get(), QelError::ListOfSpecialValuesCannotBeNull);
        QEL_VALIDATE(stage == Stage::Begin || stage == Stage::End, QelError::InvalidIterator);
        QEL_VALIDATE_NOT_NULL(m_values.get(), QelError::SetCannotBeNull);
        if (stage == Stage::End) {
            m_value = m_values->end();
            m_special = m_specials->end();
            return;
        }
        m_value = m_values->begin();
        m_special = m_specials->begin();
        if (m_value == m_values->end())
            m_stage = m_special != m_specials->end() ? Stage::Specials : Stage::End;
    }

    std::unique_ptr<IStoreValueIterator> Clone() const override {
        return std::make_unique<SetStoreValueIterator>(*this);
    }
    bool NotEqual(std::unique_ptr<IStoreValueIterator> const& other) const override {
        auto const* that = dynamic_cast<SetStoreValueIterator const*>(other.get());
        if (that == nullptr)
            return false;
        return m_stage != that->m_stage || m_value != that->m_value || m_special != that->m_special;
    }
    void MoveNext() override {
        QEL_VALIDATE(m_stage != Stage::End, QelError::IteratorOutOfBounds);
        if (m_stage == Stage::Begin) {
            if (++m_value == m_values->end())
                m_stage = m_special != m_specials->end() ? Stage::Specials : Stage::End;
        } else if (++m_special == m_specials->end()) {
            m_stage = Stage::End;
        }
    }
    std::shared_ptr<StoreValue> GetCurrent() const override {
        QEL_VALIDATE(m_stage != Stage::End, QelError::IteratorOutOfBounds);
        Type const* elementType = m_type->GetElementType();
        if (m_stage == Stage::Begin)
            return MakeStoreValueFromStorageType<T>(elementType, *m_value);
        return factory::MakeSpecial(elementType, *m_special);
    }

private:
    SetType const* m_type;
    Stage m_stage;
    // Held so that an iterator keeps the elements it walks alive.
    std::shared_ptr<Container const> m_values;
    std::shared_ptr<SpecialKindSet const> m_specials;
    typename Container::const_iterator m_value;
    SpecialKindSet::const_iterator m_special;
};

template <class T>
std::unique_ptr<IStoreValueIterator> const& ValueSet<T>::StoreValueIterableImpl::begin() const {
    std::call_once(m_beginOnce, [this] {
        m_begin = std::make_unique<SetStoreValueIterator>(
            m_set->m_type, m_set->m_values, m_set->m_specials, SetStoreValueIterator::Stage::Begin);
    });
    return m_begin;
}

template <class T>
std::unique_ptr<IStoreValueIterator> const& ValueSet<T>::StoreValueIterableImpl::end() const {
    std::call_once(m_endOnce, [this] {
        m_end = std::make_unique<SetStoreValueIterator>(
            m_set->m_type, m_set->m_values, m_set->m_specials, SetStoreValueIterator::Stage::End);
    });
    return m_end;
}

// ---------------------------------------------------------------------------
// Construction

template <class T>
ValueSet<T>::ValueSet(SetType const* type, std::unique_ptr<Container> values,
                      std::unique_ptr<SpecialKindSet> specials)
    : m_type(type),
      m_values(std::move(values)),
      m_specials(TakeSpecials(std::move(specials))),
      m_specialValues(*m_specials),
      m_storeValues(*this) {
    Validate();
}

template <class T>
ValueSet<T>::ValueSet(SetType const* type, std::shared_ptr<Container> values)
    : m_type(type),
      m_values(std::move(values)),
      m_specials(TakeSpecials(nullptr)),
      m_specialValues(*m_specials),
      m_storeValues(*this) {
    Validate();
}

template <class T>
ValueSet<T>::ValueSet(ValueSet const& other)
    : StoreValue(),
      IStoreCollection(),
      ITypedSet<T>(),
      m_type(other.m_type),
      m_values(other.m_values),
      m_specials(other.m_specials),
      m_specialValues(other.m_specialValues),
      m_storeValues(*this) {}

template <class T>
ValueSet<T>::~ValueSet() = default;

// Normal marks an element, never a special member, so it has no place here.
template <class T>
std::shared_ptr<SpecialKindSet> ValueSet<T>::TakeSpecials(
    std::unique_ptr<SpecialKindSet> specials) {
    if (specials == nullptr)
        return std::make_shared<SpecialKindSet>(kSpecialKindBucketCount);
    specials->erase(SpecialKind::Normal);
    return std::shared_ptr<SpecialKindSet>(std::move(specials));
}

template <class T>
void ValueSet<T>::Validate() const {
    using StorageT = T;
    QEL_VALIDATE_NOT_NULL(m_type, QelError::NullIsNotAValidArgument);
    QEL_VALIDATE_NOT_NULL(m_values, QelError::SetCannotBeNull);
    if constexpr (std::is_same_v<T, RIndirectString>) {
        // Members are found by the container's hash and equality; if those
        // followed another collation than the element type's, a value of the
        // type could be missed or matched wrongly. A type that is no string
        // at all is refused below.
        Type const* const elementType = m_type->GetElementType();
        if (TypeTraits<RIndirectString>::IsMatchingType(elementType)) {
            Collation const& c = TypeAs<StringType>(elementType)->GetCollation();
            Container const& set = *m_values;
            QEL_VALIDATE(c == set.hash_function().GetCollation(),
                         QelError::TheCollectionAndRawContainerHaveDifferent);
            QEL_VALIDATE(c == set.key_eq().GetCollation(),
                         QelError::TheCollectionAndRawContainerHaveDifferent);
        }
    }
    QEL_VALIDATE_NOT_NULL(m_specials, QelError::ListOfSpecialValuesCannotBeNull);
    // The nested storage holds any boxed value.
    if constexpr (!std::is_same_v<T, std::shared_ptr<StoreValue>>) {
        QEL_VALIDATE(StorageTypeTraits<StorageT>::IsMatchingType(m_type->GetElementType()),
                     QelError::TypeDoesntMatchExpectedType);
    }
    if (!m_specials->empty()) {
        QEL_VALIDATE_NOT(IsCollectionStoreType(m_type->GetElementType()->GetStoreType()),
                         QelError::ArraysWithNestedCollectionsDoNotSupport);
    }
}

template <class T>
std::unique_ptr<StoreValue> ValueSet<T>::Clone() const {
    return std::make_unique<ValueSet>(*this);
}

template <class T>
std::shared_ptr<StoreValue> ValueSet<T>::CopyWithoutSpecials() const {
    return std::make_shared<ValueSet>(m_type, m_values);
}

// ---------------------------------------------------------------------------
// String keys: the text of a would-be element

template <class T>
std::shared_ptr<StoreValue> ValueSet<T>::GetByString(RInternString const& key) const {
    if constexpr (std::is_same_v<T, std::shared_ptr<StoreValue>>) {
        QEL_VALIDATION_FAILED(QelError::ValueSetOfStoreValuesDoesNotSupportLook);
    } else if constexpr (std::is_same_v<T, QelTuple>) {
        // A tuple has no literal text to be read from.
        QEL_VALIDATION_FAILED(QelError::NotImplemented);
    } else {
        return factory::MakeBool(Contains(ParseStorageType<T>(key.GetValue(), GetElementType())));
    }
}

template <class T>
std::shared_ptr<StoreValue> ValueSet<T>::TryGetByString(RInternString const& key) const {
    if constexpr (std::is_same_v<T, std::shared_ptr<StoreValue>> || std::is_same_v<T, QelTuple>) {
        (void)key;
        return nullptr;
    } else {
        bool ok = false;
        T const value = TryParseStorageType<T>(key.GetValue(), GetElementType(), ok);
        if (!ok)
            return nullptr;
        return factory::MakeBool(Contains(value));
    }
}

// ---------------------------------------------------------------------------
// To an array: elements in node order, then, when asked for, the specials
// behind them over placeholders

template <class T>
std::shared_ptr<StoreValue> ValueSet<T>::CopyAsArray(bool includeSpecials) const {
    auto values = std::make_unique<std::vector<T>>();
    if (!includeSpecials || GetSpecialCount() == 0) {
        values->reserve(m_values->size());
        values->assign(m_values->begin(), m_values->end());
        return factory::MakeArray<T>(GetElementType(), std::move(values), nullptr, nullptr,
                                     SortSpecOrder::UNKNOWN);
    }
    std::size_t const total = m_values->size() + m_specials->size();
    auto specials = std::make_unique<std::vector<SpecialKind>>();
    values->reserve(total);
    specials->reserve(total);
    values->assign(m_values->begin(), m_values->end());
    specials->resize(values->size(), SpecialKind::Normal);
    values->resize(total);
    specials->insert(specials->end(), m_specials->begin(), m_specials->end());
    return factory::MakeArray<T>(GetElementType(), std::move(values), std::move(specials), nullptr,
                                 SortSpecOrder::UNKNOWN);
}

// ---------------------------------------------------------------------------
// The makers

template <class T>
std::unique_ptr<ValueSetContainer<T>> MakeSetContainer(Type const* elementType,
                                                       std::size_t bucketCount) {
    if constexpr (std::is_same_v<T, RIndirectString>) {
        Collation const& collation = TypeAs<StringType>(elementType)->GetCollation();
        return std::make_unique<ValueSetContainer<T>>(bucketCount, CollatorHash(collation),
                                                      CollatorEqualTo(collation));
    } else {
        (void)elementType;
        return std::make_unique<ValueSetContainer<T>>(bucketCount);
    }
}

namespace factory {

template <class T>
std::shared_ptr<StoreValue> MakeSet(Type const* elementType,
                                    std::unique_ptr<ValueSetContainer<T>> values,
                                    std::unique_ptr<SpecialKindSet> specials) {
    return std::make_shared<ValueSet<T>>(SetType::Get(elementType), std::move(values),
                                         std::move(specials));
}

}  // namespace factory

#define QEL_INSTANTIATE_SET(T)                                                                    \
    template class ValueSet<T>;                                                                   \
    template std::unique_ptr<ValueSetContainer<T>> MakeSetContainer<T>(Type const*, std::size_t); \
    namespace factory {                                                                           \
    template std::shared_ptr<StoreValue> MakeSet<T>(Type const*,                                  \
                                                    std::unique_ptr<ValueSetContainer<T>>,        \
                                                    std::unique_ptr<SpecialKindSet>);             \
    }
QEL_FOR_EACH_STORAGE_TYPE(QEL_INSTANTIATE_SET)
#undef QEL_INSTANTIATE_SET

}  // namespace qel::core
