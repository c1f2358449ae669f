#include "bindings.h"
#include "foundation/attention.h"

namespace py = pybind11;

namespace ptmatch::python {

void bindAttention(py::module_& m) {
    py::class_<rxAttention>(m, "rxAttention",
                            "Asks the searches of this process to stop: each raises Interrupted "
                            "at its next look. Exhaustive searches never look.")
        .def_static("check", &rxAttention::check, "Raises Interrupted when a request stands.")
        .def_static("request", &rxAttention::request,
                    "Asks every search to stop, until clear(). A search started meanwhile is "
                    "interrupted, too.")
        .def_static("clear", &rxAttention::clear, "Withdraws the request.")
        .def_static("isRequested", &rxAttention::isRequested, "Whether a request stands.");
}

}  // namespace ptmatch::python
