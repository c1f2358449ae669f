#pragma once

#include <pybind11/pybind11.h>

namespace ptmatch::python {

/// From here on, exceptions of the library arrive in Python as those of `ptmatch.errors`, with
/// their messages.
void translateErrors();

}  // namespace ptmatch::python
