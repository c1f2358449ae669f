#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

// What must not outlive a process that a signal ends: files that are not whole, programs that it
// started.
namespace ptmatch::tool {

/// The name of a file that is being written beside its target. The file goes with the object unless
/// it was released, and with the process when one of the signals of tidyUpOnSignals() ends it.
/// Any number of threads; beyond 4096 at a time a signal leaves the others.
class UnfinishedFile {
  public:
    /// Takes the name; there need not be a file yet.
    /// @throws std::bad_alloc
    explicit UnfinishedFile(std::string path);
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile();

    const std::string& path() const { return path_; }
    /// The file got its place, or was never made: from now on nobody removes what has this name.
    void release();
    /// To be called when the file was made, or is not there any more: while the process is tidied
    /// up, a thread may make it after its name was removed. Then removes it and waits for the end
    /// of the process.
    void stopIfEnding();

  private:
    std::string path_;
    std::size_t slot_;  // where the name stands for the handlers
    bool isHeld_ = true;
};

/// A program that was started as the leader of a group of its own and goes, with its group, when
/// the process is ended by one of the signals of tidyUpOnSignals().
class StartedProgram {
  public:
    explicit StartedProgram(pid_t leader);
    StartedProgram(const StartedProgram&) = delete;
    StartedProgram& operator=(const StartedProgram&) = delete;
    ~StartedProgram();

  private:
    std::size_t slot_;
};

/// Removes all unfinished files and ends all started programs. For handlers of signals, and before
/// the process ends without unwinding, which must follow at once: other threads that make files
/// from now on remove them and wait for the end, see UnfinishedFile::stopIfEnding(). A program that
/// another thread has started and not yet registered may stay when the process ends first.
void tidyUp() noexcept;

/// From now on SIGINT, SIGTERM and SIGHUP tidy up before they end the process as they would have.
/// A signal that is ignored, or has a handler, stays as it is. To be called before there is
/// something to tidy up, as often as one likes.
void tidyUpOnSignals();

}  // namespace ptmatch::tool

/// The handler that tidies up and ends the process by the signal it was called for.
extern "C" void ptmatchEndBySignal(int signal);
