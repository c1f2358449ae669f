#pragma once

#include <memory>
#include <utility>

namespace ptmatch::python {

/// What stands behind a class of Python that is trained and run. Runs give the interpreter away,
/// and another thread may train the same object meanwhile: a training therefore makes a new value
/// and leaves the old one to the runs that are in it.
template <class Trained>
class Shared {
  public:
    Shared() : value_(std::make_shared<const Trained>()) {}
    explicit Shared(std::shared_ptr<const Trained> value) : value_(std::move(value)) {}

    /// What is trained now. Keep it as long as it is in use; it does not change.
    std::shared_ptr<const Trained> now() const { return value_; }
    const Trained& operator*() const { return *value_; }
    const Trained* operator->() const { return value_.get(); }

    void replace(std::shared_ptr<const Trained> value) { value_ = std::move(value); }

  private:
    std::shared_ptr<const Trained> value_;  // never null
};

}  // namespace ptmatch::python
