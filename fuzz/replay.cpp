// Runs a fuzzer on saved inputs: `replay NAME FILE_OR_FOLDER...`. So the suite repeats what was
// found, with every compiler and without a fuzzer.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <vector>

#include "fuzzers.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const fs::path& path) {
    std::vector<fs::path> files;
    if (fs::is_directory(path)) {
        for (const auto& entry : fs::directory_iterator(path)) files.push_back(entry.path());
        std::sort(files.begin(), files.end());
    } else {
        files.push_back(path);
    }
    return files;
}

bool replay(const ptmatch::fuzz::Fuzzer& fuzzer, const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) return false;
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    fuzzer.run(input);
    return true;
}

const ptmatch::fuzz::Fuzzer* fuzzerNamed(std::string_view name) {
    for (const auto& fuzzer : ptmatch::fuzz::fuzzers()) {
        if (fuzzer.name == name) return &fuzzer;
    }
    return nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    const auto* const fuzzer = argc > 1 ? fuzzerNamed(argv[1]) : nullptr;
    if (fuzzer == nullptr) {
        std::fprintf(stderr, "usage: %s FUZZER FILE_OR_FOLDER...\n", argv[0]);
        return 2;
    }
    std::size_t count = 0;
    for (int i = 2; i < argc; ++i) {
        for (const fs::path& file : filesOf(argv[i])) {
            if (!replay(*fuzzer, file)) {
                std::fprintf(stderr, "%s cannot be read\n", file.c_str());
                return 1;
            }
            ++count;
        }
    }
    std::printf("%zu inputs\n", count);
    return count > 0 ? 0 : 1;
}
