#include "executor/Executor.h"

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "qel/core/functions/BuiltinFunctions.h"
#include "qel/core/functions/FunctionRegistration.h"
#include "qel/core/functions/FunctionRegistry.h"
#include "qel/core/serialize/OperatorTypeSerializeUtils.h"
#include "qel/core/serialize/VtlParser.h"
#include "qel/core/serialize/VtlSerializer.h"
#include "qel/core/store/Collation.h"
#include "qel/core/store/CollectionInterfaces.h"
#include "qel/core/store/Factory.h"
#include "qel/core/store/ValueArray.h"
#include "qel/core/store/ValueConstantArray.h"
#include "qel/core/utility/QelException.h"

namespace qel::executor {
namespace {

using namespace qel::core;
using Kinds = std::vector<SpecialKind>;
constexpr SpecialKind N = SpecialKind::Normal;
constexpr SpecialKind Null = SpecialKind::Null;

// A host function beside the built-ins, as the corpus programs call it.
template <class T>
std::pair<bool, SpecialKind> IsNullElement(T, SpecialKind kind) {
    return {kind == SpecialKind::Null, SpecialKind::Normal};
}

std::shared_ptr<StoreValue> Int32s(std::vector<int> const& values, Kinds kinds = {}) {
    std::vector<unsigned int> bits(values.begin(), values.end());
    if (kinds.empty())
        return factory::MakeArray<unsigned int>(IntType::Get32(), std::move(bits));
    return factory::MakeArray<unsigned int>(IntType::Get32(), std::move(bits), std::move(kinds));
}

std::shared_ptr<StoreValue> Real64s(std::vector<double> const& values, Kinds kinds) {
    std::vector<unsigned long long> bits;
    for (double v : values)
        bits.push_back(std::bit_cast<unsigned long long>(v));
    return factory::MakeArray<unsigned long long>(RealType::Get64(), std::move(bits),
                                                  std::move(kinds));
}

std::string Text(std::shared_ptr<StoreValue> const& value) {
    if (value->GetStoreType() != StoreType::Array)
        return FormatPrimitive(*value).toStdString();
    std::string text = "[";
    for (unsigned int i = 0; i < value->AsArray().GetCount(); ++i)
        text +=
            (i ? ", " : "") + FormatPrimitive(*value->AsArray().GetStoreValueAt(i)).toStdString();
    return text + "]";
}

std::string ReadCorpus(char const* name) {
    std::ifstream in(std::string(QEL_TEST_VTL_CORPUS_DIR) + "/" + name);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class ExecutorTest : public ::testing::Test {
protected:
    void SetUp() override {
        RegisterDefaultCollatorPool();
        RegisterAllBuiltinFunctions(*m_registry);
        RegisterUnarySpecialFunction<int, bool, &IsNullElement<int>>(*m_registry, u"isNull");
        RegisterUnarySpecialFunction<double, bool, &IsNullElement<double>>(*m_registry, u"isNull");
    }

    void Put(char const* key, std::shared_ptr<StoreValue> const& value) {
        m_store.SetValue(KeyPath::ParseString(TStringCore::fromUtf8(key)), value);
    }
    std::string Get(char const* key) const {
        return Text(m_store.GetValue(KeyPath::ParseString(TStringCore::fromUtf8(key))));
    }
    RunSummary Run(std::string const& vtl) {
        return RunProgram(ParseVtlList(TStringCore::fromUtf8(vtl.c_str()), false), m_store,
                          *m_registry);
    }
    // What() of the failure of `vtl`, or "ran".
    std::string Failure(std::string const& vtl) {
        try {
            Run(vtl);
        } catch (QelException const& e) {
            return e.what();
        }
        return "ran";
    }

    std::unique_ptr<FunctionRegistry> m_registry = FunctionRegistry::Make();
    DataStore m_store;
};

TEST_F(ExecutorTest, RunsTheWorkedExample) {
    Put("a/b", Int32s({4, 0, 6}, {N, Null, N}));
    RunSummary const summary = Run(ReadCorpus("example.vtl"));
    // The filter keeps the Null, the block maps its constant, copy shares y.
    EXPECT_EQ(Get("c"), "[Null]");
    EXPECT_EQ(Get("x"), "5");
    EXPECT_EQ(Get("y"), "6");
    EXPECT_EQ(Get("z"), "6");
    EXPECT_EQ(summary.transformsRun, 4u);
    ASSERT_EQ(summary.written.size(), 4u);
    EXPECT_EQ(summary.written[1].ToString().toStdString(), "x");
}

// Every line of the operator corpus, each on its own copy of one store: the
// supported ones give exactly these results or refusals, every other
// operator is refused by its name.
TEST_F(ExecutorTest, RunsTheOperatorCorpusLineByLine) {
    Put("a", Real64s({1.5, -2.0, 0}, {N, N, Null}));
    Put("b", Real64s({0.5, 0.5, 0.5}, {N, N, N}));
    std::map<std::string, std::string> const expected = {
        {"-> block :main ->", "call is not supported by the executor"},
        {"-> block :'empty block' ->", ""},
        {"-> block ->", ""},
        {"-> constant :5:i -> x:i", "x = 5; "},
        {"-> constant -> x", "missing required transform value with key\nx"},
        {"a -> copy -> b", "value already set at path: \nb"},
        {"a -> filter (isNull a) -> f", "f = [Null]; "},
        {"a -> filter :true (isNull a) -> f", "f = [Null]; "},
        {"a -> filter :false -> f", "need a transform function\nfilter"},
        {"a -> map (abs a) -> m", "abs has no special form"},
        {"a -> reduce (max a) -> r", "r = 1.5; "},
        {"a -> reduce :0:r (sum a) -> r:r", "r = -0.5; "},
        {"a -> scan :0:l (add a) -> s", "transform function not found: \nadd(l, r<-1,-1>)"},
        {"a -> scan (add a) -> s", "transform function not found: \nadd(r<-1,-1>, r<-1,-1>)"},
        {"a b -> zipWith (add a b) -> z",
         "transform function not found: \nadd(r<-1,-1>, r<-1,-1>)"},
    };
    std::size_t supported = 0;
    for (TransformSpec const& spec :
         ParseVtlList(TStringCore::fromUtf8(ReadCorpus("operators.vtl").c_str()), false)) {
        std::string const line =
            TransformToString(TransformSpec(spec.GetOperatorType(), spec.GetInputs(),
                                            spec.GetOutputs(), spec.GetFunctionSpec(), {},
                                            spec.GetValue()))
                .toStdString();
        std::unique_ptr<IDataStore> store = m_store.Clone();
        std::string outcome;
        try {
            for (KeyPath const& key : RunProgram({spec}, *store, *m_registry).written)
                outcome += key.ToString().toStdString() + " = " + Text(store->GetValue(key)) + "; ";
        } catch (QelException const& e) {
            outcome = e.what();
        }
        if (!IsSupportedOperator(spec.GetOperatorType())) {
            EXPECT_EQ(outcome, "invalid operator\n" +
                                   OperatorTypeToString(spec.GetOperatorType()).toStdString() +
                                   " is not supported by the executor")
                << line;
            continue;
        }
        auto const it = expected.find(line);
        ASSERT_NE(it, expected.end()) << line << " gave " << outcome;
        EXPECT_NE(outcome.find(it->second), std::string::npos) << line << " gave " << outcome;
        EXPECT_EQ(it->second.empty(), outcome.empty()) << line << " gave " << outcome;
        ++supported;
    }
    EXPECT_EQ(supported, expected.size());
}

TEST_F(ExecutorTest, MapsWithThePlainOrTheSpecialFormAndCreatorInputs) {
    Put("r", Real64s({-1.5, 2.0}, {N, N}));
    Put("i", Int32s({4, 0, 1}, {N, Null, N}));
    Put("j", Int32s({1, 2, 3}));
    Put("allowed", Int32s({3, 1})->AsArray().CopyAsSet(false));
    Run("r -> map (abs r) -> absR\n"
        "i -> map (sqrt i) -> root\n"
        "i -> map (< i :2:i) -> small\n"
        "j -> map (addConstant j :10:i) -> more\n"
        "j -> map (isInSet j allowed) -> in\n"
        "j -> map (* j :2:i) -> twice\n"
        "-> constant :2:i -> two\n"
        "two -> map (- two) -> minusTwo\n");
    EXPECT_EQ(Get("absR"), "[1.5, 2]");
    EXPECT_EQ(Get("root"), "[2, Null, 1]");
    EXPECT_EQ(Get("small"), "[false, Null, true]");
    EXPECT_EQ(Get("more"), "[11, 12, 13]");
    EXPECT_EQ(Get("in"), "[true, false, true]");
    EXPECT_EQ(Get("twice"), "[2, 4, 6]");
    EXPECT_EQ(Get("minusTwo"), "-2");
    EXPECT_FALSE(
        m_store.GetValue(KeyPath::ParseString(TStringCore(u"more")))->AsArray().HasSpecialValues());

    EXPECT_EQ(Failure("j -> map (abs j) -> x"), "transform function not found: \nabs(i)");
    EXPECT_EQ(Failure("i -> map (toReal64 i) -> x"),
              "expected an array without special values\ntoReal64 has no special form, and its "
              "operands hold special values");
    EXPECT_EQ(Failure("j -> map (inc j :1:i) -> x"),
              "non-creator function called with creator inputs: \ninc");
    EXPECT_EQ(Failure("j -> map (addConstant j) -> x"),
              "creator function has incorrect number of inputs: \naddConstant");
    EXPECT_EQ(Failure("j -> map (addConstant j :1:l) -> x"),
              "creator function has incorrect input type: \naddConstant takes i, not l");
    EXPECT_EQ(Failure("j -> map (isInSet j :1:i) -> x").substr(0, 43),
              "creator function has incorrect input type: ");
}

TEST_F(ExecutorTest, ZipsColumnsAndScalars) {
    Put("a", Int32s({1, 2, 3}, {N, Null, N}));
    Put("b", Int32s({10, 20, 30}));
    Put("zero", Int32s({1, 0, 1}));
    Put("short", Int32s({1, 2}));
    Put("five", factory::MakeConstantArray<unsigned int>(IntType::Get32(), 5u, 3));
    Put("names", factory::MakeArray<RIndirectString>(StringType::Get(), {u"fig", u"", u"kiwi"},
                                                     {N, Null, N}));
    Run("a b -> zipWith (+ a b) -> sum\n"
        "b five -> zipWith (+ b five) -> plusFive\n"
        "names -> map (normalize names) -> named\n"
        "b -> zipWith (- b :1:i) -> less\n"
        "b -> zipWith ('/' :60:i b) -> shares\n");
    EXPECT_EQ(Get("sum"), "[11, Null, 33]");
    EXPECT_EQ(Get("less"), "[9, 19, 29]");
    EXPECT_EQ(Get("shares"), "[6, 3, 2]");
    EXPECT_EQ(Get("plusFive"), "[15, 25, 35]");
    EXPECT_EQ(Get("named"), "[fig, , kiwi]");
    EXPECT_EQ(Failure("b zero -> zipWith ('/' b zero) -> q"), "divide by zero error ");
    EXPECT_EQ(Failure("b short -> zipWith (+ b short) -> q"),
              "arrays must be same size\nb and short in +");
    EXPECT_EQ(Failure("b -> zipWith (+ b) -> q"), "need two inputs\n+");
    EXPECT_EQ(Failure("b -> zipWith (+ b :1:l) -> q"), "transform function not found: \n+(i, l)");
}

TEST_F(ExecutorTest, FiltersThroughAnIndexVector) {
    Put("v", Int32s({5, 0, 7, 0}, {N, Null, N, SpecialKind::Missing}));
    Put("w", Int32s({1, 2, 3, 4}));
    Run("v w -> filter (keepOnlyNormal v) -> v2 w2\n"
        "v -> filter :false (filterNullAndMissing v) -> gaps\n"
        "v2 -> filter (> v2 :6:i) -> big\n");
    EXPECT_EQ(Get("v2"), "[5, 7]");
    EXPECT_EQ(Get("w2"), "[1, 3]");
    EXPECT_EQ(Get("gaps"), "[Null, Missing]");
    // A filter of a filter addresses the first one's logical positions.
    EXPECT_EQ(Get("big"), "[7]");
    auto const kept = m_store.GetValue(KeyPath::ParseString(TStringCore(u"w2")));
    EXPECT_TRUE(kept->AsArray().HasIndices());

    EXPECT_EQ(Failure("w -> filter (inc w) -> x"),
              "the transform function used in the filter operator must return a bool\ninc");
    EXPECT_EQ(Failure("w v -> filter (keepOnlyNormal v) -> x"),
              "invalid number of inputs\nfilter writes one output for each input");
}

TEST_F(ExecutorTest, ReducesAndScans) {
    Put("v", Int32s({0, 2, 0, 3}, {Null, N, Null, N}));
    Put("w", Int32s({1, 2, 3}));
    Put("none", Int32s({}));
    Put("days",
        factory::MakeArray<unsigned long long>(DateType::Get(),
                                               {QelDateTime(2024, 3, 1, 0, 0, 0, 0).GetValue(), 0,
                                                QelDateTime(2023, 12, 24, 0, 0, 0, 0).GetValue()},
                                               {N, Null, N}));
    Run("v -> reduce :0:i (count v) -> counted\n"
        "v -> reduce (sum v) -> sumV\n"
        "v -> reduce :Null:i (min v) -> minV\n"
        "w -> reduce (min w) -> minW\n"
        "w -> reduce :0:i (countAll w) -> all\n"
        "none -> reduce (max none) -> empty\n"
        "w -> scan (sum w) -> running\n"
        "w -> scan :10:i (sum w) -> from10\n"
        "v -> scan (sum v) -> skipping\n"
        "days -> reduce (min days) -> first\n");
    EXPECT_EQ(Get("counted"), "2");
    EXPECT_EQ(Get("sumV"), "5");
    EXPECT_EQ(Get("minV"), "2");
    EXPECT_EQ(Get("minW"), "1");
    EXPECT_EQ(Get("all"), "3");
    EXPECT_EQ(Get("empty"), "Null");
    EXPECT_EQ(Get("running"), "[1, 3, 6]");
    EXPECT_EQ(Get("from10"), "[11, 13, 16]");
    EXPECT_EQ(Get("skipping"), "[Null, 2, 2, 5]");
    EXPECT_EQ(Get("first"), "2023-12-24");

    EXPECT_EQ(Failure("w -> reduce (sum :1:i) -> x"),
              "the reduce operator requires an array or set as input\n1");
    EXPECT_EQ(Failure("w -> scan (sum w w) -> x"), "need one input\nsum");
    EXPECT_EQ(Failure("w -> reduce :0:l (sum w) -> x"),
              "transform function not found: \nsum(l, i)");
}

TEST_F(ExecutorTest, RefusesBadProgramsAndKeepsEarlierResults) {
    Put("w", Int32s({1, 2, 3}));
    std::string const failure = Failure(
        "w -> copy -> w1\n"
        "-> block :outer ->\n"
        "  w -> map (inc nowhere) -> w2\n");
    EXPECT_EQ(failure, "no value found at key \nnowhere");
    EXPECT_EQ(Get("w1"), "[1, 2, 3]");
    try {
        Run("-> block :outer ->\n  w -> map (inc w) -> w3:s\n");
        ADD_FAILURE() << "a mistyped output was written";
    } catch (QelException const& e) {
        EXPECT_EQ(std::string(e.what()),
                  "type mismatch found in key\nw3 gets a value of type A<i>");
        EXPECT_EQ(e.GetContext().toStdString(),
                  "in transform: w -> map (inc w) -> w3:s\nin transform: -> block :outer ->");
    }
    EXPECT_EQ(Failure("w -> copy -> w/x"),
              "illegal to copy a KeyPath to itself or its children\nw");
    EXPECT_EQ(Failure("w -> copy -> w1"), "value already set at path: \nw1");
    // An operator it does not run refuses the whole program up front.
    EXPECT_EQ(Failure("w -> copy -> w4\n-> block :b ->\n  w -> groupBy -> g\n"),
              "invalid operator\ngroupBy is not supported by the executor");
    EXPECT_EQ(m_store.TryGetValue(KeyPath::ParseString(TStringCore(u"w4"))), nullptr);
}

}  // namespace
}  // namespace qel::executor
