// Whole values and plain elements: the primitives, tuples and external
// values, and the special keywords that may stand for any of them.

#include <bit>
#include <exception>
#include <new>
#include <type_traits>
#include <vector>

#include "core/main/serialize/StoreValueParser_Traits.h"
#include "qel/core/serialize/StoreValueParser.h"
#include "qel/core/serialize/VtlScanner.h"
#include "qel/core/store/ExternalTypeRegistry.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueExternal.h"
#include "qel/core/store/ValueKeyMap.h"
#include "qel/core/types/HeterogeneousType.h"
#include "qel/core/utility/ArrayView.h"
#include "qel/core/utility/Parser.h"
#include "qel/core/utility/TextUtil.h"
#include "qel/core/utility/Validation.h"

namespace qel::core {

namespace json_parse {

namespace {

// The JSON reader refuses a number of the wrong kind or range with its own
// exception; callers of the parser see only the catalogue's.
template <class Read>
auto ReadNumber(Read&& read, QelError error) {
    try {
        return read();
    } catch (QelException const&) {
        throw;
    } catch (std::bad_alloc const&) {
        throw;
    } catch (std::exception const& e) {
        QEL_VALIDATION_FAILED(error, TStringCore::fromUtf8(e.what()));
    }
}

// Bools and integers are JSON numbers, bools or null, never strings.
void ValidateJsonNumber(std::shared_ptr<IJsonObject> const& o, QelError error) {
    QEL_VALIDATE_SHOWN(o->IsValue() && !o->IsString(), error);
}

bool ReadBool(std::shared_ptr<IJsonObject> const& o) {
    ValidateJsonNumber(o, QelError::CannotParseBool);
    return ReadNumber([&] { return o->Cast<bool>(); }, QelError::CannotParseBool);
}

int ReadInt32(std::shared_ptr<IJsonObject> const& o) {
    ValidateJsonNumber(o, QelError::CannotParseInt32);
    return ReadNumber([&] { return o->Cast<int>(); }, QelError::CannotParseInt32);
}

long long ReadInt64(std::shared_ptr<IJsonObject> const& o) {
    ValidateJsonNumber(o, QelError::CannotParseInt64);
    long long const value =
        ReadNumber([&] { return o->Cast<long long>(); }, QelError::CannotParseInt64);
    // The reader's range check lets a real of exactly 2^63 through to a
    // conversion that overflows; its sign gives it away.
    double const real = o->Cast<double>();
    QEL_VALIDATE_SHOWN(!(real > 0 && value < 0), QelError::CannotParseInt64);
    return value;
}

// Reals also come as the text of a real ("inf", "nan").
template <class T>
T ReadReal(std::shared_ptr<IJsonObject> const& o) {
    QelError const error =
        std::is_same_v<T, float> ? QelError::CannotParseReal32 : QelError::CannotParseReal64;
    QEL_VALIDATE_SHOWN(o->IsValue(), error);
    return ReadNumber([&] { return o->Cast<T>(); }, error);
}

QelDateTime ReadDateTime(std::shared_ptr<IJsonObject> const& o) {
    return ParseDateTimeFromString(JsonString(o));
}

// Only the hexadecimal text: the decimal form that the writer can be asked
// for is not read back.
QelColor ReadColor(std::shared_ptr<IJsonObject> const& o) {
    return QelColor::FromInt32(ParseInt32FromHexString(JsonString(o)));
}

// The value's bytes in hexadecimal, two digits a byte, handed to the
// deserializer registered for the type.
std::shared_ptr<StoreValue> ReadExternal(Type const* type, std::shared_ptr<IJsonObject> const& o) {
    std::vector<unsigned char> const bytes = ParseBytesFromHex(JsonString(o));
    std::shared_ptr<StoreValue> value =
        DeserializeExternalType(TypeAs<ExternalType>(type)->GetExternalTypeId(),
                                ArrayView<unsigned char const>(bytes.data(), bytes.size()));
    QEL_VALIDATE_NOT_NULL_SHOWN(value, QelError::CannotMakeStoreValueForGivenKey);
    return value;
}

// Sets member `index` of a tuple from its JSON value, by the member's
// storage type.
struct ParseTupleFunctor {
    QelTuple& tuple;
    unsigned int index;
    Type const* member;
    std::shared_ptr<IJsonObject> const& value;

