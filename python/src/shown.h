#pragma once

#include <pybind11/pybind11.h>

#include <string>

#include "casters.h"

namespace ptmatch::python {

/// The value as Python shows it.
template <class T>
std::string shown(const T& value) {
    return pybind11::cast<std::string>(pybind11::repr(pybind11::cast(value)));
}

}  // namespace ptmatch::python
