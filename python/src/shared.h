#pragma once

#include <pybind11/pybind11.h>

#include <memory>
#include <utility>

#include "long_call.h"

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

/// Trains a fresh value while other Python threads run, and puts it in the place of the old one,
/// also after a failure: it then is what the library left.
template <class Trained, class Train>
void trainInstead(Shared<Trained>& self, std::shared_ptr<Trained> fresh, const Train& train) {
    try {
        const LongCall call;
        train(*fresh);
    } catch (...) {
        self.replace(std::move(fresh));
        throw;
    }
    self.replace(std::move(fresh));
}

/// Gives the class copies. What is trained never changes: they may share it.
template <class Trained>
void addCopies(pybind11::class_<Shared<Trained>>& type) {
    namespace py = pybind11;
    type.def("__copy__", [](const Shared<Trained>& self) { return Shared<Trained>(self); });
    type.def(
        "__deepcopy__",
        [](const Shared<Trained>& self, const py::dict&) { return Shared<Trained>(self); },
        py::arg("memo"));
}

}  // namespace ptmatch::python
