#include "bindings.h"

namespace py = pybind11;

namespace ptmatch::python {

void bindAdditions(py::module_&) {}

}  // namespace ptmatch::python
