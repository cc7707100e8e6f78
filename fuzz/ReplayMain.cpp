// Plays files through a fuzzer without libFuzzer: <fuzzer> <file or folder>...
//
// Every file is copied into a block of exactly its size, so that a read past its end is found by
// AddressSanitizer. What fails ends the process; the line before it names the file.
#include "fuzz/Fuzzer.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(fs::path const &path) {
    if (!fs::is_directory(path)) {
        return {path};
    }
    std::vector<fs::path> files;
    for (auto const &entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::ranges::sort(files);
    return files;
}

void replay(fs::path const &path) {
    std::fprintf(stderr, "%s\n", path.c_str());
    auto const size = static_cast<std::size_t>(fs::file_size(path));
    auto const bytes = std::make_unique<char[]>(size);
    if (!std::ifstream(path, std::ios::binary)
             .read(bytes.get(), static_cast<std::streamsize>(size))) {
        throw std::runtime_error("cannot read " + path.string());
    }
    LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const *>(bytes.get()), size);
}

} // namespace

int main(int argc, char **argv) {
    try {
        std::size_t count = 0;
        for (int i = 1; i < argc; ++i) {
            for (auto const &file : filesOf(argv[i])) {
                replay(file);
                ++count;
            }
        }
        std::printf("%zu files replayed\n", count);
        return count > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (std::exception const &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}
