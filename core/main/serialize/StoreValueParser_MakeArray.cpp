// Arrays: a JSON array of elements, each a plain value or, for a special
// element, the two-item array of its stored value and its keyword. Arrays
// of tuples and of collections have no two-item form: a tuple is itself an
// array, and a collection element is a whole value, special or not.

#include <memory>
#include <type_traits>
#include <vector>

#include "core/main/serialize/JsonReaders.h"
#include "core/main/serialize/StoreValueParser_Traits.h"
#include "qel/core/serialize/StoreValueParser.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/types/Type.h"
#include "qel/core/utility/QelTupleData.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

using namespace json_parse;

namespace {

template <class S>
void AddArrayElement(Type const* elementType, std::shared_ptr<IJsonObject> const& v,
                     std::vector<S>& values, std::vector<SpecialKind>& specials) {
    // Primitives other than tuples have the two-item form; an element that
    // is no plain value is one. The specials are kept only from the first
    // special on, the elements before it being normal.
    bool const hasPairForm = IsPrimitiveStoreType(elementType->GetStoreType());
    if (!hasPairForm || v->IsValue()) {
        values.push_back(PrimitiveTraits<S>::MakePrimitive(elementType, v));
        if (!specials.empty())
            specials.push_back(SpecialKind::Normal);
        return;
    }
    QEL_VALIDATE_SHOWN(v->IsArray(), QelError::ArraysMustContainValuesOrArrayObjects);
    auto const items = ArrayOf(*v);
    auto subArray = items.begin();
    auto const subArrayEnd = items.end();
    QEL_VALIDATE_NOT_SHOWN(subArray == subArrayEnd, QelError::SpecialValueArrayHasNoItems);
    values.push_back(PrimitiveTraits<S>::MakePrimitive(elementType, *subArray));
    ++subArray;
    QEL_VALIDATE_NOT_SHOWN(subArray == subArrayEnd, QelError::SpecialValueArrayHasOneItem);
    SpecialKind const kind = JsonSpecialKind(*subArray);
    ++subArray;
    QEL_VALIDATE_SHOWN(subArray == subArrayEnd, QelError::SpecialValueArrayHasTooManyItems);
    if (specials.empty()) {
        specials.reserve(values.capacity());
        specials.resize(values.size() - 1, SpecialKind::Normal);
    }
    specials.push_back(kind);
}

struct MakeArrayHelper {
    Type const* elementType;
    std::shared_ptr<IJsonObject> const& o;

    template <class S>
    std::shared_ptr<StoreValue> operator()() const {
        std::vector<S> values;
        if constexpr (!std::is_same_v<S, QelTuple> &&
                      !std::is_same_v<S, std::shared_ptr<StoreValue>>) {
            // A column of plain values in one go, where the reader can.
            if (detail::TryReadColumn(*o, elementType->GetStoreType(), values))
                return factory::MakeArray<S>(elementType, std::move(values));
            values.clear();
        }
        auto const elements = ArrayOf(*o);
        // Counting is a walk of the parsed tree, far cheaper than the
        // copies of a growing column.
        values.reserve(elements.size());
        std::vector<SpecialKind> specials;
        for (JsonArrayElement const& v : elements)
            AddArrayElement<S>(elementType, v, values, specials);
        if (specials.empty())
            return factory::MakeArray<S>(elementType, std::move(values));
        return factory::MakeArray<S>(elementType, std::move(values), std::move(specials));
    }
};

}  // namespace

std::shared_ptr<StoreValue> StoreValueParser::MakeArray(ArrayType const* type,
                                                        std::shared_ptr<IJsonObject> const& o) {
    QEL_VALIDATE_NOT_NULL_SHOWN(o, QelError::NullIsNotAValidArgument);
    QEL_VALIDATE_SHOWN(o->IsArray(), QelError::ExpectedAJsonArray);
    QEL_VALIDATE_NOT_NULL_SHOWN(type, QelError::NullIsNotAValidArgument);
    Type const* const elementType = type->GetElementType();
    StoreType const storeType = elementType->GetStoreType();
    QEL_VALIDATE(IsStoreTypeSupportedInArray(storeType), QelError::UnsupportedArrayElementType,
                 StoreTypeToString(storeType));
    return ForAnyStorageType(storeType, MakeArrayHelper{elementType, o});
}

}  // namespace qel::core
