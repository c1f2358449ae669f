#pragma once

#include <string>
#include <string_view>

namespace ptmatch::tool {

/// What writing to `path` writes to: the end of its symbolic links, or the path itself. Only its
/// last part is looked at, and the file need not exist.
/// @throws InputError  the links lead nowhere.
std::string fileBehindLinks(const std::string& path);

/// A text that is complete on the disk and not yet in its place: it is written beside the target
/// and renamed onto it by commit(). A reader never sees half of it, and an old file survives until
/// then. Without a commit nothing stays. A target that is no regular file (a device, a pipe) is
/// written to at once, for there is nothing to rename onto. A symbolic link stays one: the file
/// that it leads to is the target.
class PreparedFile {
  public:
    /// @throws InputError  "path: cannot be written: ...". Nothing is left behind.
    PreparedFile(const std::string& path, std::string_view text);
    PreparedFile(const PreparedFile&) = delete;
    PreparedFile& operator=(const PreparedFile&) = delete;
    ~PreparedFile();

    /// Puts the text into its place; does nothing the second time.
    /// @throws InputError  as the constructor; the old file stays.
    void commit();

  private:
    std::string path_;        // as messages name it
    std::string target_;      // what is replaced
    std::string unfinished_;  // empty: nothing waits to be renamed
};

}  // namespace ptmatch::tool
