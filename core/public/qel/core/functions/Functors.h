#pragma once

// Functors: the executable form of a transform function. A functor applies
// one small scalar function F to whole columns. The executing layer hands it
// type-erased windows on column buffers (the raw entry points); the functor
// turns each into a typed view once per call and runs a loop in which F is
// inlined: no virtual call, allocation or type test per element. That is why
// the per-element Do exists beside Project and is not what Project is built
// on.
//
// Four interfaces: unary and binary, each plain (values only, for columns
// without specials or whose value slots are fit for use) or special (each
// value with its SpecialKind). Binary functors also aggregate: a running
// fold that is a reduce when the output view is empty and a scan otherwise.
//
// F is a generator (an empty class calling a function given as a template
// argument) or a function object with state. A functor of a stateful
// function changes with each element and belongs to one thread and one
// pass; a stateless one may be shared.
//
// Every typed Project and Aggregate checks the sizes of its views before the
// first element is touched, and fails "vectorized transform function has an
// invalid array size". A failure inside F (a division by zero) leaves the
// elements before it written and the accumulator at its last value.

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "qel/core/store/RawData.h"
#include "qel/core/store/SpecialKind.h"
#include "qel/core/types/TypeTraits.h"
#include "qel/core/utility/ArrayView.h"

namespace qel::core {

class StoreValue;

enum class FunctorAggregationDirection : unsigned char {
    Forward = 0,
    // Any value other than Forward runs backward.
    Backward = 1,
};

template <class T>
class RawDataValueType;

// A type-erased reference to one accumulator value: the address of its
// bytes, which the raw Aggregate hands on as a typed reference.
template <>
class RawDataValueType<unsigned char> {
public:
    explicit RawDataValueType(void* value) : m_value(static_cast<unsigned char*>(value)) {}
    template <class T>
    explicit RawDataValueType(T& value) : m_value(reinterpret_cast<unsigned char*>(&value)) {}

