#include "bindings.h"

namespace py = pybind11;

namespace ptmatch::python {

void bindEquations(py::module_&) {}

}  // namespace ptmatch::python
