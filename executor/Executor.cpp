#include "executor/Executor.h"

#include <memory>
#include <utility>
#include <vector>

#include "executor/Columns.h"
#include "qel/core/functions/FunctionKey.h"
#include "qel/core/functions/FunctionRegistry.h"
#include "qel/core/serialize/OperatorTypeSerializeUtils.h"
#include "qel/core/serialize/VtlSerializer.h"
#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/utility/QelException.h"
#include "qel/core/vtl/FunctionSpec.h"
#include "qel/core/vtl/ValueSpec.h"

namespace qel::executor {

namespace {

using core::FunctionKey;
using core::FunctionSpec;
using core::IDataStore;
using core::KeyPath;
using core::OperatorType;
using core::QelError;
using core::QelException;
using core::QelRuntimeException;
using core::qelsize_t;
using core::SpecialKind;
using core::StoreType;
using core::StoreValue;
using core::TransformSpec;
using core::TStringCore;
using core::Type;
using detail::Column;
using detail::ColumnResult;
using detail::FunctionCall;

[[noreturn]] void Fail(QelError error, TStringCore const& details) {
    throw QelRuntimeException(error, details);
}

// One function argument, read: a literal, or what the store holds at a key.
struct Operand {
    std::shared_ptr<StoreValue> value;
    TStringCore label;

    bool IsArray() const { return value->GetStoreType() == StoreType::Array; }
    // The type a function key names for this operand: an array's element
    // type, else the value's own.
    Type const* KeyType() const {
        return IsArray() ? value->AsArray().GetElementType() : value->GetType();
    }
};

// The type of what a function makes: its registered output type, unless
// that is the operand's type up to decoration (precision and scale, a
// collation), which then carries over to the result.
Type const* ResultType(core::OptionalTypeRef const& output, Type const* operand) {
    if (operand != nullptr && output.HasType() &&
        output.Get()->GetBaseType() == operand->GetBaseType())
        return operand;
    return output.Get();
}

// A column without specials runs the plain form when the key has one;
// everything else needs the special form.
void ChooseForm(FunctionCall& call, bool anySpecial) {
    core::RegisteredFunctions const& fns = *call.functions;
    if (!anySpecial && fns.HasFunction()) {
        call.special = false;
    } else if (fns.HasSpecialFunction()) {
        call.special = true;
    } else {
        Fail(QelError::ExpectedAnArrayWithoutSpecialValues,
             fns.GetFunctionName().GetValue() +
                 u" has no special form, and its operands hold special values");
    }
}

TStringCore TypeList(core::RInternString const& name, std::vector<Type const*> const& types) {
    TStringCore text = name.GetValue() + u'(';
    for (std::size_t i = 0; i < types.size(); ++i) {
        if (i > 0)
            text += TStringCore(u", ");
        text += types[i]->ToString();
    }
    return text + u')';
}

// The result of a map, zipWith or filter function: a column (or one
// element, when every operand is a scalar) of `elementType`.
struct Projection {
    ColumnResult column;
    Type const* elementType = nullptr;
    qelsize_t size = 0;
    bool overArrays = false;
};

class ProgramRun {
public:
    ProgramRun(core::IFunctionLookup const& functions, IDataStore& store)
        : m_functions(functions), m_store(store) {}

    // Refuses, before anything runs, a program with an operator that the
    // executor does not run, so that a refused program leaves the store
    // as it was.
    static void CheckOperators(std::vector<TransformSpec> const& transforms) {
        for (TransformSpec const& spec : transforms) {
            try {
                OperatorType const type = spec.GetOperatorType();
                if (!IsSupportedOperator(type)) {
                    Fail(QelError::InvalidOperator,
                         core::OperatorTypeToString(type) + u" is not supported by the executor");
                }
                if (type == OperatorType::Block)
                    CheckOperators(spec.GetChildTransforms());
                else if (!spec.GetChildTransforms().empty())
                    Fail(QelError::UnexpectedChildTransformFound, core::OperatorTypeToString(type));
            } catch (QelException& e) {
                e.AppendContext(u"in transform: " + Describe(spec));
                throw;
            }
        }
    }

