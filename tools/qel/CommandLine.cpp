#include "tools/qel/CommandLine.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <ostream>

#include "qel/core/store/Collation.h"
#ifdef QEL_WITH_ICU
#include "qel/core/store/IcuCollatorPool.h"
#endif

namespace qel::tools {

namespace {

void PrintUsage(std::ostream& out) {
    out << "usage: qel <command> [arguments]\n"
           "       qel <command> --help\n\n"
           "commands:\n";
    for (Command const& command : Commands()) {
        out << "  " << command.name
            << std::string(12 - std::min<size_t>(11, command.name.size()), ' ') << command.summary
            << '\n';
    }
}

}  // namespace

std::vector<Command> const& Commands() {
    static std::vector<Command> const commands = {MakeDemoCommand(), MakeFunctionsCommand(),
                                                  MakeRunCommand(), MakeStoreCommand(),
                                                  MakeVtlCommand()};
    return commands;
}

bool ExpectNoArguments(Command const& command, std::vector<std::string> const& args) {
    if (args.size() == 1 && (args[0] == "--help" || args[0] == "-h"))
        return true;
    if (!args.empty()) {
        throw UsageError("'" + command.name + "' takes no argument; unexpected '" + args[0] + "'");
    }
    return false;
}

void RegisterCollatorPool() {
#ifdef QEL_WITH_ICU
    core::RegisterIcuCollatorPool();
#else
    core::RegisterDefaultCollatorPool();
#endif
}

int RunCommandLine(std::vector<std::string> const& args, std::ostream& out, std::ostream& err) {
    if (args.empty()) {
        PrintUsage(err);
        return 2;
    }
    if (args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
        PrintUsage(out);
        return 0;
    }
    for (Command const& command : Commands()) {
        if (command.name != args[0])
            continue;
        std::vector<std::string> rest(args.begin() + 1, args.end());
        try {
            return command.run(rest, out);
        } catch (UsageError const& e) {
            err << "qel " << command.name << ": " << e.what() << "\n\n" << command.usage;
            return 2;
        } catch (CommandFailure const& e) {
            err << "qel " << command.name << ": " << e.what() << '\n';
            return 1;
        }
    }
    err << "qel: unknown command '" << args[0] << "'\n\n";
    PrintUsage(err);
    return 2;
}

std::string ReadAll(std::string const& path) {
    if (path == "-") {
        return std::string(std::istreambuf_iterator<char>(std::cin),
                           std::istreambuf_iterator<char>());
    }
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw CommandFailure("cannot read '" + path + "'");
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace qel::tools
