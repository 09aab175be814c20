#include "core/main/store/ValueKeySetImpl.h"

namespace qel::core {

// The key sets keyed by the storage types at positions 3 of the list
// (see ValueKeySet.cpp).
#define QEL_INSTANTIATE_KEY_SET_3(V) QEL_DETAIL_INSTANTIATE_KEY_SET(detail::StorageTypeAt<3>, V)
QEL_FOR_EACH_STORAGE_TYPE(QEL_INSTANTIATE_KEY_SET_3)
#undef QEL_INSTANTIATE_KEY_SET_3

}  // namespace qel::core
