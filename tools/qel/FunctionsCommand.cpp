// `qel functions [NAME]`: the built-in transform functions as a registry
// holds them, for VTL authors choosing an overload and for hosts checking
// what they would shadow. One line per key, in registration order, since
// that order decides how ties between overloads resolve.

#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "qel/core/QelCore.h"
#include "tools/qel/CommandLine.h"

namespace qel::tools {

namespace {

using namespace qel::core;

constexpr char kUsage[] =
    "usage: qel functions [NAME]\n\n"
    "Lists the built-in transform functions, one line per key, in the order of\n"
    "registration (which decides how ties between overloads resolve):\n\n"
    "  NAME FORM (IN1, IN2, ...) -> OUT [creator(T1, ...)] [stateful] [plain] [special]\n\n"
    "FORM is unary, binary or multinary. Types are written as in key paths\n"
    "(i, r, A<i>), an input of any type as any, no output as none. creator\n"
    "gives the types of the values the functor is made from; plain and special\n"
    "say which forms the key has (special sees each value's kind). NAME is\n"
    "written as a key path segment, quoted where it must be ('+').\n\n"
    "With NAME (bare or quoted), only its overloads; exit code 1 if there are\n"
    "none.\n";

// A key of one of the arity registries, copied out of its visit.
struct ArityEntry {
    FunctionKey key;
    char const* form;
    bool plain;
    bool special;
};

std::vector<ArityEntry> ArityEntries(FunctionRegistry const& registry) {
    std::vector<ArityEntry> entries;
    auto const collect = [&](FunctionRegistryMap<RegisteredFunctions> const& map,
                             char const* form) {
        map.ForEach([&](FunctionKey const& key, RegisteredFunctions const& functions) {
            entries.push_back({key, form, functions.HasFunction(), functions.HasSpecialFunction()});
        });
    };
    collect(registry.GetUnaryFuncs().GetMap(), "unary");
    collect(registry.GetBinaryFuncs().GetMap(), "binary");
    collect(registry.GetMultinaryFuncs().GetMap(), "multinary");
    return entries;
}

// Looked up by walking rather than by FindExactKey, whose miss would make a
// failure report for what is only a question.
ArityEntry const& EntryOf(std::vector<ArityEntry> const& entries, FunctionKey const& key) {
    for (ArityEntry const& entry : entries) {
        if (entry.key.AreKeysExactlyEqual(key))
            return entry;
    }
    // Every key reaches the info map through an arity registry.
    throw std::logic_error("the key of '" + key.GetName().GetValue().toStdString() +
                           "' is in no arity registry");
}

std::string TypeText(TypeRef const& type) {
    return KeyPathSerializer::BuildType(type.Get(), true).toStdString();
}

std::string InputsText(TypeRefVec<VariableTypeRef> const& inputs) {
    std::string text = "(";
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        if (i > 0)
            text += ", ";
        text += inputs[i].IsAnyType() ? "any" : TypeText(inputs[i]);
    }
    return text + ")";
}

std::string Line(FunctionKey const& key, FunctionInfo const& info, ArityEntry const& entry) {
    std::string line = KeyPathSerializer::EscapeKeySegment(key.GetName().GetValue()).toStdString();
    line += ' ';
    line += entry.form;
    line += ' ' + InputsText(key.GetInputTypes()) + " -> ";
    line += info.GetOutputType().HasType() ? TypeText(info.GetOutputType()) : "none";
    if (info.IsCreator())
        line += " creator" + InputsText(info.GetCreatorInputTypes());
    if (info.IsStateful())
        line += " stateful";
    if (entry.plain)
        line += " plain";
    if (entry.special)
        line += " special";
    return line;
}

// A name matches bare ("+") or as it is listed ("'+'").
bool Matches(RInternString const& name, TStringCore const& wanted) {
    return name.GetValue() == wanted ||
           KeyPathSerializer::EscapeKeySegment(name.GetValue()) == wanted;
}

int RunFunctions(std::vector<std::string> const& args, std::ostream& out) {
    if (args.size() == 1 && (args[0] == "--help" || args[0] == "-h")) {
        out << kUsage;
        return 0;
    }
    if (args.size() > 1)
        throw UsageError("'functions' takes at most one NAME; unexpected '" + args[1] + "'");
    bool const filtered = !args.empty();
    TStringCore const wanted =
        filtered ? TStringCore::fromUtf8(args[0].data(), static_cast<int>(args[0].size()))
                 : TStringCore();

    RegisterCollatorPool();
    std::unique_ptr<FunctionRegistry> const registry = FunctionRegistry::Make();
    RegisterAllBuiltinFunctions(*registry);
    std::vector<ArityEntry> const entries = ArityEntries(*registry);

    std::size_t listed = 0;
    registry->GetFunctionInfos().ForEach([&](FunctionKey const& key, FunctionInfo const& info) {
        if (filtered && !Matches(key.GetName(), wanted))
            return;
        out << Line(key, info, EntryOf(entries, key)) << '\n';
        ++listed;
    });
    if (filtered && listed == 0)
        throw CommandFailure("no function named '" + args[0] + "'");
    return 0;
}

}  // namespace

Command MakeFunctionsCommand() {
    Command command;
    command.name = "functions";
    command.summary = "list the built-in transform functions and their overloads";
    command.usage = kUsage;
    command.run = RunFunctions;
    return command;
}

}  // namespace qel::tools
