#include <tuple>

#include "core/main/store/ValueKeySetImpl.h"

namespace qel::core {

namespace factory {

template <class V>
std::unique_ptr<DictionaryMap<RIndirectString, V>> MakeRawKeySet(Type const* keyType) {
    Collation const& collation = TypeAs<StringType>(keyType)->GetCollation();
    return std::make_unique<DictionaryMap<RIndirectString, V>>(16, CollatorHash(collation),
                                                               CollatorEqualTo(collation));
}

}  // namespace factory

#define QEL_INSTANTIATE_RAW_KEY_SET(V)                                                         \
    namespace factory {                                                                        \
    template std::unique_ptr<DictionaryMap<RIndirectString, V>> MakeRawKeySet<V>(Type const*); \
    }
QEL_FOR_EACH_STORAGE_TYPE(QEL_INSTANTIATE_RAW_KEY_SET)
#undef QEL_INSTANTIATE_RAW_KEY_SET

// The key sets are instantiated by the position of their key type in the
// storage type list, a few positions per source so that they build in
// parallel: 0 here, the others in ValueKeySetInstances*.cpp. A new storage
// type needs a place in that split.
static_assert(std::tuple_size_v<detail::StorageTypeList> == 6,
              "every storage type needs its key sets instantiated");

#define QEL_INSTANTIATE_KEY_SET_0(V) QEL_DETAIL_INSTANTIATE_KEY_SET(detail::StorageTypeAt<0>, V)
QEL_FOR_EACH_STORAGE_TYPE(QEL_INSTANTIATE_KEY_SET_0)
#undef QEL_INSTANTIATE_KEY_SET_0

}  // namespace qel::core
