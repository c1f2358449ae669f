#include <string>

#include "arrays.h"
#include "bindings.h"
#include "persistence.h"
#include "ptmatch/ptgdmap.h"
#include "run_into.h"
#include "shown.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

using Params = rxPtToGridMapRunParams;
using Result = rxPtToGridMapResult;

void bindParams(py::module_& m) {
    py::class_<Params> params(
        m, "rxPtToGridMapRunParams",
        "What is known of a regular grid before points are mapped onto it. The setters store what "
        "they are given; the mapping checks it. Lengths are in the units of the points.");
    const Params plain;
    params.def(py::init<const rxVector<2>&, const rxVector<2>&, bool, double, const rxRange&,
                        const rxAngleRange&>(),
               py::arg("xv") = plain.xv(), py::arg("yv") = plain.yv(), py::arg("staggered") = false,
               py::arg("snapSize") = 0.0, py::arg("sizeTol") = plain.sizeTol(),
               py::arg("angleTol") = plain.angleTol(),
               "What is left out is not known, or takes its default in the mapping.");

    const auto property = [&params](const char* name, auto getter, auto setter, const char* doc) {
        params.def(name, getter, doc);
        params.def(name, setter, py::arg("value"));
    };
    property("xv", py::overload_cast<>(&Params::xv, py::const_),
             py::overload_cast<const rxVector<2>&>(&Params::xv),
             "The step from position (i, j) to (i + 1, j); (0, 0): not known, and the points lie "
             "in one column.");
    property("yv", py::overload_cast<>(&Params::yv, py::const_),
             py::overload_cast<const rxVector<2>&>(&Params::yv),
             "The step from position (i, j) to (i, j + 1); (0, 0): not known.");
    property("staggered", py::overload_cast<>(&Params::staggered, py::const_),
             py::overload_cast<bool>(&Params::staggered),
             "Whether only positions with an even i + j carry a point, as on a checkerboard.");
    property("snapSize", py::overload_cast<>(&Params::snapSize, py::const_),
             py::overload_cast<double>(&Params::snapSize),
             "Largest distance between a point and its node; 0 or less: 0.2 times the shorter "
             "step (of a staggered grid, the shorter diagonal step).");
    property("sizeTol", py::overload_cast<>(&Params::sizeTol, py::const_),
             py::overload_cast<const rxRange&>(&Params::sizeTol),
             "Allowed ratio between the distance of two neighbours and the step; empty: 0.8 to "
             "1.2.");
    property("angleTol", py::overload_cast<>(&Params::angleTol, py::const_),
             py::overload_cast<const rxAngleRange&>(&Params::angleTol),
             "Allowed rotation of the grid against the directions of the steps; empty: -20 to +20 "
             "degrees.");
    params.def("__repr__", [](const Params& p) {
        return "<rxPtToGridMapRunParams: xv " + shown(p.xv()) + ", yv " + shown(p.yv()) +
               ", staggered " + shown(p.staggered()) + ", snapSize " + shown(p.snapSize()) +
               ", sizeTol " + shown(p.sizeTol()) + ", angleTol " + shown(p.angleTol()) + ">";
    });
    addPersistence(params);
}

void bindResult(py::module_& m) {
    py::class_<Result> result(m, "rxPtToGridMapResult", "What rfPtToGridMap found.");
    result.def(py::init<>(), "Not valid, the identity, an empty map, time 0.");
    result.attr("kUnassigned") = Result::kUnassigned;
    result.def("valid", &Result::valid,
               "Whether at least 3 points were assigned. Only then was grid2point fitted.");
    result.def("time", &Result::time, "Seconds that the mapping took.");
    result.def("grid2point", &Result::grid2point,
               "The least-squares rxXform from grid positions to points.");
    result.def(
        "map", [](const Result& r) { return arrayOf(r.map()); },
        "int64 of shape (n, 2): the grid position (i, j) of each point, both kUnassigned for "
        "none. Two points within the snap distance of one node both have its position.");
    result.def("__repr__", [](const Result& r) {
        return std::string("<rxPtToGridMapResult, ") + (r.valid() ? "valid" : "not valid") +
               ", of " + std::to_string(r.map().size()) + " points>";
    });
    addPersistence(result);
}

long mapPoints(const py::object& points, const Params& params, Result& result) {
    const std::vector<rxVector<2>> own = points2(points, "points");
    const Params fixed = params;
    long numAssigned = 0;
    runInto(result, [&](Result& found) { numAssigned = rfPtToGridMap(own, fixed, found); });
    return numAssigned;
}

}  // namespace

void bindGridMap(py::module_& m) {
    bindParams(m);
    bindResult(m);
    m.def("rfPtToGridMap", &mapPoints, py::arg("points"), py::arg("params"), py::arg("result"),
          "Assigns points of shape (n, 2), in any order, with noise, gaps and clutter, to the "
          "nodes of a regular grid; the result receives what was found. Returns the number of "
          "points that received a position: 0 as well for steps that are null or parallel, or a "
          "staggered grid that lacks one. Which node becomes (0, 0) is up to the points. Other "
          "threads run meanwhile. Raises BadParams, FitError, MathError.");
}

}  // namespace ptmatch::python
