#include "core/main/store/ValueKeySetImpl.h"

namespace qel::core {

// The key sets keyed by the storage types at positions 4 and 5 of the list
// (see ValueKeySet.cpp).
#define QEL_INSTANTIATE_KEY_SET_4(V) QEL_DETAIL_INSTANTIATE_KEY_SET(detail::StorageTypeAt<4>, V)
QEL_FOR_EACH_STORAGE_TYPE(QEL_INSTANTIATE_KEY_SET_4)
#undef QEL_INSTANTIATE_KEY_SET_4
#define QEL_INSTANTIATE_KEY_SET_5(V) QEL_DETAIL_INSTANTIATE_KEY_SET(detail::StorageTypeAt<5>, V)
QEL_FOR_EACH_STORAGE_TYPE(QEL_INSTANTIATE_KEY_SET_5)
#undef QEL_INSTANTIATE_KEY_SET_5

}  // namespace qel::core
