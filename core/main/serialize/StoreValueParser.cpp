// Data stores, key maps and tables from their JSON text: dictionaries whose
// keys are key segments with types, which say how each value is read.

#include "qel/core/serialize/StoreValueParser.h"

#include <memory>
#include <utility>

#include "core/main/serialize/StoreValueParser_Traits.h"
#include "qel/core/serialize/KeyPathParser.h"
#include "qel/core/store/ValueKeyMap.h"
#include "qel/core/types/Type.h"
#include "qel/core/utility/UnorderedMapUtil.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

using namespace json_parse;

namespace {

// Reads each member of the dictionary `o` with `read`, by the type of its
// key.
template <class Read>
std::unique_ptr<ValueMap> MakeValueMap(std::shared_ptr<IJsonObject> const& o, Read&& read) {
    QEL_VALIDATE_NOT_NULL_SHOWN(o, QelError::NullIsNotAValidArgument);
    QEL_VALIDATE_SHOWN(o->IsDictionary(), QelError::KeyMapRequiresADictionaryNoneFound);
    auto map = std::make_unique<ValueMap>();
    for (JsonDictionaryEntry const& entry : DictionaryOf(*o)) {
        KeySegment const segment = KeyPathParser::MakeSegment(entry.first);
        Type const* const type = segment.GetType();
        QEL_VALIDATE_NOT_NULL_SHOWN(type, QelError::NeedToSpecifyAKeyType);
        UnorderedMapInsertUnique(map, segment.GetSegment(), read(type, entry.second));
    }
    return map;
}

}  // namespace

std::shared_ptr<DataStore> StoreValueParser::MakeDataStore(TStringCore const& json) {
    return std::make_shared<DataStore>(MakeKeyMap(json));
}

std::shared_ptr<StoreValue> StoreValueParser::MakeKeyMap(TStringCore const& json) {
    return MakeKeyMap(GetRootJsonObject(json));
}

std::shared_ptr<StoreValue> StoreValueParser::MakeKeyMap(std::shared_ptr<IJsonObject> const& o) {
    return factory::MakeKeyMap(MakeValueMap(o, &MakeStoreValueFromJsonObject));
}

std::shared_ptr<StoreValue> StoreValueParser::MakeTable(std::shared_ptr<IJsonObject> const& o) {
    // A column is an array as it stands: a special keyword is no column.
    auto columns = MakeValueMap(o, [](Type const* type, std::shared_ptr<IJsonObject> const& json) {
        QEL_VALIDATE_SHOWN(StoreType::Array == type->GetStoreType(),
                           QelError::TableValuesMustBeArrays);
        Type const* const element = TypeAs<ArrayType>(type)->GetElementType();
        QEL_VALIDATE(IsPrimitiveStoreType(element->GetStoreType()),
                     QelError::TableArraysMustContainPrimitives,
                     StoreTypeToString(element->GetStoreType()));
        return MakeArray(TypeAs<ArrayType>(type), json);
    });
    return factory::MakeTable(std::move(columns), nullptr);
}

}  // namespace qel::core
