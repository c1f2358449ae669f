#pragma once

#include <pybind11/pybind11.h>

#include "casters.h"

/// The parts of the module, one for each group of headers. Those that others refer to come first.
namespace ptmatch::python {

void bindGeometry(pybind11::module_& m);
void bindImages(pybind11::module_& m);
void bindAttention(pybind11::module_& m);
void bindMatcher(pybind11::module_& m);
void bindGridMap(pybind11::module_& m);
void bindCorresponder(pybind11::module_& m);
void bindTransforms(pybind11::module_& m);
void bindPerspective(pybind11::module_& m);
void bindSpace(pybind11::module_& m);
void bindEquations(pybind11::module_& m);
void bindLeastSquares(pybind11::module_& m);
void bindAdditions(pybind11::module_& m);
void bindCertainty(pybind11::module_& m);
void bindVoteImage(pybind11::module_& m);

}  // namespace ptmatch::python
