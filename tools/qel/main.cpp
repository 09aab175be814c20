#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "tools/qel/CommandLine.h"

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    try {
        return qel::tools::RunCommandLine(args, std::cout, std::cerr);
    } catch (std::exception const& e) {
        std::cerr << "qel: " << e.what() << '\n';
        return 1;
    }
}
