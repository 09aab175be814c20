// Sets: a flat JSON array of items, or, when the set holds specials, two
// arrays: the items, then the special keywords. Items repeated in the text
// are one item.

#include <memory>
#include <type_traits>

#include "core/main/serialize/StoreValueParser_Traits.h"
#include "core/main/store/ValueSetImpl.h"
#include "qel/core/serialize/StoreValueParser.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/types/Type.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

using namespace json_parse;

namespace {

// Whether a set's JSON array is in the nested form: its first element is
// the array of items. A tuple is itself an array, but one of plain values,
// so in a set of tuples the items array shows by an array inside.
bool IsNestedSet(JsonRange<JsonArrayElement> const& elements, bool ofTuples) {
    auto const first = elements.begin();
    if (first == elements.end() || !(*first)->IsArray())
        return false;
    if (!ofTuples)
        return true;
    auto const items = ArrayOf(**first);
    auto const item = items.begin();
    return !(item == items.end()) && !(*item)->IsValue();
}

struct MakeSetHelper {
    Type const* elementType;
    std::shared_ptr<IJsonObject> const& o;

    template <class S>
    std::shared_ptr<StoreValue> operator()() const {
        if constexpr (std::is_same_v<S, std::shared_ptr<StoreValue>>) {
            QEL_VALIDATION_FAILED(QelError::UnsupportedSetElementType,
                                  StoreTypeToString(elementType->GetStoreType()));
        } else {
            constexpr bool kOfTuples = std::is_same_v<S, QelTuple>;
            auto const elements = ArrayOf(*o);
            auto values = MakeSetContainer<S>(elementType, elements.size());
            auto specials = std::make_unique<SpecialKindSet>();
            auto const addItems = [&](JsonRange<JsonArrayElement> const& items) {
                for (JsonArrayElement const& item : items) {
                    QEL_VALIDATE(kOfTuples || item->IsValue(),
                                 QelError::UnexpectedContentFoundInSet);
                    values->insert(PrimitiveTraits<S>::MakePrimitive(elementType, item));
                }
            };
            if (!IsNestedSet(elements, kOfTuples)) {
                addItems(elements);
            } else {
                QEL_VALIDATE_NOT(kOfTuples, QelError::SetsOfTuplesDoNotSupportSpecial);
                auto part = elements.begin();
                addItems(ArrayOf(**part));
                ++part;
                QEL_VALIDATE_NOT(part == elements.end(),
                                 QelError::NestedSetOfSpecialValuesExpectedNone);
                QEL_VALIDATE((*part)->IsArray(), QelError::UnexpectedContentFoundInSet);
                for (JsonArrayElement const& special : ArrayOf(**part))
                    specials->insert(JsonSpecialKind(special));
                ++part;
                QEL_VALIDATE(part == elements.end(), QelError::UnexpectedContentFoundInSet);
            }
            return factory::MakeSet<S>(elementType, std::move(values), std::move(specials));
        }
    }
};

}  // namespace

std::shared_ptr<StoreValue> StoreValueParser::MakeSet(SetType const* type,
                                                      std::shared_ptr<IJsonObject> const& o) {
    QEL_VALIDATE_NOT_NULL_SHOWN(o, QelError::NullIsNotAValidArgument);
    QEL_VALIDATE_SHOWN(o->IsArray(), QelError::ExpectedAJsonArray);
    QEL_VALIDATE_NOT_NULL_SHOWN(type, QelError::NullIsNotAValidArgument);
    Type const* const elementType = type->GetElementType();
    StoreType const storeType = elementType->GetStoreType();
    QEL_VALIDATE(IsStoreTypeSupportedInSet(storeType) && storeType != StoreType::External,
                 QelError::UnsupportedSetElementType, StoreTypeToString(storeType));
    return ForAnyStorageType(storeType, MakeSetHelper{elementType, o});
}

}  // namespace qel::core
