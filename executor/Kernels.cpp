// The functor calls of the executor. The registry keeps each factory
// type-erased; here the element types of the operands, known only at run
// time, pick the instantiation whose factory type the pointer really has.
// Buffers are read and written through the functors' raw entry points, so a
// column of Int32 (stored as unsigned int) is handed over without a copy.

#include <algorithm>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "executor/Columns.h"
#include "qel/core/functions/Functors.h"
#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/ValueArray.h"

namespace qel::executor::detail {

namespace {

using core::QelError;
using core::QelRuntimeException;
using core::qelsize_t;
using core::RawDataView;
using core::TemporaryRawData;
using core::VectorRawData;
using Values = std::vector<std::shared_ptr<StoreValue>>;

template <class Target>
Target CastFactory(core::ErasedFunction f) {
    // The registry stores every factory as void (*)(); the key and the
    // creator flag say which type it was registered with.
    return reinterpret_cast<Target>(f);
}

// Output buffers of `size` elements of O, with specials for a special form.
template <class O>
struct Outputs {
    using S = StorageOf<O>;

    Outputs(qelsize_t size, bool withSpecials)
        : values(VectorRawData<S>::Make(std::vector<S>(size))),
          valuesView(*values),
          specials(withSpecials
                       ? std::make_unique<VectorRawData<SpecialKind>>(size, SpecialKind::Normal)
                       : std::make_unique<VectorRawData<SpecialKind>>(0, SpecialKind::Normal)),
          specialsView(*specials) {}

    // The specials are dropped when all are Normal, so that a column without
    // specials says so (HasSpecialValues) to whoever reads it next.
    ColumnResult Finish() {
        ColumnResult result;
        auto const kinds = specials->GetView();
        bool const anySpecial = std::any_of(kinds.GetData(), kinds.GetData() + kinds.GetSize(),
                                            [](SpecialKind k) { return k != SpecialKind::Normal; });
        result.values = std::shared_ptr<RawData const>(std::move(values));
        if (anySpecial)
            result.specials = std::shared_ptr<RawData const>(std::move(specials));
        return result;
    }

