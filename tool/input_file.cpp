#include "input_file.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

#include "input_error.h"

namespace ptmatch::tool {

std::string readInputFile(const std::string& path, const std::string& expected) {
    constexpr const char* kTooLarge = ": is larger than 256 MiB";
    namespace fs = std::filesystem;
    std::error_code error;
    if (fs::is_directory(path, error)) {
        throw InputError(path + ": is a directory, expected " + expected);
    }
    // Most files tell their size, which spares the time and the memory; some of /proc say 0.
    if (fs::is_regular_file(path, error)) {
        const std::uintmax_t size = fs::file_size(path, error);
        if (!error && size > kLargestInput) throw InputError(path + kTooLarge);
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) throw InputError(path + ": cannot be opened: " + std::strerror(errno));
    std::string text;
    std::vector<char> block(std::size_t{1} << 16);
    while (file.read(block.data(), static_cast<std::streamsize>(block.size())) ||
           file.gcount() > 0) {
        text.append(block.data(), static_cast<std::size_t>(file.gcount()));
        if (text.size() > kLargestInput) throw InputError(path + kTooLarge);
    }
    if (file.bad()) throw InputError(path + ": cannot be read to its end");
    return text;
}

}  // namespace ptmatch::tool
