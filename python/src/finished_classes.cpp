#include "finished_classes.h"

#include <algorithm>
#include <cstddef>

namespace py = pybind11;

namespace ptmatch::python {
namespace {

constexpr int kLowestProtocol = 2;

/// What the module would give room for, and read uninitialised.
void* refuseObjectWithoutConstruction(std::size_t) {
    throw py::type_error("an object of this class that was never initialised");
}

py::object reduce(const py::object& self, int protocol) {
    const auto object = py::module_::import("builtins").attr("object");
    return object.attr("__reduce_ex__")(self, std::max(protocol, kLowestProtocol));
}

void finishClassesIn(const py::handle& scope);

void finish(const py::handle& type) {
    auto* info = py::detail::get_type_info(reinterpret_cast<PyTypeObject*>(type.ptr()));
    if (info == nullptr) return;
    info->operator_new = &refuseObjectWithoutConstruction;
    type.attr("__reduce_ex__") =
        py::cpp_function(&reduce, py::is_method(type), py::name("__reduce_ex__"),
                         py::arg("protocol"), "Pickles as object does, with protocol 2 at least.");
    finishClassesIn(type);
}

void finishClassesIn(const py::handle& scope) {
    // A copy: the classes' own dictionaries are written to.
    const auto members = py::cast<py::dict>(py::dict(scope.attr("__dict__")));
    for (const auto& member : members) {
        if (PyType_Check(member.second.ptr()) != 0) finish(member.second);
    }
}

}  // namespace

void finishClasses(const py::module_& m) {
    finishClassesIn(m);
}

}  // namespace ptmatch::python
