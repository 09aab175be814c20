#include "core/main/store/ValueKeySetImpl.h"

namespace qel::core {

// The key sets keyed by the storage types at positions 1 and 2 of the list
// (see ValueKeySet.cpp).
#define QEL_INSTANTIATE_KEY_SET_1(V) QEL_DETAIL_INSTANTIATE_KEY_SET(detail::StorageTypeAt<1>, V)
QEL_FOR_EACH_STORAGE_TYPE(QEL_INSTANTIATE_KEY_SET_1)
#undef QEL_INSTANTIATE_KEY_SET_1
#define QEL_INSTANTIATE_KEY_SET_2(V) QEL_DETAIL_INSTANTIATE_KEY_SET(detail::StorageTypeAt<2>, V)
QEL_FOR_EACH_STORAGE_TYPE(QEL_INSTANTIATE_KEY_SET_2)
#undef QEL_INSTANTIATE_KEY_SET_2

}  // namespace qel::core