    template <class S>
    void operator()() {
        if constexpr (std::is_same_v<S, QelTuple>) {
            QEL_VALIDATION_FAILED(QelError::TupleRequiresAValidPrimitiveType);
        } else {
            tuple.SetNthValueUnsafe<S>(index, PrimitiveTraits<S>::MakePrimitive(member, value));
        }
    }
};

QelTuple ReadTuple(Type const* type, std::shared_ptr<IJsonObject> const& o) {
    TupleType const* const tupleType = TypeAs<TupleType>(type);
    QEL_VALIDATE(o->IsArray(), QelError::TupleRequiresAnArray);
    std::vector<Type const*> const& members = tupleType->GetMembers();
    auto const items = ArrayOf(*o);
    QEL_VALIDATE(items.size() == members.size(), QelError::TupleRequiresEqualNumberOfTypesAnd);
    QelTuple tuple(tupleType);
    unsigned int index = 0;
    for (JsonArrayElement const& value : items) {
        Type const* const member = members[index];
        QEL_VALIDATE(IsPrimitiveStoreType(member->GetStoreType()),
                     QelError::TupleRequiresAValidPrimitiveType);
        SpecialKind kind = SpecialKind::Normal;
        if (value->IsString())
            kind = StoreValueParser::ParseJsonStringAsPossibleSpecialKind(value).second;
        if (kind != SpecialKind::Normal)
            tuple.SetNthSpecial(index, kind);
        else
            ForAnyStorageType(member->GetStoreType(),
                              ParseTupleFunctor{tuple, index, member, value});
        ++index;
    }
    return tuple;
}

[[noreturn]] void NotStoredAs(Type const* type) {
    QEL_VALIDATE_LOGIC(false, QelError::TypeDoesntMatchExpectedType,
                       StoreTypeToString(type->GetStoreType()));
    std::terminate();
}

}  // namespace

TStringCore JsonString(std::shared_ptr<IJsonObject> const& o) {
    QEL_VALIDATE_SHOWN(o->IsString(), QelError::ExpectedAJsonString);
    return o->GetString();
}

bool ReadsAsItself(TStringCore const& text) {
    // Only a quoted string, or a name between blanks, reads as another text.
    bool plain = true;
    for (char16_t const c : text.view())
        plain &= c != u'\'' && c != 9 && c != 10 && c != 11 && c != 13 && c != 32;
    return plain;
}

TStringCore JsonText(std::shared_ptr<IJsonObject> const& o) {
    TStringCore text = JsonString(o);
    if (ReadsAsItself(text))
        return text;
    VtlToken token;
    if (VtlScanner::TryScanSingleToken(text, token, false) && token.IsString())
        return token.GetString();
    return text;
}

SpecialKind JsonSpecialKind(std::shared_ptr<IJsonObject> const& o) {
    return SpecialKindFromString(JsonString(o));
}

template <class S>
S PrimitiveTraits<S>::MakePrimitive(Type const* type, std::shared_ptr<IJsonObject> const& o) {
    StoreType const storeType = type->GetStoreType();
    if constexpr (std::is_same_v<S, unsigned char>) {
        if (storeType == StoreType::Bool)
            return ReadBool(o) ? 1 : 0;
    } else if constexpr (std::is_same_v<S, unsigned int>) {
        switch (storeType) {
            case StoreType::Int32:
                return static_cast<unsigned int>(ReadInt32(o));
            case StoreType::Real32:
                return std::bit_cast<unsigned int>(ReadReal<float>(o));
            case StoreType::Color:
                return static_cast<unsigned int>(ReadColor(o).AsInt32());
            default:
                break;
        }
    } else if constexpr (std::is_same_v<S, unsigned long long>) {
        switch (storeType) {
            case StoreType::Int64:
                return static_cast<unsigned long long>(ReadInt64(o));
            case StoreType::Real64:
                return std::bit_cast<unsigned long long>(ReadReal<double>(o));
            case StoreType::Date:
            case StoreType::DateTime:
                return ReadDateTime(o).GetValue();
            default:
                break;
        }
    } else if constexpr (std::is_same_v<S, RIndirectString>) {
        if (storeType == StoreType::String)
            return RIndirectString(JsonText(o));
    } else if constexpr (std::is_same_v<S, QelTuple>) {
        return ReadTuple(type, o);
    } else {
        if (storeType == StoreType::External)
            return ReadExternal(type, o);
        return StoreValueParser::MakeStoreValueFromJsonObject(type, o);
    }
    NotStoredAs(type);
}

#define QEL_DETAIL_INSTANTIATE_PRIMITIVE_TRAITS(S) template struct PrimitiveTraits<S>;
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_INSTANTIATE_PRIMITIVE_TRAITS)
#undef QEL_DETAIL_INSTANTIATE_PRIMITIVE_TRAITS

}  // namespace json_parse

