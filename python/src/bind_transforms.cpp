#include "bindings.h"

namespace py = pybind11;

namespace ptmatch::python {

void bindTransforms(py::module_&) {}

}  // namespace ptmatch::python
