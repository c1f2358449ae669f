#pragma once

namespace ptmatch::tool {

/// While it lives, every search of the process that looks for interruption ends once so many
/// seconds have passed, by rxAttention::Interrupted; for the calls that take no limit of their own.
/// One at a time per process.
class SearchDeadline {
  public:
    explicit SearchDeadline(double seconds);
    ~SearchDeadline();
    SearchDeadline(const SearchDeadline&) = delete;
    SearchDeadline& operator=(const SearchDeadline&) = delete;

  private:
    bool (*previous_)() = nullptr;
};

}  // namespace ptmatch::tool
