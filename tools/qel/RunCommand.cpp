// `qel run PROGRAM STORE [-o OUT] [--binary]`: a VTL author's way to try a
// program on real data. The program runs through the small executor beside
// the library, with the built-in functions, and the resulting store (the
// input with every key the program wrote) is printed as readable JSON, or
// written as a binary payload. Refusals go to the error stream as
// "FILE[:LINE]: error CODE: message: details", then where it happened (the
// offending line, the transforms around the failing one, the library's
// source), with exit code 1; nothing is written then.

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <boost/unordered_set.hpp>

#include "executor/Executor.h"
#include "qel/core/QelCore.h"
#include "qel/core/functions/BuiltinFunctions.h"
#include "qel/core/functions/FunctionRegistry.h"
#include "qel/core/serialize/BinaryProtocol.h"
#include "qel/core/serialize/StoreValueBinarySerializer.h"
#include "qel/core/serialize/StoreValueParser.h"
#include "qel/core/serialize/StoreValueSerializer.h"
#include "qel/core/serialize/VtlParser.h"
#include "qel/core/serialize/VtlPayloadUtils.h"
#include "tools/qel/CommandLine.h"

namespace qel::tools {

namespace {

using namespace qel::core;

constexpr char kUsage[] =
    "usage: qel run PROGRAM STORE [-o OUT] [--binary]\n\n"
    "Runs the VTL program in PROGRAM over the data store in STORE and prints\n"
    "the resulting store (the input with every key the program wrote) in its\n"
    "readable JSON form, with typed keys, so that it reads back as a STORE.\n\n"
    "PROGRAM   a VTL text, or a payload (a text with the \"(graph)\" marker at\n"
    "          the start of a line: its transforms run, its graph and\n"
    "          updatable keys are only checked)\n"
    "STORE     a data store, as one binary payload (its first byte is a\n"
    "          control character: the protocol version, 01 00) or else in\n"
    "          its JSON form\n"
    "-o OUT    writes the result to OUT instead of standard output\n"
    "--binary  writes the result as one binary payload (base-128 counts, no\n"
    "          checksums); not to a terminal\n"
    "PROGRAM or STORE may be - for standard input, not both.\n\n"
    "The transforms run in the order of the text: copy, constant, map,\n"
    "zipWith, filter, reduce, scan and block (comments are skipped); any other\n"
    "operator refuses the program before it starts. Functions are the\n"
    "built-ins (qel functions). Every output key is written once.\n"
    "A refusal prints FILE[:LINE]: error CODE: message, then where it\n"
    "happened, and exits with code 1 without writing anything.\n";

TStringCore Utf16(std::string const& utf8) {
    return TStringCore::fromUtf8(utf8.data(), static_cast<int>(utf8.size()));
}

std::string Trimmed(std::string const& text) {
    auto const first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// The physical line `number` (1-based) of `text`, without its line end.
std::string LineOf(std::string const& text, int number) {
    std::istringstream lines(text);
    std::string line;
    for (int i = 0; i < number && std::getline(lines, line); ++i) {
    }
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

// The whole report of a refusal, for CommandFailure. The details are left
// out when they only repeat the offending line, as a parser's do. The
// context's lines (the transforms around the failing one, inner first) come
// before the library's source, which stays in parentheses as the other
// commands print it.
std::string Report(std::string const& file, QelException const& e, int line = 0,
                   std::string const& text = {}) {
    std::string const lineText = line > 0 ? LineOf(text, line) : std::string();
    std::ostringstream report;
    report << file;
    if (line > 0)
        report << ':' << line;
    // Some messages of the catalogue end in ": " for the details to follow.
    std::string message = ErrorToString(e.GetError()).toStdString();
    message.erase(message.find_last_not_of(": ") + 1);
    report << ": error " << static_cast<unsigned>(e.GetError()) << ": " << message;
    std::string details = e.GetRawDetails().toStdString();
    if (!details.empty() && (line == 0 || Trimmed(details) != Trimmed(lineText))) {
        std::replace(details.begin(), details.end(), '\n', ' ');
        report << ": " << details;
    }
    if (line > 0)
        report << "\n  " << line << " | " << lineText;
    std::istringstream context(e.GetContext().toStdString());
    std::vector<std::string> sources;
    for (std::string each; std::getline(context, each);) {
        if (each.rfind("Source: ", 0) == 0)
            sources.push_back(each);
        else if (!each.empty())
            report << "\n  " << each;
    }
    for (std::string const& source : sources)
        report << "\n  (" << source << ')';
    return report.str();
}

// The marker counts at the start of a line only, as `qel vtl` reads it, so
// that a VTL text quoting it is not taken for a payload.
bool IsPayload(TStringCore const& text) {
    TStringCore const marker(u"(graph)");
    for (int at = text.indexOf(marker); at >= 0; at = text.indexOf(marker, at + 1)) {
        if (at == 0 || text[at - 1] == u'\n')
            return true;
    }
    return false;
}

std::vector<TransformSpec> ReadProgram(std::string const& path) {
    std::string const text = ReadAll(path);
    TStringCore const utf16 = Utf16(text);
    int line = 0;
    try {
        if (!IsPayload(utf16))
            return ParseVtlList(utf16, false, &line);
        std::vector<TransformSpec> transforms;
        std::vector<GraphEdge> edges;
        boost::unordered_set<KeyPath> updatableKeys;
        ParseVtlPayload(utf16, transforms, edges, updatableKeys, &line);
        return transforms;
    } catch (QelException const& e) {
        throw CommandFailure(Report(path, e, line, text));
    }
}

// A binary payload begins with the protocol version, 16 bits little-endian,
// so with a control character (01 for version 1), and JSON text cannot:
// it begins with a blank or a printable character. The version is left to
// the binary reader, which refuses another one by name. Everything else
// goes to the JSON reader, which refuses what is not a store.
bool IsBinaryPayload(std::string const& bytes) {
    if (bytes.empty())
        return false;
    auto const first = static_cast<unsigned char>(bytes[0]);
    return first < 0x20 && first != ' ' && first != '\t' && first != '\n' && first != '\r';
}

std::shared_ptr<DataStore> ReadStore(std::string const& path) {
    std::string const bytes = ReadAll(path);
    try {
        if (!IsBinaryPayload(bytes))
            return StoreValueParser::MakeDataStore(Utf16(bytes));
        // The arrays are read in place: the buffer lives as long as they do.
        BinaryProtocolReader reader(
            MakeSharedArrayBuffer(std::vector<unsigned char>(bytes.begin(), bytes.end())));
        return StoreValueParser::MakeDataStore(reader);
    } catch (QelException const& e) {
        throw CommandFailure(Report(path, e));
    }
}

std::string Serialize(IDataStore const& store, bool binary) {
    if (binary) {
        BinaryProtocolCreator creator(true, false);
        SerializeDataStore(creator, store);
        std::vector<unsigned char> const payload = creator.FinalizePayload();
        return std::string(payload.begin(), payload.end());
    }
    JsonOptions options;
    options.serializerType = JsonSerializerType::Readable;
    std::string text = SerializeDataStore(store, options).toStdString();
    if (text.empty() || text.back() != '\n')
        text += '\n';
    return text;
}

struct Arguments {
    std::string program;
    std::string store;
    std::optional<std::string> output;
    bool binary = false;
};

Arguments ParseArguments(std::vector<std::string> const& args) {
    Arguments parsed;
    std::vector<std::string> files;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string const& arg = args[i];
        if (arg == "-o") {
            if (i + 1 == args.size())
                throw UsageError("-o needs a file");
            if (parsed.output)
                throw UsageError("-o given twice");
            parsed.output = args[++i];
        } else if (arg == "--binary") {
            parsed.binary = true;
        } else if (arg.size() > 1 && arg[0] == '-') {
            throw UsageError("unknown option '" + arg + "'");
        } else {
            files.push_back(arg);
        }
    }
    if (files.size() != 2)
        throw UsageError("'run' takes a PROGRAM and a STORE");
    if (files[0] == "-" && files[1] == "-")
        throw UsageError("PROGRAM and STORE cannot both be standard input");
    parsed.program = files[0];
    parsed.store = files[1];
    return parsed;
}

int Run(std::vector<std::string> const& args, std::ostream& out) {
    if (args.size() == 1 && (args[0] == "--help" || args[0] == "-h")) {
        out << kUsage;
        return 0;
    }
    Arguments const arguments = ParseArguments(args);
    bool const toStandardOutput = !arguments.output || *arguments.output == "-";
    if (arguments.binary && toStandardOutput && &out == &std::cout && isatty(STDOUT_FILENO))
        throw UsageError("--binary writes bytes: give -o OUT, or redirect standard output");

    RegisterCollatorPool();
    std::unique_ptr<FunctionRegistry> const registry = FunctionRegistry::Make();
    RegisterAllBuiltinFunctions(*registry);

    std::vector<TransformSpec> const program = ReadProgram(arguments.program);
    std::shared_ptr<DataStore> const store = ReadStore(arguments.store);
    try {
        executor::RunProgram(program, *store, *registry);
    } catch (QelException const& e) {
        throw CommandFailure(Report(arguments.program, e));
    }
    std::string result;
    try {
        result = Serialize(*store, arguments.binary);
    } catch (QelException const& e) {
        throw CommandFailure(Report("the resulting store", e));
    }

    if (toStandardOutput) {
        out << result;
        return 0;
    }
    std::ofstream file(*arguments.output, std::ios::binary | std::ios::trunc);
    file << result;
    file.close();
    if (!file)
        throw CommandFailure("cannot write '" + *arguments.output + "'");
    return 0;
}

}  // namespace

Command MakeRunCommand() {
    Command command;
    command.name = "run";
    command.summary = "run a VTL program over a data store, print the resulting store";
    command.usage = kUsage;
    command.run = Run;
    return command;
}

}  // namespace qel::tools