    std::unique_ptr<VectorRawData<S>> values;
    RawDataView valuesView;
    std::unique_ptr<VectorRawData<SpecialKind>> specials;
    RawDataView specialsView;
};

template <class E>
bool IsElementType(Type const* type) {
    return DispatchElement(
        type, [](auto tag) { return std::is_same_v<typename decltype(tag)::type, E>; });
}

template <class I, class O>
ColumnResult ProjectUnaryTyped(FunctionCall const& call, Column const& input) {
    Outputs<O> out(input.size, call.special);
    core::RegisteredFunctions const& fns = *call.functions;
    if (!call.special) {
        using Functor = std::unique_ptr<core::IUnaryFunctor<I, O>>;
        Functor functor =
            fns.IsCreator()
                ? CastFactory<Functor (*)(Values const&)>(fns.GetFunction())(call.creatorInputs)
                : CastFactory<Functor (*)()>(fns.GetFunction())();
        functor->Project(*input.values, out.valuesView);
    } else {
        using Functor = std::unique_ptr<core::IUnarySpecialFunctor<I, O>>;
        Functor functor = fns.IsCreator() ? CastFactory<Functor (*)(Values const&)>(
                                                fns.GetSpecialFunction())(call.creatorInputs)
                                          : CastFactory<Functor (*)()>(fns.GetSpecialFunction())();
        functor->Project(*input.values, *input.specials, out.valuesView, out.specialsView);
    }
    return out.Finish();
}

// Binary functions make values of their first operand's type (the
// accumulator of a fold); the executor runs no other shape.
template <class I1>
void RequireOutputOfFirstOperand(FunctionCall const& call) {
    if (!IsElementType<I1>(call.outputType)) {
        throw QelRuntimeException(
            QelError::NotImplemented,
            TStringCore(u"a binary function whose output type differs from its first input: ") +
                call.functions->GetFunctionName().GetValue());
    }
    if (call.functions->IsCreator()) {
        throw QelRuntimeException(QelError::FunctorFactoryExpectedNonCreatorFunction,
                                  call.functions->GetFunctionName().GetValue());
    }
}

template <class I1, class I2>
ColumnResult ProjectBinaryTyped(FunctionCall const& call, Column const& first,
                                Column const& second) {
    RequireOutputOfFirstOperand<I1>(call);
    Outputs<I1> out(first.size, call.special);
    core::RegisteredFunctions const& fns = *call.functions;
    if (!call.special) {
        using Functor = std::unique_ptr<core::IBinaryFunctor<I1, I2, I1>>;
        Functor functor = CastFactory<Functor (*)()>(fns.GetFunction())();
        functor->Project(*first.values, *second.values, out.valuesView);
    } else {
        using Functor = std::unique_ptr<core::IBinarySpecialFunctor<I1, I2, I1>>;
        Functor functor = CastFactory<Functor (*)()>(fns.GetSpecialFunction())();
        functor->Project(*first.values, *first.specials, *second.values, *second.specials,
                         out.valuesView, out.specialsView);
    }
    return out.Finish();
}

template <class E>
std::shared_ptr<StoreValue> Box(Type const* type, E const& value, SpecialKind kind) {
    if (kind != SpecialKind::Normal)
        return core::factory::MakeSpecial(type, kind);
    return core::MakeStoreValueFromStorageType<StorageOf<E>>(type, ToStorage(value));
}

template <class I1, class I2>
FoldResult FoldTyped(FunctionCall const& call, std::shared_ptr<StoreValue> const& initial,
                     Column const& input, bool running) {
    RequireOutputOfFirstOperand<I1>(call);
    qelsize_t const n = input.size;
    I1 accumulator{};
    SpecialKind kind = SpecialKind::Normal;
    qelsize_t start = 0;
    if (initial != nullptr) {
        kind = initial->GetSpecialKind();
        if (kind == SpecialKind::Normal)
            accumulator = ReadScalar<I1>(initial);
    } else if (n > 0) {
        // No initial value: the first element seeds the fold, kind and all.
        if constexpr (std::is_same_v<I1, I2>) {
            accumulator = core::detail::TypedWindow<I2>(*input.values)[0];
            kind = core::detail::TypedWindow<SpecialKind>(*input.specials)[0];
            start = 1;
        } else {
            throw QelRuntimeException(QelError::TheReduceOperatorRequiresAnInitialValue,
                                      call.functions->GetFunctionName().GetValue());
        }
    }

    Outputs<I1> out(running ? n : 0, call.special && running);
    if (running && start == 1) {
        out.values->GetView()[0] = ToStorage(accumulator);
        if (call.special)
            out.specials->GetView()[0] = kind;
    }
    ConstRawDataView const values = input.values->GetSlice(start, n - start);
    ConstRawDataView const specials = input.specials->GetSlice(start, n - start);
    RawDataView outValues = running ? out.valuesView.GetSlice(start, n - start) : out.valuesView;
    RawDataView outSpecials =
        call.special && running ? out.specialsView.GetSlice(start, n - start) : out.specialsView;
    core::RawDataValueType<unsigned char> accumulatorRef(accumulator);
    core::RegisteredFunctions const& fns = *call.functions;
    if (!call.special) {
        using Functor = std::unique_ptr<core::IBinaryFunctor<I1, I2, I1>>;
        Functor functor = CastFactory<Functor (*)()>(fns.GetFunction())();
        functor->Aggregate(accumulatorRef, values, outValues,
                           core::FunctorAggregationDirection::Forward);
    } else {
        using Functor = std::unique_ptr<core::IBinarySpecialFunctor<I1, I2, I1>>;
        Functor functor = CastFactory<Functor (*)()>(fns.GetSpecialFunction())();
        functor->Aggregate(accumulatorRef, kind, values, specials, outValues, outSpecials,
                           core::FunctorAggregationDirection::Forward);
    }

    FoldResult result;
    if (running)
        result.running = out.Finish();
    else if (initial == nullptr && n == 0)
        result.final = core::factory::MakeSpecial(call.outputType, SpecialKind::Null);
    else
        result.final = Box(call.outputType, accumulator, kind);
    return result;
}

}  // namespace

Column MakeArrayColumn(std::shared_ptr<StoreValue> const& array) {
    if (array->GetStoreType() != core::StoreType::Array) {
        throw QelRuntimeException(QelError::ExpectedArrayButWas, array->GetType()->ToString());
    }
    core::IStoreArray const& a = array->AsArray();
    Column column;
    column.source = array;
    column.elementType = a.GetElementType();
    column.size = a.GetCount();
    column.hasSpecials = a.HasSpecialValues();
    column.isArray = true;
    DispatchElement(column.elementType, [&](auto tag) {
        using S = StorageOf<typename decltype(tag)::type>;
        // Only arrays that keep their elements in logical order can lend
        // their own buffers; the others are gathered into scratch.
        bool const gathered =
            a.HasIndices() || a.IsConstantValue() || array->AsTypedArray<S>().IsComposite();
        column.scratch = gathered ? TemporaryRawData::Make<S>(column.size)
                                  : std::make_unique<TemporaryRawData>(nullptr);
        column.specialScratch = gathered || !column.hasSpecials
                                    ? TemporaryRawData::Make<SpecialKind>(column.size)
                                    : std::make_unique<TemporaryRawData>(nullptr);
    });
    column.values.emplace(a.GetRawMaterializedView(*column.scratch, 0, column.size));
    column.specials.emplace(
        a.GetRawMaterializedSpecialView(*column.specialScratch, 0, column.size));
    if (column.hasSpecials) {
        // An array may carry a specials buffer whose elements are all Normal
        // (or whose index vector skips the others): the plain form fits it.
        auto const kinds = core::detail::TypedWindow<SpecialKind>(*column.specials);
        column.hasSpecials = std::any_of(kinds.GetData(), kinds.GetData() + kinds.GetSize(),
                                         [](SpecialKind k) { return k != SpecialKind::Normal; });
    }
    return column;
}

Column MakeScalarColumn(std::shared_ptr<StoreValue> const& scalar, qelsize_t size) {
    if (core::IsCollectionStoreType(scalar->GetStoreType())) {
        throw QelRuntimeException(QelError::ExpectedArrayButWas, scalar->GetType()->ToString());
    }
    Column column;
    column.source = scalar;
    column.elementType = scalar->GetType();
    column.size = size;
    SpecialKind const kind = scalar->GetSpecialKind();
    column.hasSpecials = kind != SpecialKind::Normal && size > 0;
    DispatchElement(column.elementType, [&](auto tag) {
        using E = typename decltype(tag)::type;
        using S = StorageOf<E>;
        S const element = kind == SpecialKind::Normal ? ToStorage(ReadScalar<E>(scalar)) : S{};
        column.owned = VectorRawData<S>::Make(std::vector<S>(size, element));
    });
    column.ownedSpecials = std::make_unique<VectorRawData<SpecialKind>>(size, kind);
    column.values.emplace(*column.owned);
    column.specials.emplace(*column.ownedSpecials);
    return column;
}

ColumnResult ProjectUnary(FunctionCall const& call, Column const& input) {
    return DispatchElement(input.elementType, [&](auto in) {
        return DispatchElement(call.outputType, [&](auto out) {
            return ProjectUnaryTyped<typename decltype(in)::type, typename decltype(out)::type>(
                call, input);
        });
    });
}

ColumnResult ProjectBinary(FunctionCall const& call, Column const& first, Column const& second) {
    return DispatchElement(first.elementType, [&](auto a) {
        return DispatchElement(second.elementType, [&](auto b) {
            return ProjectBinaryTyped<typename decltype(a)::type, typename decltype(b)::type>(
                call, first, second);
        });
    });
}

FoldResult Fold(FunctionCall const& call, Type const* accumulatorType,
                std::shared_ptr<StoreValue> const& initial, Column const& input, bool running) {
    return DispatchElement(accumulatorType, [&](auto a) {
        return DispatchElement(input.elementType, [&](auto b) {
            return FoldTyped<typename decltype(a)::type, typename decltype(b)::type>(
                call, initial, input, running);
        });
    });
}

std::shared_ptr<StoreValue> MakeResultArray(Type const* elementType, ColumnResult const& result,
                                            core::SortSpecOrder order) {
    return DispatchElement(elementType, [&](auto tag) {
        using S = StorageOf<typename decltype(tag)::type>;
        return core::factory::MakeArray<S>(elementType, result.values, result.specials, order);
    });
}

std::shared_ptr<StoreValue> BoxResultElement(Type const* elementType, ColumnResult const& result,
                                             qelsize_t index) {
    return DispatchElement(elementType, [&](auto tag) {
        using S = StorageOf<typename decltype(tag)::type>;
        SpecialKind const kind = result.specials == nullptr
                                     ? SpecialKind::Normal
                                     : result.specials->GetView<SpecialKind>()[index];
        if (kind != SpecialKind::Normal)
            return core::factory::MakeSpecial(elementType, kind);
        return core::MakeStoreValueFromStorageType<S>(elementType,
                                                      result.values->GetView<S>()[index]);
    });
}

}  // namespace qel::executor::detail