    void RunList(std::vector<TransformSpec> const& transforms) {
        for (TransformSpec const& spec : transforms) {
            try {
                RunOne(spec);
            } catch (QelException& e) {
                e.AppendContext(u"in transform: " + Describe(spec));
                throw;
            }
        }
    }

    RunSummary TakeSummary() { return std::move(m_summary); }

private:
    // The transform's line, as VTL writes it; a block's own line, not
    // everything inside it.
    static TStringCore Describe(TransformSpec const& spec) {
        try {
            if (spec.GetChildTransforms().empty())
                return core::TransformToString(spec);
            TransformSpec const line(spec.GetOperatorType(), spec.GetInputs(), spec.GetOutputs(),
                                     spec.GetFunctionSpec(), {}, spec.GetValue());
            return core::TransformToString(line);
        } catch (QelException const&) {
            // A transform built by a program may hold what the text cannot; the
            // failure being reported matters more than its line.
            return core::OperatorTypeToString(spec.GetOperatorType());
        }
    }

    void RunOne(TransformSpec const& spec) {
        switch (spec.GetOperatorType()) {
            case OperatorType::NoOp:
                return;
            case OperatorType::Block:
                RunList(spec.GetChildTransforms());
                return;
            case OperatorType::Copy:
                RunCopy(spec);
                break;
            case OperatorType::Constant:
                RunConstant(spec);
                break;
            case OperatorType::Map:
                RunMap(spec, false);
                break;
            case OperatorType::ZipWith:
                RunMap(spec, true);
                break;
            case OperatorType::Filter:
                RunFilter(spec);
                break;
            case OperatorType::Reduce:
            case OperatorType::Scan:
                RunFold(spec, spec.GetOperatorType() == OperatorType::Scan);
                break;
            default:
                // CheckOperators has refused every other operator.
                throw core::QelLogicException(QelError::InvalidOperator,
                                              core::OperatorTypeToString(spec.GetOperatorType()));
        }
        ++m_summary.transformsRun;
    }

    std::shared_ptr<StoreValue> Load(KeyPath const& path) const {
        std::shared_ptr<StoreValue> value = m_store.TryGetValue(path);
        if (value == nullptr)
            Fail(QelError::NoValueFoundAtKey, path.ToString());
        return value;
    }

    void Store(KeyPath const& path, std::shared_ptr<StoreValue> const& value) {
        if (path.IsEmpty())
            Fail(QelError::IllegalOutputKey, TStringCore(u"an empty key"));
        core::KeySegment const& leaf = path.GetLeafSegment();
        if (leaf.HasType() && leaf.GetType()->GetBaseType() != value->GetType()->GetBaseType()) {
            Fail(QelError::TypeMismatchFoundInKey,
                 path.ToString() + u" gets a value of type " + value->GetType()->ToString());
        }
        m_store.SetValue(path, value);
        m_summary.written.push_back(path);
    }

    static KeyPath const& SingleOutput(TransformSpec const& spec) {
        if (spec.GetOutputs().size() != 1)
            Fail(QelError::NeedOneOutput, core::OperatorTypeToString(spec.GetOperatorType()));
        return spec.GetOutputs().front();
    }

    static FunctionSpec const& RequireFunction(TransformSpec const& spec) {
        if (spec.GetFunctionSpec() == nullptr)
            Fail(QelError::NeedATransformFunction,
                 core::OperatorTypeToString(spec.GetOperatorType()));
        return *spec.GetFunctionSpec();
    }

    std::vector<Operand> LoadOperands(FunctionSpec const& function) const {
        std::vector<Operand> operands;
        for (core::ValueSpec const& argument : function.GetFunctionInputs()) {
            if (argument.IsKey()) {
                operands.push_back({Load(argument.GetKeyPath()), argument.GetKeyPath().ToString()});
            } else {
                operands.push_back(
                    {argument.GetValue(), core::BuildPrimitiveValue(*argument.GetValue())});
            }
        }
        return operands;
    }

