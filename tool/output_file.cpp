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

// Some links, those of open files, lead to a file and tell a name that it does not have any more.
bool leadsElsewhere(const std::string& path, const std::string& target) {
    std::error_code ignored;
    return fs::exists(path, ignored) && !fs::equivalent(path, target, ignored);
}

bool isNoRegularFile(const std::string& path) {
    std::error_code ignored;
    return fs::exists(path, ignored) && !fs::is_regular_file(path, ignored);
}

}  // namespace

std::string fileBehindLinks(const std::string& path) {
    constexpr int kMostLinks = 40;
    std::error_code error;
    fs::path target = path;
    for (int i = 0; fs::is_symlink(fs::symlink_status(target, error)); ++i) {
        if (i == kMostLinks) failWrite(path, "too many symbolic links");
        const fs::path next = fs::read_symlink(target, error);
        if (error) failWrite(path, error.message());
        target = target.parent_path() / next;  // an absolute one stands alone
    }
    return target.string();
}

PreparedFile::PreparedFile(const std::string& path, std::string_view text) : path_(path) {
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) failWrite(path, "it is a directory");
    // Renaming onto a link would put a file in its place, even in that of /dev/stdout.
    if (!isNoRegularFile(path)) target_ = fileBehindLinks(path);
    if (target_.empty() || leadsElsewhere(path, target_)) {
        if (!writeBytes(path, text)) failWrite(path, std::strerror(errno));
        return;
    }
    const std::string unfinished = target_ + "." + std::to_string(::getpid()) + ".tmp";
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
    fs::rename(unfinished_, target_, error);
    if (error) failWrite(path_, error.message());
    unfinished_.clear();
}

}  // namespace ptmatch::tool
