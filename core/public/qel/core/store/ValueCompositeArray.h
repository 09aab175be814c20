#pragma once

// The makers of composite arrays: run-length arrays, an ordered list of runs
// (ValueCompositeArrayRange: a value or a special, and a count) laid end to
// end, optionally read through indices into that flat expansion. They arise
// when constant arrays are concatenated and from the binary reader. T is one
// of the six storage types; the Type argument is the element type, which
// must be a primitive, and the array's type is ArrayType::Get of it. A
// consumer sees an ITypedArray<T> with IsComposite() true, and reaches the
// indices through ArrayWithIndices::As.
//
// A composite array costs one record per run, with the flat position past
// the end of each run kept beside it: random access bisects those, so it
// grows with the logarithm of the run count, and sequential reads (the
// iterators, materialising, range copies) move a run cursor instead.

#include <memory>
#include <vector>

#include "qel/core/store/ArrayIterators.h"
#include "qel/core/store/RawData.h"
#include "qel/core/store/SortSpecOrder.h"
#include "qel/core/store/StoreValue.h"
#include "qel/core/types/StorageTypes.h"

namespace qel::core {

namespace factory {

// `indices`, when given, address positions of the runs' expansion; each must
// lie below the sum of the runs' counts ("index out of bounds"), and that sum
// must fit in 32 bits ("out of range").
template <class T>
std::shared_ptr<StoreValue> MakeCompositeArray(Type const* elementType,
                                               std::vector<ValueCompositeArrayRange<T>>&& ranges,
                                               std::unique_ptr<std::vector<qelsize_t>> indices,
                                               SortSpecOrder order = SortSpecOrder::UNKNOWN);
template <class T>
std::shared_ptr<StoreValue> MakeCompositeArray(Type const* elementType,
                                               std::vector<ValueCompositeArrayRange<T>>&& ranges,
                                               SortSpecOrder order = SortSpecOrder::UNKNOWN);

}  // namespace factory

// The runs' buffers, instantiated beside those of the storage types.
#define QEL_DETAIL_DECLARE_COMPOSITE_ARRAY_FACTORY(T)                            \
    extern template class TypedRawData<ValueCompositeArrayRange<T>>;             \
    extern template class VectorRawData<ValueCompositeArrayRange<T>>;            \
    extern template class PackagedArrayView<ValueCompositeArrayRange<T>>;        \
    namespace factory {                                                          \
    extern template std::shared_ptr<StoreValue> MakeCompositeArray<T>(           \
        Type const*, std::vector<ValueCompositeArrayRange<T>>&&,                 \
        std::unique_ptr<std::vector<qelsize_t>>, SortSpecOrder);                 \
    extern template std::shared_ptr<StoreValue> MakeCompositeArray<T>(           \
        Type const*, std::vector<ValueCompositeArrayRange<T>>&&, SortSpecOrder); \
    }
QEL_FOR_EACH_STORAGE_TYPE(QEL_DETAIL_DECLARE_COMPOSITE_ARRAY_FACTORY)
#undef QEL_DETAIL_DECLARE_COMPOSITE_ARRAY_FACTORY

}  // namespace qel::core