    void RunCopy(TransformSpec const& spec) {
        auto const& inputs = spec.GetInputs();
        auto const& outputs = spec.GetOutputs();
        if (inputs.size() != outputs.size())
            Fail(QelError::InvalidNumberOfInputs,
                 TStringCore(u"copy writes one output for each input"));
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            if (inputs[i].IsPrefixOf(outputs[i]))
                Fail(QelError::IllegalToCopyAKeyPathToItself, inputs[i].ToString());
            std::shared_ptr<StoreValue> value = Load(inputs[i]);
            // Key maps are the store's only mutable values: a copy must not
            // share one with its source.
            if (value->GetStoreType() == StoreType::KeyMap)
                value = std::shared_ptr<StoreValue>(value->Clone());
            Store(outputs[i], value);
        }
    }

    void RunConstant(TransformSpec const& spec) {
        KeyPath const& output = SingleOutput(spec);
        if (spec.GetValue() == nullptr)
            Fail(QelError::MissingRequiredTransformValueWithKey, output.ToString());
        Store(output, spec.GetValue());
    }

    // A map, zipWith or filter function over its operands.
    Projection Project(TransformSpec const& spec, bool binaryOnly) const {
        FunctionSpec const& function = RequireFunction(spec);
        core::RInternString const& name = function.GetFunctionId();
        std::vector<Operand> operands = LoadOperands(function);
        if (operands.empty())
            Fail(QelError::NeedAtLeastOneInput, name.GetValue());

        Projection projection;
        projection.size = 1;
        Operand const* firstArray = nullptr;
        for (Operand const& operand : operands) {
            if (!operand.IsArray())
                continue;
            qelsize_t const count = operand.value->AsArray().GetCount();
            if (firstArray == nullptr) {
                firstArray = &operand;
                projection.size = count;
                projection.overArrays = true;
            } else if (count != projection.size) {
                Fail(QelError::ArraysMustBeSameSize,
                     firstArray->label + u" and " + operand.label + u" in " + name.GetValue());
            }
        }
        auto makeColumn = [&](Operand const& operand) {
            return operand.IsArray() ? detail::MakeArrayColumn(operand.value)
                                     : detail::MakeScalarColumn(operand.value, projection.size);
        };

        Type const* const firstType = operands[0].KeyType();
        FunctionKey const unaryKey(name, core::VariableTypeRef(firstType));
        core::RegistryOfUnaryFunctions const& unary = m_functions.GetUnaryFuncs();
        if (!binaryOnly && unary.GetMap().CanResolve(unaryKey)) {
            FunctionCall call;
            call.functions = &unary.GetFunctions(unaryKey);
            for (std::size_t i = 1; i < operands.size(); ++i)
                call.creatorInputs.push_back(operands[i].value);
            CheckCreatorInputs(unaryKey, call);
            // Only the first operand is a column; a creator's set or
            // constant is not run over.
            Column const column = operands[0].IsArray()
                                      ? detail::MakeArrayColumn(operands[0].value)
                                      : detail::MakeScalarColumn(operands[0].value, 1);
            projection.size = column.size;
            projection.overArrays = column.isArray;
            ChooseForm(call, column.hasSpecials);
            call.outputType = ResultType(call.functions->GetOutputType(), firstType);
            projection.elementType = call.outputType;
            projection.column = detail::ProjectUnary(call, column);
            return projection;
        }

        if (operands.size() != 2) {
            if (binaryOnly)
                Fail(QelError::NeedTwoInputs, name.GetValue());
            unary.GetFunctions(unaryKey);  // fails "transform function not found: "
            Fail(QelError::TransformFunctionNotFound, TypeList(name, {firstType}));
        }
        Type const* const secondType = operands[1].KeyType();
        FunctionKey const binaryKey(name, core::VariableTypeRef(firstType),
                                    core::VariableTypeRef(secondType),
                                    FunctionKey::ArgContainer::Individual);
        core::RegistryOfBinaryFunctions const& binary = m_functions.GetBinaryFuncs();
        if (!binaryOnly && !binary.GetMap().CanResolve(binaryKey)) {
            Fail(QelError::TransformFunctionNotFound,
                 TypeList(name, {firstType}) + u" or " + TypeList(name, {firstType, secondType}));
        }
        FunctionCall call;
        call.functions = &binary.GetFunctions(binaryKey);
        Column const first = makeColumn(operands[0]);
        Column const second = makeColumn(operands[1]);
        ChooseForm(call, first.hasSpecials || second.hasSpecials);
        call.outputType = ResultType(call.functions->GetOutputType(), firstType);
        projection.elementType = call.outputType;
        projection.column = detail::ProjectBinary(call, first, second);
        return projection;
    }

