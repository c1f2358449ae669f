#pragma once

#include <pybind11/pybind11.h>

#include <concepts>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/geometry_archive.h"
#include "foundation/memory_archive.h"

namespace ptmatch::python {

/// The record of a value, as `rxArchive` writes it.
template <class T>
pybind11::bytes recordOf(const T& value) {
    rxMemoryStoreArchive storing;
    // One expression serves both directions, so that it asks for a variable; storing changes
    // nothing.
    storing || const_cast<T&>(value);
    const std::vector<unsigned char>& stored = storing.stored();
    return pybind11::bytes(reinterpret_cast<const char*>(stored.data()), stored.size());
}

/// Loads the record over the value.
/// @throws rxArchive::Errors: it cannot be read, or something follows it; the value is to be
/// dropped.
template <class T>
void loadRecord(T& value, const pybind11::bytes& record) {
    const auto view = static_cast<std::string_view>(record);
    rxMemoryLoadArchive loading(
        std::span(reinterpret_cast<const unsigned char*>(view.data()), view.size()));
    loading || value;
    if (*loading.bytesLeft() != 0) {
        throw rxArchive::Errors(std::to_string(*loading.bytesLeft()) +
                                " bytes follow the record of this class");
    }
}

/// What the record of a value makes anew. Unlike a copy, an image then has pixels of its own.
template <class T>
T remade(const T& value) {
    T made;
    loadRecord(made, recordOf(value));
    return made;
}

/// Gives the class what everything persistent has: to_bytes, from_bytes, pickle, copy and ==.
/// Objects are equal as the class says, or, if it says nothing, when their records are.
template <class T, class... Options>
void addPersistence(pybind11::class_<T, Options...>& type) {
    namespace py = pybind11;
    const auto load = [](const py::bytes& record) {
        T value;
        loadRecord(value, record);
        return value;
    };
    type.def("to_bytes", &recordOf<T>, "The record of the object, as archives hold it.");
    type.def_static("from_bytes", load, py::arg("record"),
                    "The object of such a record. Raises ArchiveError for any other bytes.");
    type.def(py::pickle([](const T& value) { return recordOf(value); }, load));
    type.def("__copy__", [](const T& value) { return T(value); });
    type.def(
        "__deepcopy__", [](const T& value, const py::dict&) { return T(value); }, py::arg("memo"));
    type.def(
        "__eq__",
        [](const T& a, const T& b) {
            if constexpr (std::equality_comparable<T>) {
                return a == b;
            } else {
                return recordOf(a).equal(recordOf(b));
            }
        },
        py::is_operator(), py::arg("other"));
}

}  // namespace ptmatch::python
