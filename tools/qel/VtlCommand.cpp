// `qel vtl check FILE...` and `qel vtl fmt FILE [--in-place]`: what a VTL
// author runs before handing a text to a host. `-` reads standard input.
// A refused text prints, as compilers do, "FILE:LINE: error CODE: message",
// the offending line and the library's source context, with exit code 1; a
// refusal that concerns no line (a missing payload marker) has no LINE.

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
    "        marker) and prints \"ok\" or the refusal as FILE:LINE: error\n"
    "        CODE: message, the offending line and the library's source;\n"
    "        exit code 1 if any was refused\n"
    "fmt     prints the canonical text of FILE (the writer's form, with the\n"
    "        updatable keys of a payload sorted), or with --in-place rewrites\n"
    "        FILE with it; refuses (exit code 1) a text that the canonical\n"
    "        form would change\n"
    "FILE may be - for standard input.\n";

TStringCore Utf16(std::string const& utf8) {
    return TStringCore::fromUtf8(utf8.data(), static_cast<int>(utf8.size()));
}

// The payload as MakeVtlPayload writes it, but with the key lines sorted by
// their text: the library keeps the set's iteration order, which depends on
// the order the keys were inserted in, so formatting twice would not give
// the same text.
TStringCore CanonicalPayload(std::vector<TransformSpec> const& transforms,
                             std::vector<GraphEdge> const& edges,
                             boost::unordered_set<KeyPath> const& updatableKeys) {
    KeyPathSerializerCache cache;
    std::vector<TStringCore> keys;
    for (KeyPath const& key : updatableKeys)
        keys.push_back(KeyPathSerializer::FromKeyPath(key, false, &cache));
    std::sort(keys.begin(), keys.end(),
              [](TStringCore const& x, TStringCore const& y) { return x.view() < y.view(); });
    TStringCore out(u"(graph)\n");
    out += VtlPayloadUtils::SerializeGraph(edges, &cache);
    out += TStringCore(u"(updatable-keys)\n");
    for (TStringCore const& key : keys) {
        out += key;
        out += u'\n';
    }
    out += TStringCore(u"(vtl)\n");
    out += TransformsToPayloadString(transforms, &cache);
    return out;
}

// A text with the "(graph)" marker is a whole payload; anything else is a
// VTL text. Both come back in their canonical form.
struct Document {
    bool payload = false;
    std::vector<TransformSpec> transforms;
    std::vector<GraphEdge> edges;
    boost::unordered_set<KeyPath> updatableKeys;

    TStringCore Canonical() const {
        return payload ? CanonicalPayload(transforms, edges, updatableKeys)
                       : TransformsToString(transforms, true, nullptr);
    }
};

// A refusal and the physical line it points at (0 for none), with the text
// it was read from, so that the line can be shown.
struct Refusal {
    QelException error;
    int line = 0;
    std::string text;
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

Document Parse(TStringCore const& text, int* refusedLine = nullptr) {
    Document document;
    document.payload = IsPayload(text);
    if (document.payload) {
        ParseVtlPayload(text, document.transforms, document.edges, document.updatableKeys,
                        refusedLine);
    } else {
        document.transforms = ParseVtlList(text, true, refusedLine);
    }
    return document;
}

// The document in `path`; a refusal comes back as a Refusal that knows its
// line.
Document Read(std::string const& path) {
    std::string text = ReadAll(path);
    int line = 0;
    try {
        return Parse(Utf16(text), &line);
    } catch (QelException const& e) {
        throw Refusal{e, line, std::move(text)};
    }
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

// The physical line `number` (1-based) of `text`, without its line feed.
std::string LineOf(std::string const& text, int number) {
    std::size_t start = 0;
    for (int i = 1; i < number && start != std::string::npos; ++i) {
        start = text.find('\n', start);
        start = start == std::string::npos ? start : start + 1;
    }
    if (start == std::string::npos)
        return {};
    std::size_t const end = text.find('\n', start);
    std::string line = text.substr(start, end == std::string::npos ? end : end - start);
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return line;
}

std::string Trimmed(std::string const& text) {
    auto const first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

// "FILE:LINE: error CODE: message", then the offending line and where the
// library refused it. The details are left out when they are that line, as
// they are for most refusals; otherwise (an operator's name, a failed
// condition) they follow the message.
void PrintRefusal(std::ostream& out, std::string const& path, Refusal const& refusal) {
    QelException const& e = refusal.error;
    std::string const details = e.GetRawDetails().toStdString();
    out << path;
    if (refusal.line > 0)
        out << ':' << refusal.line;
    out << ": error " << static_cast<unsigned>(e.GetError()) << ": "
        << ErrorToString(e.GetError()).toStdString();
    std::string const line = refusal.line > 0 ? LineOf(refusal.text, refusal.line) : "";
    if (!details.empty() && (refusal.line == 0 || Trimmed(details) != Trimmed(line))) {
        std::string shown = details;
        std::replace(shown.begin(), shown.end(), '\n', ' ');
        out << ": " << shown;
    }
    out << '\n';
    if (refusal.line > 0)
        out << "  " << refusal.line << " | " << line << '\n';
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
        } catch (Refusal const& refusal) {
            PrintRefusal(out, path, refusal);
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
    } catch (Refusal const& refusal) {
        PrintRefusal(out, files[0], refusal);
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
    RegisterCollatorPool();
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
