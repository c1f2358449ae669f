#include <string>

#include "bindings.h"
#include "foundation/fitter.h"
#include "mapping.h"
#include "persistence.h"
#include "ptmatch/tm.h"
#include "shown.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

void bindFitter(py::module_& m) {
    using Fitter = rxLSPointToPointFitter;
    py::class_<Fitter>(m, "rxLSPointToPointFitter",
                       "Least-squares transform of the plane between corresponding points, from "
                       "running sums: give it pairs (p, q), and ask for the transform that takes "
                       "each q as close as possible to its p. No weights, no rejection of wrong "
                       "pairs. It does not pickle.")
        .def(py::init<>(), "No pairs.")
        .def(py::init([](const py::object& first, const py::object& second) {
                 return Fitter(points2(first, "first"), points2(second, "second"));
             }),
             py::arg("first"), py::arg("second"),
             "The pairs of two arrays of shape (n, 2). Raises FitError when they differ in length.")
        .def("update", &Fitter::update, py::arg("p"), py::arg("q"),
             "Adds a pair of points. One that is not finite makes every fit fail until reset().")
        .def("reset", &Fitter::reset, "Forgets all pairs.")
        .def("numPairs", &Fitter::numPairs, "The number of pairs since the last reset().")
        .def("fit", &Fitter::fit, py::arg("dof"),
             "The rxXform X with the least sum of squares of X * q - p. dof: 3 rotation and "
             "translation, 4 the same with one scale, 5 with one scale per axis of q, 6 affine. "
             "Raises FitError for another dof and for pairs that do not determine it.")
        .def("__copy__", [](const Fitter& fitter) { return Fitter(fitter); })
        .def(
            "__deepcopy__", [](const Fitter& fitter, const py::dict&) { return Fitter(fitter); },
            py::arg("memo"))
        .def("__repr__", [](const Fitter& fitter) {
            return "<rxLSPointToPointFitter of " + std::to_string(fitter.numPairs()) + " pairs>";
        });
}

void bindResidual(py::module_& m) {
    py::class_<rxFitResidual>(m, "rxFitResidual",
                              "How far a transform takes points from where they should be.")
        .def_readonly("rms", &rxFitResidual::rms, "Root of the mean square of the distances.")
        .def_readonly("largest", &rxFitResidual::largest, "The largest distance.")
        .def_readonly("worst", &rxFitResidual::worst, "The index of the first pair with it.")
        .def(
            "__eq__", [](const rxFitResidual& a, const rxFitResidual& b) { return a == b; },
            py::is_operator(), py::arg("other"))
        .def(py::pickle(
            [](const rxFitResidual& r) { return py::make_tuple(r.rms, r.largest, r.worst); },
            [](const py::tuple& state) {
                return rxFitResidual{py::cast<double>(state[0]), py::cast<double>(state[1]),
                                     py::cast<std::size_t>(state[2])};
            }))
        .def("__repr__", [](const rxFitResidual& r) {
            return "<rxFitResidual: rms " + shown(r.rms) + ", largest " + shown(r.largest) +
                   " of pair " + std::to_string(r.worst) + ">";
        });
}

using Tm = rx2PtMatchTm;

void bindChanges(py::class_<Tm>& type) {
    type.def("fit", py::overload_cast<int>(&Tm::fit), py::arg("dof"),
             "Fits the transform to the pairs, least squares in plane b, and keeps them. dof: 3 "
             "rigid, 4 similarity, 5 one scale per axis, 6 affine; below 3: the first of 6, 5, 4, "
             "3 that the pairs determine. Raises FitError when they do not, MathError for one "
             "without a finite inverse; the transform is then what it was.");
    type.def(
        "fit",
        [](Tm& tm, const py::object& a, const py::object& b, int dof) {
            tm.fit(points2(a, "a"), points2(b, "b"), dof);
        },
        py::arg("a"), py::arg("b"), py::arg("dof"),
        "Forgets transform and pairs, adds the pairs of two arrays of shape (n, 2) and fits.");
    type.def("reset", &Tm::reset, "Forgets the pairs; the transform stays.");
    type.def("identity", &Tm::identity, "Forgets the pairs; the transform becomes the identity.");
    type.def("translate", &Tm::translate, py::arg("v"),
             "Moves in plane a, before the transform. Keeps the pairs.");
    type.def("rotate", &Tm::rotate, py::arg("angle"),
             "Turns in plane a, before the transform. Drops the pairs, as do scale, append and "
             "concat.");
    type.def("scale", py::overload_cast<double>(&Tm::scale), py::arg("factor"),
             "Scales in plane a, before the transform. Raises MathError when the result has no "
             "finite inverse, as for 0; append and concat do, too.");
    type.def("scale", py::overload_cast<const rxVector<2>&>(&Tm::scale), py::arg("factors"),
             "The same with one factor for each axis.");
    type.def("append", &Tm::append, py::arg("t"), "First this transform, then t.");
    type.def("concat", &Tm::concat, py::arg("t"), "First t, then this transform.");
}

void bindPlane(py::module_& m) {
    py::class_<Tm> type(m, "rx2PtMatchTm",
                        "A transform between two planes a and b, kept with its inverse, that can "
                        "be fitted to pairs of points. Records, and so pickle, hold the transform "
                        "and not the pairs; copies hold both. Equality is that of the transforms.");
    type.def(py::init<>(), "The identity, no pairs.");
    type.def(py::init([](const py::object& a, const py::object& b, int dof) {
                 return Tm(points2(a, "a"), points2(b, "b"), dof);
             }),
             py::arg("a"), py::arg("b"), py::arg("dof"), "As fit(a, b, dof) of a new object.");
    type.def(py::init<const rxXform<2>&>(), py::arg("a2b"),
             "The given rxXform from a to b, no pairs. Raises MathError for a singular one.");
    defIdentity(type);
    bindChanges(type);

    // Angles first: what is no angle is taken for points.
    type.def("a2b", py::overload_cast<rxRadian>(&Tm::a2b, py::const_), py::arg("angle"),
             "The direction of a direction of plane a after mapping, in (-pi, pi].");
    type.def("b2a", py::overload_cast<rxRadian>(&Tm::b2a, py::const_), py::arg("angle"),
             "The direction of a direction of plane b after mapping, in (-pi, pi].");
    type.def(
        "a2b", [](const Tm& tm, rxDegree angle) { return tm.a2b(rxRadian(angle)); },
        py::arg("angle"));
    type.def(
        "b2a", [](const Tm& tm, rxDegree angle) { return tm.b2a(rxRadian(angle)); },
        py::arg("angle"));
    defMapping<2>(type);
    type.def("a2bXform", &Tm::a2bXform, "A copy of the rxXform from a to b.");
    type.def("b2aXform", &Tm::b2aXform, "A copy of the rxXform from b to a.");
    addPersistence(type);
    type.def(
        "__eq__", [](const Tm& tm, const rxXform<2>& a2b) { return tm == a2b; }, py::is_operator(),
        py::arg("other"));
    type.def("__repr__",
             [](const Tm& tm) { return "<rx2PtMatchTm: a2b " + shown(tm.a2bXform()) + ">"; });
    defFitResidual<2, Tm>(m,
                          "The rxFitResidual of the pairs (a[i], b[i]), in units of b; all 0 "
                          "without pairs. Raises BadArgs when the arrays differ in length.");
}

}  // namespace

void bindTransforms(py::module_& m) {
    bindFitter(m);
    bindResidual(m);
    bindPlane(m);
}

}  // namespace ptmatch::python
