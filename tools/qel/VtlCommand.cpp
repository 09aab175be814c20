// `qel vtl check FILE...` and `qel vtl fmt FILE [--in-place]`: what a VTL
// author runs before handing a text to a host. `-` reads standard input.
// A refused text prints the library's own message, its details (the offending
// line, for most refusals) and where it was refused, with exit code 1.

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <ostream>
#include <sstream>

#include <boost/unordered_set.hpp>

#include "qel/core/QelCore.h"
#include "tools/qel/CommandLine.h"

namespace qel::tools {

namespace {

using namespace qel::core;

constexpr char kUsage[] =
    "usage: qel vtl check FILE...\n"
    "       qel vtl fmt FILE [--in-place]\n\n"
    "check   reads each VTL text or payload (a text with the \"(graph)\"\n"
    "        marker) and prints \"ok\" or the refusal with its message,\n"
    "        details and source; exit code 1 if any was refused\n"
    "fmt     prints the canonical text of FILE (the writer's form), or with\n"
    "        --in-place rewrites FILE with it; refuses (exit code 1) a text\n"
    "        that the canonical form would change\n"
    "FILE may be - for standard input.\n";

std::string ReadAll(std::string const& path) {
    if (path == "-") {
        return std::string(std::istreambuf_iterator<char>(std::cin),
                           std::istreambuf_iterator<char>());
    }
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read '" + path + "'");
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TStringCore Utf16(std::string const& utf8) {
    return TStringCore::fromUtf8(utf8.data(), static_cast<int>(utf8.size()));
}

// A text with the "(graph)" marker is a whole payload; anything else is a
// VTL text. Both come back in their canonical form.
struct Document {
    bool payload = false;
    std::vector<TransformSpec> transforms;
    std::vector<GraphEdge> edges;
    boost::unordered_set<KeyPath> updatableKeys;

    TStringCore Canonical() const {
        return payload ? MakeVtlPayload(transforms, edges, updatableKeys)
                       : TransformsToString(transforms, true, nullptr);
    }
};

// The marker counts at the start of a line only, so that a VTL text quoting
// it is not taken for a payload.
bool IsPayload(TStringCore const& text) {
    TStringCore const marker(u"(graph)");
    for (int at = text.indexOf(marker); at >= 0; at = text.indexOf(marker, at + 1)) {
        if (at == 0 || text[at - 1] == u'\n')
            return true;
    }
    return false;
}

Document Parse(TStringCore const& text) {
    Document document;
    document.payload = IsPayload(text);
    if (document.payload) {
        ParseVtlPayload(text, document.transforms, document.edges, document.updatableKeys);
    } else {
        document.transforms = ParseVtlList(text, true);
    }
    return document;
}

Document Read(std::string const& path) {
    return Parse(Utf16(ReadAll(path)));
}

// What rewriting in the canonical form would change, or the empty text. Some
// texts read well but do not survive the writer (an all-digit name with
// leading zeros, a Real32 beyond 8 digits, an apostrophe in an indented
// comment, ...); a formatter must not change a program silently.
std::string CanonicalLoss(Document const& document, TStringCore const& canonical) {
    Document again;
    try {
        again = Parse(canonical);
    } catch (QelException const& e) {
        return std::string("the canonical text is refused: ") + e.what();
    }
    if (again.payload != document.payload)
        return "the canonical text reads as another kind of document";
    if (again.updatableKeys != document.updatableKeys)
        return "updatable keys";
    bool const sameEdges =
        std::equal(again.edges.begin(), again.edges.end(), document.edges.begin(),
                   document.edges.end(), [](GraphEdge const& x, GraphEdge const& y) {
                       return x.bufferType == y.bufferType && x.sourceId == y.sourceId &&
                              x.targetIds == y.targetIds && x.key == y.key;
                   });
    if (!sameEdges)
        return "graph";
    return FindTransformDifference(document.transforms, again.transforms).toStdString();
}

void PrintRefusal(std::ostream& out, std::string const& path, QelException const& e) {
    out << path << ": error " << static_cast<unsigned>(e.GetError()) << ": " << e.what() << '\n';
    if (!e.GetContext().isEmpty())
        out << "  (" << e.GetContext().toStdString() << ")\n";
}

int Check(std::vector<std::string> const& files, std::ostream& out) {
    if (files.empty())
        throw UsageError("'vtl check' needs at least one FILE");
    int status = 0;
    for (std::string const& path : files) {
        try {
            Document const document = Read(path);
            out << path << ": ok (" << (document.payload ? "payload, " : "")
                << document.transforms.size() << " transforms)\n";
        } catch (QelException const& e) {
            PrintRefusal(out, path, e);
            status = 1;
        }
    }
    return status;
}

int Format(std::vector<std::string> const& args, std::ostream& out) {
    bool inPlace = false;
    std::vector<std::string> files;
    for (std::string const& arg : args) {
        if (arg == "--in-place") {
            inPlace = true;
        } else {
            files.push_back(arg);
        }
    }
    if (files.size() != 1)
        throw UsageError("'vtl fmt' takes exactly one FILE");
    if (inPlace && files[0] == "-")
        throw UsageError("--in-place needs a file, not -");
    std::string text;
    try {
        Document const document = Read(files[0]);
        TStringCore const canonical = document.Canonical();
        std::string const loss = CanonicalLoss(document, canonical);
        if (!loss.empty()) {
            out << files[0] << ": error: the canonical form would change the program (" << loss
                << "); left as it is\n";
            return 1;
        }
        text = canonical.toStdString();
    } catch (QelException const& e) {
        PrintRefusal(out, files[0], e);
        return 1;
    }
    if (!inPlace) {
        out << text;
        return 0;
    }
    std::ofstream file(files[0], std::ios::binary | std::ios::trunc);
    file << text;
    if (!file)
        throw std::runtime_error("cannot write '" + files[0] + "'");
    return 0;
}

int RunVtl(std::vector<std::string> const& args, std::ostream& out) {
    if (args.empty())
        throw UsageError("'vtl' needs a subcommand: check or fmt");
    if (args[0] == "--help" || args[0] == "-h") {
        out << kUsage;
        return 0;
    }
    RegisterDefaultCollatorPool();
    std::vector<std::string> rest(args.begin() + 1, args.end());
    if (args[0] == "check")
        return Check(rest, out);
    if (args[0] == "fmt")
        return Format(rest, out);
    throw UsageError("unknown vtl subcommand '" + args[0] + "'");
}

}  // namespace

Command MakeVtlCommand() {
    Command command;
    command.name = "vtl";
    command.summary = "check VTL texts, or print them in canonical form";
    command.usage = kUsage;
    command.run = RunVtl;
    return command;
}

}  // namespace qel::tools
