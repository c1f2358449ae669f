#include "bindings.h"

namespace py = pybind11;

namespace ptmatch::python {

void bindCorresponder(py::module_&) {}

}  // namespace ptmatch::python
