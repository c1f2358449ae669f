#include "process_end.h"

#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace ptmatch::tool {
namespace {

// A handler may come at any time, in any thread: it sees atomics that need no lock, and whoever
// takes a value out of its slot owns it. All of them are in one order, that of the language's
// default: who registers first and then finds that nothing ends was seen by whoever ends it later.
template <class Value, std::size_t kSize>
class Slots {
  public:
    static constexpr std::size_t kNone = kSize;

    std::size_t put(Value value) noexcept {
        for (std::size_t i = 0; i < kSize; ++i) {
            Value empty{};
            if (values_[i].compare_exchange_strong(empty, value)) return i;
        }
        return kNone;
    }
    Value take(std::size_t slot) noexcept {
        return slot < kSize ? values_[slot].exchange(Value{}) : Value{};
    }
    /// Unless somebody else has taken the slot meanwhile.
    void putBack(std::size_t slot, Value value) noexcept {
        Value empty{};
        values_[slot].compare_exchange_strong(empty, value);
    }
    static constexpr std::size_t size() { return kSize; }

  private:
    static_assert(std::atomic<Value>::is_always_lock_free);
    std::array<std::atomic<Value>, kSize> values_{};
};

constinit Slots<char*, 4096> unfinishedNames;
constinit Slots<pid_t, 1024> startedLeaders;
constinit std::atomic<bool> isEnding{false};
static_assert(std::atomic<bool>::is_always_lock_free);

}  // namespace

UnfinishedFile::UnfinishedFile(std::string path) : path_(std::move(path)), slot_(0) {
    // The handler needs a name that stays where it is, whatever becomes of the object.
    char* const name = ::strdup(path_.c_str());
    if (name == nullptr) throw std::bad_alloc();
    slot_ = unfinishedNames.put(name);
    if (slot_ == unfinishedNames.kNone) std::free(name);
}

UnfinishedFile::~UnfinishedFile() {
    if (isHeld_) ::unlink(path_.c_str());
    std::free(unfinishedNames.take(slot_));
}

void UnfinishedFile::release() {
    isHeld_ = false;
    std::free(unfinishedNames.take(slot_));
    slot_ = unfinishedNames.kNone;
}

void UnfinishedFile::stopIfEnding() {
    if (!isEnding) return;
    if (isHeld_) ::unlink(path_.c_str());
    // The thread that ends the process does so now; an error that is told meanwhile would be one
    // of the tidying up, and an exit code would replace the signal.
    for (;;) ::pause();
}

StartedProgram::StartedProgram(pid_t leader) : slot_(startedLeaders.put(leader)) {
    if (isEnding) ::kill(-leader, SIGKILL);  // perhaps it was too late for the handler
}

StartedProgram::~StartedProgram() {
    startedLeaders.take(slot_);
}

void tidyUp() noexcept {
    isEnding = true;
    for (std::size_t i = 0; i < unfinishedNames.size(); ++i) {
        char* const name = unfinishedNames.take(i);
        if (name == nullptr) continue;
        ::unlink(name);
        unfinishedNames.putBack(i, name);  // its object frees it, which is nothing for a handler
    }
    for (std::size_t i = 0; i < startedLeaders.size(); ++i) {
        if (const pid_t leader = startedLeaders.take(i)) ::kill(-leader, SIGKILL);
    }
}

void tidyUpOnSignals() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {};
        if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) continue;
        action = {};
        action.sa_handler = ptmatchEndBySignal;
        ::sigemptyset(&action.sa_mask);
        ::sigaction(signal, &action, nullptr);
    }
}

}  // namespace ptmatch::tool

extern "C" void ptmatchEndBySignal(int signal) {
    ptmatch::tool::tidyUp();
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
    ::raise(signal);  // waits until this handler returns
}
