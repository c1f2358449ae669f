#include "progress_function.h"

#include "long_call.h"

namespace py = pybind11;

namespace ptmatch::python {

ProgressFunction::ProgressFunction(const py::object& function)
    : function_(std::make_shared<const py::object>(function)) {
    if (PyCallable_Check(function.ptr()) == 0) {
        throw py::type_error("onProgress: expected a function or None");
    }
}

void ProgressFunction::operator()(double fraction) const {
    PyObject* function = function_->ptr();
    LongCall::withInterpreter([function, fraction] {
        PyObject* result = PyObject_CallFunction(function, "d", fraction);
        Py_XDECREF(result);
        return result != nullptr;
    });
}

}  // namespace ptmatch::python
