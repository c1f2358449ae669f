#include "bindings.h"

namespace py = pybind11;

namespace ptmatch::python {

void bindGridMap(py::module_&) {}

}  // namespace ptmatch::python
