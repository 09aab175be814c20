// Replays fuzz inputs without libFuzzer: every file named on the command line,
// or every file of a directory named there. Ordinary builds link the fuzz
// targets with this, so they compile on every build and the seed corpus runs
// as a test.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace {

void Replay(std::filesystem::path const& file) {
    std::ifstream in(file, std::ios::binary);
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path path(argv[i]);
        if (std::filesystem::is_directory(path)) {
            for (auto const& entry : std::filesystem::directory_iterator(path)) {
                Replay(entry.path());
                ++count;
            }
        } else {
            Replay(path);
            ++count;
        }
    }
    std::cout << "replayed " << count << " inputs\n";
    return count > 0 ? 0 : 1;
}