using namespace json_parse;

std::pair<TStringCore, SpecialKind> StoreValueParser::ParseJsonStringAsPossibleSpecialKind(
    std::shared_ptr<IJsonObject> const& o) {
    QEL_VALIDATE_NOT_NULL_SHOWN(o, QelError::NullIsNotAValidArgument);
    TStringCore text = JsonString(o);
    VtlToken token;
    if (VtlScanner::TryScanSingleToken(text, token, false)) {
        if (token.IsString())
            return {token.GetString(), SpecialKind::Normal};
        if (token.GetType() == VtlTokenType::Special)
            return {TStringCore(), token.GetSpecial()};
    }
    return {std::move(text), SpecialKind::Normal};
}

std::shared_ptr<StoreValue> StoreValueParser::MakeStoreValueFromJsonObject(
    Type const* type, std::shared_ptr<IJsonObject> const& o) {
    QEL_VALIDATE_NOT_NULL_SHOWN(type, QelError::NullIsNotAValidArgument);
    QEL_VALIDATE_NOT_NULL_SHOWN(o, QelError::NullIsNotAValidArgument);
    if (o->IsString()) {
        SpecialKind const kind = ParseJsonStringAsPossibleSpecialKind(o).second;
        if (kind != SpecialKind::Normal)
            return factory::MakeSpecial(type, kind);
    }
    StoreType const storeType = type->GetStoreType();
    switch (storeType) {
        case StoreType::Bool:
        case StoreType::Int32:
        case StoreType::Int64:
        case StoreType::Real32:
        case StoreType::Real64:
        case StoreType::String:
        case StoreType::Date:
        case StoreType::DateTime:
        case StoreType::Color:
            return ForAnyStorageType(storeType, [&]<class S>() {
                return MakeStoreValueFromStorageType<S>(type,
                                                        PrimitiveTraits<S>::MakePrimitive(type, o));
            });
        case StoreType::Tuple:
            return factory::MakeTuple(ReadTuple(type, o));
        case StoreType::External:
            return ReadExternal(type, o);
        case StoreType::Array:
            return MakeArray(TypeAs<ArrayType>(type), o);
        case StoreType::Set:
            return MakeSet(TypeAs<SetType>(type), o);
        case StoreType::KeySet:
            return MakeKeySet(TypeAs<KeySetType>(type), o);
        case StoreType::KeyMap:
            return MakeKeyMap(o);
        case StoreType::Table:
            return MakeTable(o);
        default:
            QEL_VALIDATION_FAILED(QelError::CannotMakeStoreValueForGivenKey);
    }
}

}  // namespace qel::core