    // A creator takes exactly the values its info names, by base type; a
    // plain function takes none.
    void CheckCreatorInputs(FunctionKey const& key, FunctionCall const& call) const {
        TStringCore const& name = call.functions->GetFunctionName().GetValue();
        if (!call.functions->IsCreator()) {
            if (!call.creatorInputs.empty())
                Fail(QelError::NonCreatorFunctionCalledWithCreatorInputs, name);
            return;
        }
        auto const& expected = m_functions.GetFunctionInfo(key).GetCreatorInputTypes();
        if (expected.size() != call.creatorInputs.size())
            Fail(QelError::CreatorFunctionHasIncorrectNumberOfInputs, name);
        for (std::size_t i = 0; i < expected.size(); ++i) {
            Type const* given = call.creatorInputs[i]->GetType();
            if (!expected[i].IsAnyType() && expected[i].GetBaseType() != given->GetBaseType()) {
                Fail(QelError::CreatorFunctionHasIncorrectInputType,
                     name + u" takes " + expected[i]->ToString() + u", not " + given->ToString());
            }
        }
    }

    void RunMap(TransformSpec const& spec, bool zipWith) {
        KeyPath const& output = SingleOutput(spec);
        Projection const projection = Project(spec, zipWith);
        if (projection.overArrays) {
            Store(output, detail::MakeResultArray(projection.elementType, projection.column,
                                                  core::SortSpecOrder::UNKNOWN));
        } else {
            Store(output, detail::BoxResultElement(projection.elementType, projection.column, 0));
        }
    }

    void RunFilter(TransformSpec const& spec) {
        auto const& inputs = spec.GetInputs();
        auto const& outputs = spec.GetOutputs();
        if (inputs.empty())
            Fail(QelError::NeedInputs, TStringCore(u"filter"));
        if (inputs.size() != outputs.size())
            Fail(QelError::InvalidNumberOfInputs,
                 TStringCore(u"filter writes one output for each input"));
        bool keep = true;
        if (std::shared_ptr<StoreValue> const& literal = spec.GetValue(); literal != nullptr) {
            if (literal->GetStoreType() != StoreType::Bool ||
                literal->GetSpecialKind() != SpecialKind::Normal)
                Fail(QelError::TypeMismatch, TStringCore(u"filter keeps on true or false"));
            keep = literal->AsBool();
        }

        Projection const predicate = Project(spec, false);
        TStringCore const& name = spec.GetFunctionSpec()->GetFunctionId().GetValue();
        if (predicate.elementType->GetStoreType() != StoreType::Bool)
            Fail(QelError::TheTransformFunctionUsedInTheFilter, name);
        if (!predicate.overArrays)
            Fail(QelError::TheFilterOperatorRequiresAnArrayOr, name);
        auto const decisions = predicate.column.values->GetView<bool>();
        std::vector<qelsize_t> kept;
        for (qelsize_t i = 0; i < predicate.size; ++i) {
            bool const normal =
                predicate.column.specials == nullptr ||
                predicate.column.specials->GetView<SpecialKind>()[i] == SpecialKind::Normal;
            if (normal && decisions[i] == keep)
                kept.push_back(i);
        }

        for (std::size_t i = 0; i < inputs.size(); ++i) {
            std::shared_ptr<StoreValue> const value = Load(inputs[i]);
            if (value->GetStoreType() != StoreType::Array)
                Fail(QelError::TheFilterOperatorRequiresAnArrayOr, inputs[i].ToString());
            core::IStoreArray const& array = value->AsArray();
            if (array.GetCount() != predicate.size) {
                Fail(QelError::ArraysMustBeSameSize,
                     inputs[i].ToString() + u" and the predicate of " + name);
            }
            // The kept positions become an index vector over the input's
            // buffers: nothing is copied, and the order (so any sort order)
            // stays.
            Store(outputs[i],
                  array.CopyAndApplyIndices(std::vector<qelsize_t>(kept), array.GetSortOrder()));
        }
    }

