#pragma once

#include <memory>
#include <utility>

#include "ptmatch/ppmatch.h"

namespace ptmatch::python {

/// The rxPointMatcher of Python. Runs give the interpreter away, and another thread may train the
/// same object meanwhile: a training therefore makes a new matcher and leaves the old one to the
/// runs that are in it.
class SharedMatcher {
  public:
    SharedMatcher() : matcher_(std::make_shared<const rxPointMatcher>()) {}
    explicit SharedMatcher(std::shared_ptr<const rxPointMatcher> matcher)
        : matcher_(std::move(matcher)) {}

    /// What is trained now. Keep it as long as it is in use; it does not change.
    const std::shared_ptr<const rxPointMatcher>& now() const { return matcher_; }
    const rxPointMatcher& operator*() const { return *matcher_; }
    const rxPointMatcher* operator->() const { return matcher_.get(); }

    void replace(std::shared_ptr<const rxPointMatcher> matcher) { matcher_ = std::move(matcher); }

  private:
    std::shared_ptr<const rxPointMatcher> matcher_;  // never null
};

}  // namespace ptmatch::python
