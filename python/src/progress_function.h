#pragma once

#include <pybind11/pybind11.h>

#include <memory>

namespace ptmatch::python {

/// A function of Python that is told the share of a run that is done. Copies share it, so that a
/// run, which has no hold of the interpreter, may copy it and drop copies; whoever drops the last
/// one has to hold the interpreter.
class ProgressFunction {
  public:
    /// @param function  callable with a number.   @throws pybind11::type_error: not callable.
    explicit ProgressFunction(const pybind11::object& function);

    /// Takes the interpreter for the call. What the function raises is thrown.
    void operator()(double fraction) const;

    /// The function itself.
    const pybind11::object& function() const { return *function_; }

  private:
    std::shared_ptr<const pybind11::object> function_;
};

}  // namespace ptmatch::python
