#include "qel/core/types/TypeTraits.h"

#include "qel/core/store/StoreTypeDispatcher.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/utility/QelTupleData.h"

namespace qel::core {

// Tuple layout and raw buffers lay these objects out as bytes, so the sizes
// of the storage types are part of the format of a 64-bit build.
static_assert(sizeof(unsigned char) == 1);
static_assert(sizeof(unsigned int) == 4);
static_assert(sizeof(unsigned long long) == 8);
static_assert(sizeof(RIndirectString) == 32);
static_assert(sizeof(QelTuple) == 32);
static_assert(sizeof(std::shared_ptr<StoreValue>) == 16);
static_assert(sizeof(float) == sizeof(unsigned int) &&
              sizeof(double) == sizeof(unsigned long long));
static_assert(sizeof(QelColor) == sizeof(unsigned int));
static_assert(sizeof(QelDateTime) == sizeof(unsigned long long));

unsigned int GetPrimitiveTypeSize(Type const* type) {
    QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType);
    StoreType const storeType = type->GetStoreType();
    if (!IsPrimitiveStoreType(storeType))
        PrimitiveErrorFunction(storeType);
    return ForAnyStorageType(storeType,
                             []<class S>() { return static_cast<unsigned int>(sizeof(S)); });
}

unsigned int GetTypeSize(Type const* type) {
    QEL_VALIDATE_NOT_NULL(type, QelError::UnexpectedNullType);
    return ForAnyStorageType(type->GetStoreType(),
                             []<class S>() { return static_cast<unsigned int>(sizeof(S)); });
}

}  // namespace qel::core
