#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "process_end.h"

namespace ptmatch::tool {

/// What writing to `path` writes to: the end of its symbolic links, or the path itself. Only its
/// last part is looked at, and the file need not exist.
/// @throws InputError  the links lead nowhere.
std::string fileBehindLinks(const std::string& path);

/// A regular file that standard output or standard error goes to cannot be an output too: one would
/// destroy the other. A pipe or a device takes both.
/// @throws InputError  `path` is such a file.
void requireNoStandardStream(const std::string& path);

/// A text that is complete in the file system and not yet in its place: it is written beside the
/// target and renamed onto it by commit(). A reader never sees half of it, and an old file survives
/// until then. Without a commit nothing stays, nor after a signal, see tidyUpOnSignals(); only a
/// process that is killed leaves the file ".ptmatch-PID-N.tmp". It is not forced onto the disk:
/// after a failure of power, what the system keeps of it counts. A target that is no regular file
/// (a device, a pipe) is written to at once, for there is nothing to rename onto. A symbolic link
/// stays one: the file that it leads to is the target.
class PreparedFile {
  public:
    /// @throws InputError  "path: cannot be written: ...". Nothing is left behind.
    /// @throws rxAttention::Interrupted  asked for while a pipe was waited for.
    PreparedFile(const std::string& path, std::string_view text);
    PreparedFile(const PreparedFile&) = delete;
    PreparedFile& operator=(const PreparedFile&) = delete;

    /// Puts the text into its place; does nothing the second time.
    /// @throws InputError  as the constructor; the old file stays.
    void commit();

  private:
    void writeAtOnce_(std::string_view text);
    void writeBeside_(std::string_view text);

    std::string path_;                          // as messages name it
    std::string target_;                        // what is replaced
    std::optional<UnfinishedFile> unfinished_;  // what waits to be renamed
};

}  // namespace ptmatch::tool
