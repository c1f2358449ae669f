#pragma once

#include <pybind11/pybind11.h>

namespace ptmatch::python {

/// Mends what all classes of the module inherit: an object that was made without its constructor
/// (`Class.__new__(Class)`, or a damaged pickle) is refused by every function with TypeError, and
/// pickling works in all protocols, of which 0 and 1 would end the process. Call it last.
void finishClasses(const pybind11::module_& m);

}  // namespace ptmatch::python
