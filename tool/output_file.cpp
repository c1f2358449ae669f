#include "output_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "input_error.h"

namespace ptmatch::tool {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void failWrite(const std::string& path, const std::string& reason) {
    throw InputError(path + ": cannot be written: " + reason);
}

// True when every byte arrived and the file could be closed; errno tells the reason otherwise.
bool writeBytes(const std::string& path, std::string_view text) {
    errno = 0;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    return !file.fail();
}

}  // namespace

PreparedFile::PreparedFile(const std::string& path, std::string_view text) : path_(path) {
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) failWrite(path, "it is a directory");
    if (fs::exists(path, ignored) && !fs::is_regular_file(path, ignored)) {
        if (!writeBytes(path, text)) failWrite(path, std::strerror(errno));
        return;
    }
    const std::string unfinished = path + "." + std::to_string(::getpid()) + ".tmp";
    if (!writeBytes(unfinished, text)) {
        const std::string reason = std::strerror(errno);
        fs::remove(unfinished, ignored);
        failWrite(path, reason);
    }
    unfinished_ = unfinished;
}

PreparedFile::~PreparedFile() {
    std::error_code ignored;
    if (!unfinished_.empty()) fs::remove(unfinished_, ignored);
}

void PreparedFile::commit() {
    if (unfinished_.empty()) return;
    std::error_code error;
    fs::rename(unfinished_, path_, error);
    if (error) failWrite(path_, error.message());
    unfinished_.clear();
}

}  // namespace ptmatch::tool
