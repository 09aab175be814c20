#pragma once

// The command table and argument handling of `qel`. Each subcommand is one
// entry with a name, a one-line summary, its usage text and a function. A
// command gets the arguments after its name; a usage error is a UsageError,
// which main reports with exit code 2, and a refusal of what the arguments
// ask for is a CommandFailure, reported with exit code 1.

#include <functional>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <vector>

namespace qel::tools {

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Printed as "qel COMMAND: what" on the error stream, without the usage text:
// the command line was well formed.
struct CommandFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Command {
    std::string name;
    std::string summary;
    std::string usage;  // full help text of the command
    std::function<int(std::vector<std::string> const& args, std::ostream& out)> run;
};

// Every command, in the order `qel --help` lists them.
std::vector<Command> const& Commands();

// Runs a whole command line; returns the process exit code: 0 on success, 1
// when the command failed on its input, 2 on a usage error.
int RunCommandLine(std::vector<std::string> const& args, std::ostream& out, std::ostream& err);

// Fails with a UsageError unless `args` is empty or a lone --help (which
// returns true: the caller prints its usage and stops).
bool ExpectNoArguments(Command const& command, std::vector<std::string> const& args);

// The whole of a file, or of standard input for "-"; a file that cannot be
// read is a CommandFailure.
std::string ReadAll(std::string const& path);

// Installs the collator pool every command compares strings with: ICU's real
// locales when the library was built with them, else the default pool.
void RegisterCollatorPool();

// The command entries, one per source file.
Command MakeDemoCommand();
Command MakeFunctionsCommand();
Command MakeRunCommand();
Command MakeStoreCommand();
Command MakeVtlCommand();

}  // namespace qel::tools