    unsigned char* Get() const noexcept { return m_value; }
    template <class T>
    T& As() const noexcept {
        return *reinterpret_cast<T*>(m_value);
    }

private:
    unsigned char* m_value;
};

namespace detail {

// Raised from the library's source, with the condition as the functor wrote
// it; the loops carry only the call on their cold path.
[[noreturn]] void FunctorSizeMismatch(char const* condition);

template <class T>
ArrayView<T const> TypedWindow(ConstRawDataView const& window) {
    return window.GetData().template GetView<T>().GetSlice(window.GetStartIndex(),
                                                           window.GetSize());
}

template <class T>
ArrayView<T> TypedWindow(RawDataView const& window) {
    return window.GetData().template GetView<T>().GetSlice(window.GetStartIndex(),
                                                           window.GetSize());
}

// Keeps a fold's running value in a local, where the loop can hold it in a
// register although the output may alias it, and writes it back however the
// loop ends.
template <class T>
struct AccumulatorWriteBack {
    T& target;
    T& running;
    ~AccumulatorWriteBack() { target = std::move(running); }
};

}  // namespace detail

#define QEL_DETAIL_FUNCTOR_CHECK(cond)                               \
    do {                                                             \
        if (!(cond)) [[unlikely]]                                    \
            ::qel::core::detail::FunctorSizeMismatch("(" #cond ")"); \
    } while (false)

// ---------------------------------------------------------------------------
// Interfaces

template <class I, class O>
class IUnaryFunctor {
public:
    using InArg = typename TypeTraits<I>::ArgType;

    virtual ~IUnaryFunctor() = default;
    virtual void Project(ConstRawDataView const& inputs, RawDataView& outputs) {
        ArrayView<O> out = detail::TypedWindow<O>(outputs);
        Project(detail::TypedWindow<I>(inputs), out);
    }
    virtual O Do(InArg input) = 0;
    virtual void Project(ArrayView<I const> const& inputs, ArrayView<O>& outputs) = 0;
};

template <class I, class O>
class IUnarySpecialFunctor {
public:
    using InArg = typename TypeTraits<I>::ArgType;

    virtual ~IUnarySpecialFunctor() = default;
    virtual void Project(ConstRawDataView const& inputs, ConstRawDataView const& specialInputs,
                         RawDataView& outputs, RawDataView& specialOutputs) {
        ArrayView<O> out = detail::TypedWindow<O>(outputs);
        ArrayView<SpecialKind> specialOut = detail::TypedWindow<SpecialKind>(specialOutputs);
        Project(detail::TypedWindow<I>(inputs), detail::TypedWindow<SpecialKind>(specialInputs),
                out, specialOut);
    }
    virtual std::pair<O, SpecialKind> Do(InArg input, SpecialKind special) = 0;
    virtual void Project(ArrayView<I const> const& inputs,
                         ArrayView<SpecialKind const> const& specialInputs, ArrayView<O>& outputs,
                         ArrayView<SpecialKind>& specialOutputs) = 0;
};

template <class I1, class I2, class O>
class IBinaryFunctor {
public:
    using InArg1 = typename TypeTraits<I1>::ArgType;
    using InArg2 = typename TypeTraits<I2>::ArgType;

    virtual ~IBinaryFunctor() = default;
    virtual void Project(ConstRawDataView const& inputs1, ConstRawDataView const& inputs2,
                         RawDataView& outputs) {
        ArrayView<O> out = detail::TypedWindow<O>(outputs);
        Project(detail::TypedWindow<I1>(inputs1), detail::TypedWindow<I2>(inputs2), out);
    }
    virtual void Aggregate(RawDataValueType<unsigned char>& value, ConstRawDataView const& inputs,
                           RawDataView& outputs, FunctorAggregationDirection direction) {
        ArrayView<O> out = detail::TypedWindow<O>(outputs);
        Aggregate(value.As<I1>(), detail::TypedWindow<I2>(inputs), out, direction);
    }
    virtual O Do(InArg1 a, InArg2 b) = 0;
    virtual void Project(ArrayView<I1 const> const& inputs1, ArrayView<I2 const> const& inputs2,
                         ArrayView<O>& outputs) = 0;
    virtual void Aggregate(I1& value, ArrayView<I2 const> const& inputs, ArrayView<O>& outputs,
                           FunctorAggregationDirection direction) = 0;
};

template <class I1, class I2, class O>
class IBinarySpecialFunctor {
public:
    using InArg1 = typename TypeTraits<I1>::ArgType;
    using InArg2 = typename TypeTraits<I2>::ArgType;

    virtual ~IBinarySpecialFunctor() = default;
    virtual void Project(ConstRawDataView const& inputs1, ConstRawDataView const& specialInputs1,
                         ConstRawDataView const& inputs2, ConstRawDataView const& specialInputs2,
                         RawDataView& outputs, RawDataView& specialOutputs) {
        ArrayView<O> out = detail::TypedWindow<O>(outputs);
        ArrayView<SpecialKind> specialOut = detail::TypedWindow<SpecialKind>(specialOutputs);
        Project(detail::TypedWindow<I1>(inputs1), detail::TypedWindow<SpecialKind>(specialInputs1),
                detail::TypedWindow<I2>(inputs2), detail::TypedWindow<SpecialKind>(specialInputs2),
                out, specialOut);
    }
    virtual void Aggregate(RawDataValueType<unsigned char>& value, SpecialKind& special,
                           ConstRawDataView const& inputs, ConstRawDataView const& specialInputs,
                           RawDataView& outputs, RawDataView& specialOutputs,
                           FunctorAggregationDirection direction) {
        ArrayView<O> out = detail::TypedWindow<O>(outputs);
        ArrayView<SpecialKind> specialOut = detail::TypedWindow<SpecialKind>(specialOutputs);
        Aggregate(value.As<I1>(), special, detail::TypedWindow<I2>(inputs),
                  detail::TypedWindow<SpecialKind>(specialInputs), out, specialOut, direction);
    }
    virtual std::pair<O, SpecialKind> Do(InArg1 a, SpecialKind specialA, InArg2 b,
                                         SpecialKind specialB) = 0;
    virtual void Project(ArrayView<I1 const> const& inputs1,
                         ArrayView<SpecialKind const> const& specialInputs1,
                         ArrayView<I2 const> const& inputs2,
                         ArrayView<SpecialKind const> const& specialInputs2, ArrayView<O>& outputs,
                         ArrayView<SpecialKind>& specialOutputs) = 0;
    virtual void Aggregate(I1& value, SpecialKind& special, ArrayView<I2 const> const& inputs,
                           ArrayView<SpecialKind const> const& specialInputs, ArrayView<O>& outputs,
                           ArrayView<SpecialKind>& specialOutputs,
                           FunctorAggregationDirection direction) = 0;
};

// ---------------------------------------------------------------------------
// Implementations over a callable F

template <class I, class O, class F>
class QelUnaryFunctor final : public IUnaryFunctor<I, O> {
public:
    using typename IUnaryFunctor<I, O>::InArg;
    using IUnaryFunctor<I, O>::Project;

    explicit QelUnaryFunctor(F f = F()) : m_f(std::move(f)) {}

    O Do(InArg input) override { return m_f(input); }
    void Project(ArrayView<I const> const& inputs, ArrayView<O>& outputs) override {
        QEL_DETAIL_FUNCTOR_CHECK(inputs.GetSize() == outputs.GetSize());
        std::size_t const n = inputs.GetSize();
        I const* in = inputs.GetData();
        O* out = outputs.GetData();
        F& f = m_f;
        for (std::size_t i = 0; i < n; ++i)
            out[i] = f(in[i]);
    }

private:
    F m_f;
};

template <class I, class O, class F>
class QelUnarySpecialFunctor final : public IUnarySpecialFunctor<I, O> {
public:
    using typename IUnarySpecialFunctor<I, O>::InArg;
    using IUnarySpecialFunctor<I, O>::Project;

    explicit QelUnarySpecialFunctor(F f = F()) : m_f(std::move(f)) {}

    std::pair<O, SpecialKind> Do(InArg input, SpecialKind special) override {
        return m_f(input, special);
    }
    void Project(ArrayView<I const> const& inputs,
                 ArrayView<SpecialKind const> const& specialInputs, ArrayView<O>& outputs,
                 ArrayView<SpecialKind>& specialOutputs) override {
        QEL_DETAIL_FUNCTOR_CHECK(inputs.GetSize() == specialInputs.GetSize());
        QEL_DETAIL_FUNCTOR_CHECK(outputs.GetSize() == specialOutputs.GetSize());
        QEL_DETAIL_FUNCTOR_CHECK(inputs.GetSize() == outputs.GetSize());
        std::size_t const n = inputs.GetSize();
        I const* in = inputs.GetData();
        SpecialKind const* specialIn = specialInputs.GetData();
        O* out = outputs.GetData();
        SpecialKind* specialOut = specialOutputs.GetData();
        F& f = m_f;
        for (std::size_t i = 0; i < n; ++i) {
            std::pair<O, SpecialKind> result = f(in[i], specialIn[i]);
            out[i] = std::move(result.first);
            specialOut[i] = result.second;
        }
    }

private:
    F m_f;
};

template <class I1, class I2, class O, class F>
class QelBinaryFunctor final : public IBinaryFunctor<I1, I2, O> {
public:
    using typename IBinaryFunctor<I1, I2, O>::InArg1;
    using typename IBinaryFunctor<I1, I2, O>::InArg2;
    using IBinaryFunctor<I1, I2, O>::Project;
    using IBinaryFunctor<I1, I2, O>::Aggregate;

    explicit QelBinaryFunctor(F f = F()) : m_f(std::move(f)) {}

    O Do(InArg1 a, InArg2 b) override { return m_f(a, b); }

    void Project(ArrayView<I1 const> const& inputs1, ArrayView<I2 const> const& inputs2,
                 ArrayView<O>& outputs) override {
        QEL_DETAIL_FUNCTOR_CHECK(inputs1.GetSize() == outputs.GetSize());
        QEL_DETAIL_FUNCTOR_CHECK(inputs2.GetSize() == outputs.GetSize());
        std::size_t const n = outputs.GetSize();
        I1 const* in1 = inputs1.GetData();
        I2 const* in2 = inputs2.GetData();
        O* out = outputs.GetData();
        F& f = m_f;
        for (std::size_t i = 0; i < n; ++i)
            out[i] = f(in1[i], in2[i]);
    }

    void Aggregate(I1& value, ArrayView<I2 const> const& inputs, ArrayView<O>& outputs,
                   FunctorAggregationDirection direction) override {
        QEL_DETAIL_FUNCTOR_CHECK(inputs.GetSize() == outputs.GetSize() || outputs.IsEmpty());
        std::size_t const n = inputs.GetSize();
        I2 const* in = inputs.GetData();
        O* out = outputs.GetData();
        F& f = m_f;
        I1 running = value;
        detail::AccumulatorWriteBack<I1> writeBack{value, running};
        bool const scan = !outputs.IsEmpty();
        if (direction == FunctorAggregationDirection::Forward) {
            if (scan) {
                for (std::size_t i = 0; i < n; ++i) {
                    running = f(running, in[i]);
                    out[i] = running;
                }
            } else {
                for (std::size_t i = 0; i < n; ++i)
                    running = f(running, in[i]);
            }
        } else {
            if (scan) {
                for (std::size_t i = n; i-- > 0;) {
                    running = f(running, in[i]);
                    out[i] = running;
                }
            } else {
                for (std::size_t i = n; i-- > 0;)
                    running = f(running, in[i]);
            }
        }
    }

private:
    F m_f;
};

template <class I1, class I2, class O, class F>
class QelBinarySpecialFunctor final : public IBinarySpecialFunctor<I1, I2, O> {
public:
    using typename IBinarySpecialFunctor<I1, I2, O>::InArg1;
    using typename IBinarySpecialFunctor<I1, I2, O>::InArg2;
    using IBinarySpecialFunctor<I1, I2, O>::Project;
    using IBinarySpecialFunctor<I1, I2, O>::Aggregate;

    explicit QelBinarySpecialFunctor(F f = F()) : m_f(std::move(f)) {}

    std::pair<O, SpecialKind> Do(InArg1 a, SpecialKind specialA, InArg2 b,
                                 SpecialKind specialB) override {
        return m_f(a, specialA, b, specialB);
    }

    void Project(ArrayView<I1 const> const& inputs1,
                 ArrayView<SpecialKind const> const& specialInputs1,
                 ArrayView<I2 const> const& inputs2,
                 ArrayView<SpecialKind const> const& specialInputs2, ArrayView<O>& outputs,
                 ArrayView<SpecialKind>& specialOutputs) override {
        QEL_DETAIL_FUNCTOR_CHECK(inputs1.GetSize() == specialInputs1.GetSize());
        QEL_DETAIL_FUNCTOR_CHECK(inputs2.GetSize() == specialInputs2.GetSize());
        QEL_DETAIL_FUNCTOR_CHECK(outputs.GetSize() == specialOutputs.GetSize());
        QEL_DETAIL_FUNCTOR_CHECK(inputs1.GetSize() == outputs.GetSize());
        QEL_DETAIL_FUNCTOR_CHECK(inputs2.GetSize() == outputs.GetSize());
        std::size_t const n = outputs.GetSize();
        I1 const* in1 = inputs1.GetData();
        SpecialKind const* specialIn1 = specialInputs1.GetData();
        I2 const* in2 = inputs2.GetData();
        SpecialKind const* specialIn2 = specialInputs2.GetData();
        O* out = outputs.GetData();
        SpecialKind* specialOut = specialOutputs.GetData();
        F& f = m_f;
        for (std::size_t i = 0; i < n; ++i) {
            std::pair<O, SpecialKind> result = f(in1[i], specialIn1[i], in2[i], specialIn2[i]);
            out[i] = std::move(result.first);
            specialOut[i] = result.second;
        }
    }

    void Aggregate(I1& value, SpecialKind& special, ArrayView<I2 const> const& inputs,
                   ArrayView<SpecialKind const> const& specialInputs, ArrayView<O>& outputs,
                   ArrayView<SpecialKind>& specialOutputs,
                   FunctorAggregationDirection direction) override {
        QEL_DETAIL_FUNCTOR_CHECK(inputs.GetSize() == outputs.GetSize() || outputs.IsEmpty());
        QEL_DETAIL_FUNCTOR_CHECK(inputs.GetSize() == specialInputs.GetSize());
        QEL_DETAIL_FUNCTOR_CHECK(outputs.GetSize() == specialOutputs.GetSize());
        std::size_t const n = inputs.GetSize();
        I2 const* in = inputs.GetData();
        SpecialKind const* specialIn = specialInputs.GetData();
        O* out = outputs.GetData();
        SpecialKind* specialOut = specialOutputs.GetData();
        F& f = m_f;
        I1 running = value;
        SpecialKind runningSpecial = special;
        detail::AccumulatorWriteBack<I1> writeBack{value, running};
        detail::AccumulatorWriteBack<SpecialKind> writeBackSpecial{special, runningSpecial};
        auto const step = [&](std::size_t i) {
            std::pair<O, SpecialKind> result = f(running, runningSpecial, in[i], specialIn[i]);
            running = std::move(result.first);
            runningSpecial = result.second;
        };
        bool const scan = !outputs.IsEmpty();
        if (direction == FunctorAggregationDirection::Forward) {
            if (scan) {
                for (std::size_t i = 0; i < n; ++i) {
                    step(i);
                    out[i] = running;
                    specialOut[i] = runningSpecial;
                }
            } else {
                for (std::size_t i = 0; i < n; ++i)
                    step(i);
            }
        } else {
            if (scan) {
                for (std::size_t i = n; i-- > 0;) {
                    step(i);
                    out[i] = running;
                    specialOut[i] = runningSpecial;
                }
            } else {
                for (std::size_t i = n; i-- > 0;)
                    step(i);
            }
        }
    }

private:
    F m_f;
};

#undef QEL_DETAIL_FUNCTOR_CHECK

// ---------------------------------------------------------------------------
// Generators: a scalar function named as a template argument, so that the
// functor holds nothing but its virtual table pointer.

template <class I, class O, O (*Function)(typename TypeTraits<I>::ArgType)>
struct QelUnaryFunctorGenerator {
    O operator()(typename TypeTraits<I>::ArgType input) const { return Function(input); }
};

template <class I, class O,
          std::pair<O, SpecialKind> (*Function)(typename TypeTraits<I>::ArgType, SpecialKind)>
struct QelUnarySpecialFunctorGenerator {
    std::pair<O, SpecialKind> operator()(typename TypeTraits<I>::ArgType input,
                                         SpecialKind special) const {
        return Function(input, special);
    }
};

template <class I1, class I2, class O,
          O (*Function)(typename TypeTraits<I1>::ArgType, typename TypeTraits<I2>::ArgType)>
struct QelBinaryFunctorGenerator {
    O operator()(typename TypeTraits<I1>::ArgType a, typename TypeTraits<I2>::ArgType b) const {
        return Function(a, b);
    }
};

template <class I1, class I2, class O,
          std::pair<O, SpecialKind> (*Function)(typename TypeTraits<I1>::ArgType, SpecialKind,
                                                typename TypeTraits<I2>::ArgType, SpecialKind)>
struct QelBinarySpecialFunctorGenerator {
    std::pair<O, SpecialKind> operator()(typename TypeTraits<I1>::ArgType a, SpecialKind specialA,
                                         typename TypeTraits<I2>::ArgType b,
                                         SpecialKind specialB) const {
        return Function(a, specialA, b, specialB);
    }
};

// ---------------------------------------------------------------------------
// Factories, whose addresses the registries keep. Each call makes a new
// functor, since a stateful one belongs to one pass.

template <class I, class O, O (*Function)(typename TypeTraits<I>::ArgType)>
std::unique_ptr<IUnaryFunctor<I, O>> UnaryFunctorFactory() {
    return std::make_unique<QelUnaryFunctor<I, O, QelUnaryFunctorGenerator<I, O, Function>>>();
}

template <class I, class O,
          std::pair<O, SpecialKind> (*Function)(typename TypeTraits<I>::ArgType, SpecialKind)>
std::unique_ptr<IUnarySpecialFunctor<I, O>> UnarySpecialFunctorFactory() {
    return std::make_unique<
        QelUnarySpecialFunctor<I, O, QelUnarySpecialFunctorGenerator<I, O, Function>>>();
}

template <class I1, class I2, class O,
          O (*Function)(typename TypeTraits<I1>::ArgType, typename TypeTraits<I2>::ArgType)>
std::unique_ptr<IBinaryFunctor<I1, I2, O>> BinaryFunctorFactory() {
    return std::make_unique<
        QelBinaryFunctor<I1, I2, O, QelBinaryFunctorGenerator<I1, I2, O, Function>>>();
}

template <class I1, class I2, class O,
          std::pair<O, SpecialKind> (*Function)(typename TypeTraits<I1>::ArgType, SpecialKind,
                                                typename TypeTraits<I2>::ArgType, SpecialKind)>
std::unique_ptr<IBinarySpecialFunctor<I1, I2, O>> BinarySpecialFunctorFactory() {
    return std::make_unique<QelBinarySpecialFunctor<
        I1, I2, O, QelBinarySpecialFunctorGenerator<I1, I2, O, Function>>>();
}

// A creator builds F from the creator input values; F reads what it needs
// (an F that needs none ignores them). The values were checked against the
// function's creator input types by the executing layer.
template <class I, class O, class F>
std::unique_ptr<IUnaryFunctor<I, O>> UnaryFunctorCreatorFactory(
    std::vector<std::shared_ptr<StoreValue>> const& values) {
    return std::make_unique<QelUnaryFunctor<I, O, F>>(F(values));
}

template <class I, class O, class F>
std::unique_ptr<IUnarySpecialFunctor<I, O>> UnarySpecialFunctorCreatorFactory(
    std::vector<std::shared_ptr<StoreValue>> const& values) {
    return std::make_unique<QelUnarySpecialFunctor<I, O, F>>(F(values));
}

}  // namespace qel::core
