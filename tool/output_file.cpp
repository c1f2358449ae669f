#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "foundation/attention.h"
#include "input_error.h"

namespace ptmatch::tool {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void failWrite(const std::string& path, const std::string& reason) {
    throw InputError(path + ": cannot be written: " + reason);
}

// A signal that only asked the work to stop leaves the call undone.
void checkInterruption() {
    if (errno == EINTR) rxAttention::check();
}

/// A file that is open for writing.
class OpenFile {
  public:
    OpenFile(const std::string& path, int flags) {
        constexpr mode_t kForAll = 0666;  // less what the user's mask takes away
        do {
            descriptor_ = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | flags, kForAll);
            if (descriptor_ < 0) checkInterruption();
        } while (descriptor_ < 0 && errno == EINTR);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() { close(); }

    bool isOpen() const { return descriptor_ >= 0; }

    // True when every byte arrived and the file could be closed; errno tells the reason otherwise.
    bool writeWhole(std::string_view text) {
        while (!text.empty()) {
            const ssize_t count = ::write(descriptor_, text.data(), text.size());
            if (count >= 0) {
                text.remove_prefix(static_cast<std::size_t>(count));
                continue;
            }
            checkInterruption();
            if (errno != EINTR) return false;
        }
        return close();
    }

  private:
    bool close() {
        if (descriptor_ < 0) return true;
        const int given = ::close(descriptor_);
        descriptor_ = -1;
        return given == 0 || errno == EINTR;
    }

    int descriptor_ = -1;
};

// Some links, those of open files, lead to a file and tell a name that it does not have any more.
bool leadsElsewhere(const std::string& path, const std::string& target) {
    std::error_code ignored;
    return fs::exists(path, ignored) && !fs::equivalent(path, target, ignored);
}

bool isNoRegularFile(const std::string& path) {
    std::error_code ignored;
    return fs::exists(path, ignored) && !fs::is_regular_file(path, ignored);
}

// Short, so that it has room beside the longest name, and not one that occurred before.
std::string unfinishedName(const std::string& target) {
    static std::atomic<unsigned> number{0};
    const std::string name =
        ".ptmatch-" + std::to_string(::getpid()) + "-" + std::to_string(number++) + ".tmp";
    return (fs::path(target).parent_path() / name).string();
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

void requireNoStandardStream(const std::string& path) {
    struct stat file = {};
    if (::stat(path.c_str(), &file) != 0 || !S_ISREG(file.st_mode)) return;
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
        struct stat stream = {};
        if (::fstat(descriptor, &stream) != 0) continue;
        if (stream.st_dev != file.st_dev || stream.st_ino != file.st_ino) continue;
        failWrite(path, descriptor == STDOUT_FILENO ? "standard output goes to this file"
                                                    : "standard error goes to this file");
    }
}

PreparedFile::PreparedFile(const std::string& path, std::string_view text) : path_(path) {
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) failWrite(path, "it is a directory");
    requireNoStandardStream(path);
    // Renaming onto a link would put a file in its place, even in that of /dev/stdout.
    if (!isNoRegularFile(path)) target_ = fileBehindLinks(path);
    if (target_.empty() || leadsElsewhere(path, target_)) {
        writeAtOnce_(text);
    } else {
        writeBeside_(text);
    }
}

void PreparedFile::writeAtOnce_(std::string_view text) {
    OpenFile file(path_, O_TRUNC);
    if (!file.isOpen() || !file.writeWhole(text)) failWrite(path_, std::strerror(errno));
}

// The name is given to signal handlers before there is a file. Nobody else's file is written to,
// whoever has put it there, also as a link.
void PreparedFile::writeBeside_(std::string_view text) {
    tidyUpOnSignals();
    int reason = 0;
    do {
        unfinished_.emplace(unfinishedName(target_));
        OpenFile file(unfinished_->path(), O_CREAT | O_EXCL | O_NOFOLLOW);
        if (file.isOpen()) {
            unfinished_->stopIfEnding();
            if (!file.writeWhole(text)) failWrite(path_, std::strerror(errno));
            return;
        }
        reason = errno;  // what follows may change it
        unfinished_->release();
    } while (reason == EEXIST);
    failWrite(path_, std::strerror(reason));
}

void PreparedFile::commit() {
    if (!unfinished_) return;
    std::error_code error;
    fs::rename(unfinished_->path(), target_, error);
    if (error) {
        unfinished_->stopIfEnding();  // somebody else may have removed it
        failWrite(path_, error.message());
    }
    unfinished_->release();
    unfinished_.reset();
}

}  // namespace ptmatch::tool
