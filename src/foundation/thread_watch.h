#pragma once

namespace ptmatch::detail {

/// Looks on at the work of one thread: rxAttention::check() asks it in that thread, besides the
/// handler, which belongs to the whole process.
class ThreadWatch {
  public:
    /// What it throws passes through rxAttention::check().
    virtual void look() = 0;

  protected:
    ThreadWatch() = default;
    ThreadWatch(const ThreadWatch&) = default;
    ThreadWatch& operator=(const ThreadWatch&) = default;
    ~ThreadWatch() = default;
};

/// Puts a watch, or null for none, in the place of this thread's, and returns the one it replaces.
/// It must live until it is replaced.
ThreadWatch* exchangeThreadWatch(ThreadWatch* watch) noexcept;

}  // namespace ptmatch::detail
