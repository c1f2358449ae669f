#include "input_file.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

#include "input_error.h"

namespace ptmatch::tool {

std::string readInputFile(const std::string& path, const std::string& expected) {
    constexpr std::size_t kLargestFile = std::size_t{256} << 20;
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored)) {
        throw InputError(path + ": is a directory, expected " + expected);
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) throw InputError(path + ": cannot be opened: " + std::strerror(errno));
    std::string text;
    std::vector<char> block(std::size_t{1} << 16);
    while (file.read(block.data(), static_cast<std::streamsize>(block.size())) ||
           file.gcount() > 0) {
        text.append(block.data(), static_cast<std::size_t>(file.gcount()));
        if (text.size() > kLargestFile) throw InputError(path + ": is larger than 256 MiB");
    }
    if (file.bad()) throw InputError(path + ": cannot be read to its end");
    return text;
}

}  // namespace ptmatch::tool