    void RunFold(TransformSpec const& spec, bool scan) {
        KeyPath const& output = SingleOutput(spec);
        FunctionSpec const& function = RequireFunction(spec);
        core::RInternString const& name = function.GetFunctionId();
        std::vector<Operand> const operands = LoadOperands(function);
        if (operands.size() != 1)
            Fail(QelError::NeedOneInput, name.GetValue());
        if (!operands[0].IsArray()) {
            Fail(scan ? QelError::TheScanOperatorRequiresAnArray
                      : QelError::TheReduceOperatorRequiresAnArrayOr,
                 operands[0].label);
        }
        std::shared_ptr<StoreValue> const& initial = spec.GetValue();
        Type const* const elementType = operands[0].KeyType();
        Type const* const accumulatorType = initial != nullptr ? initial->GetType() : elementType;
        FunctionKey const key(name, core::VariableTypeRef(accumulatorType),
                              core::VariableTypeRef(elementType),
                              FunctionKey::ArgContainer::Individual);
        FunctionCall call;
        call.functions = &m_functions.GetBinaryFuncs().GetFunctions(key);
        Column const column = detail::MakeArrayColumn(operands[0].value);
        bool const specialStart =
            initial != nullptr && initial->GetSpecialKind() != SpecialKind::Normal;
        ChooseForm(call, column.hasSpecials || specialStart);
        call.outputType = ResultType(call.functions->GetOutputType(), accumulatorType);
        detail::FoldResult result = detail::Fold(call, accumulatorType, initial, column, scan);
        if (scan) {
            Store(output, detail::MakeResultArray(call.outputType, result.running,
                                                  core::SortSpecOrder::UNKNOWN));
        } else {
            Store(output, result.final);
        }
    }

    core::IFunctionLookup const& m_functions;
    IDataStore& m_store;
    RunSummary m_summary;
};

}  // namespace

bool IsSupportedOperator(OperatorType type) {
    switch (type) {
        case OperatorType::NoOp:
        case OperatorType::Block:
        case OperatorType::Copy:
        case OperatorType::Constant:
        case OperatorType::Map:
        case OperatorType::ZipWith:
        case OperatorType::Filter:
        case OperatorType::Reduce:
        case OperatorType::Scan:
            return true;
        default:
            return false;
    }
}

Executor::Executor(core::IFunctionLookup const& functions) : m_functions(functions) {}

RunSummary Executor::Run(std::vector<TransformSpec> const& program, IDataStore& store) const {
    ProgramRun::CheckOperators(program);
    ProgramRun run(m_functions, store);
    run.RunList(program);
    return run.TakeSummary();
}

RunSummary RunProgram(std::vector<TransformSpec> const& program, IDataStore& store,
                      core::IFunctionLookup const& functions) {
    return Executor(functions).Run(program, store);
}

}  // namespace qel::executor
