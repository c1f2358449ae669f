#include <string>

#include "bindings.h"
#include "long_call.h"
#include "mapping.h"
#include "persistence.h"
#include "ptmatch/space_fit.h"
#include "ptmatch/space_tm.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

using Tm = rx3PtMatchTm;

void bindClass(py::module_& m) {
    py::class_<Tm> type(
        m, "rx3PtMatchTm",
        "An affine transform between two spaces a and b, kept with its inverse, that can be fitted "
        "to pairs of points. Twelve parameters, row by row: m00, m01, m02, tx, m10, ... Its own "
        "fits are about the origin; rfFitRigid3D and the like fit about the means. Records hold "
        "the pairs; equality is that of the parameters from a to b.");
    type.def(py::init<>(), "The identity, no pairs.");
    type.def(py::init([](const py::object& a, const py::object& b) {
                 return Tm(points3(a, "a"), points3(b, "b"));
             }),
             py::arg("a"), py::arg("b"), "As fit(a, b) of a new object.");
    defIdentity(type);
    defMapping<3>(type);
    type.def("fit", py::overload_cast<>(&Tm::fit),
             "Fits the transform to the pairs, least squares in space b, and keeps them. Raises "
             "SingularMatrix without pairs, and for a fitted matrix that is singular; points of a "
             "in one plane may give large, meaningless parameters.");
    type.def(
        "fit",
        [](Tm& tm, const py::object& a, const py::object& b) {
            tm.fit(points3(a, "a"), points3(b, "b"));
        },
        py::arg("a"), py::arg("b"),
        "Forgets transform and pairs, adds the pairs of two arrays of shape (n, 3) and fits.");
    type.def("identity", &Tm::identity, "Forgets the pairs; the transform becomes the identity.");
    type.def("translate", &Tm::translate, py::arg("v"),
             "Moves in space a, before the transform: t becomes M v + t. Raises SingularMatrix, as "
             "do the turns and scalings, when the result has no finite inverse: the transform has "
             "changed all the same, its inverse has not.");
    type.def("rotateOnX", &Tm::rotateOnX, py::arg("angle"),
             "Turns the matrix about the x axis, after the transform; the translation stays.");
    type.def("rotateOnY", &Tm::rotateOnY, py::arg("angle"), "The same about the y axis.");
    type.def("rotateOnZ", &Tm::rotateOnZ, py::arg("angle"), "The same about the z axis.");
    type.def("scale", py::overload_cast<double>(&Tm::scale), py::arg("factor"),
             "Scales the matrix, after the transform; the translation stays.");
    type.def("scale", py::overload_cast<const rxVector<3>&>(&Tm::scale), py::arg("factors"),
             "The same with one factor for each row.");
    type.def(
        "a2bParams", [](const Tm& tm) { return arrayOf(tm.a2bParams()); },
        "The parameters from a to b, shape (12,).");
    type.def(
        "b2aParams", [](const Tm& tm) { return arrayOf(tm.b2aParams()); },
        "The parameters from b to a, shape (12,).");
    addPersistence(type);
    type.def("__repr__",
             [](const Tm& tm) { return "<rx3PtMatchTm: a2b " + textOf(tm.a2bParams()) + ">"; });
}

using Points = std::vector<rxVector<3>>;

/// One of the fits, under its name.
template <auto Fit>
void bindFit(py::module_& m, const char* name, const char* doc) {
    m.def(
        name,
        [](const py::object& a, const py::object& b) {
            const Points first = points3(a, "a");
            const Points second = points3(b, "b");
            const LongCall call;
            return Fit(first, second);
        },
        py::arg("a"), py::arg("b"), doc);
}

}  // namespace

void bindSpace(py::module_& m) {
    bindClass(m);
    bindFit<&rfFitRigid3D>(
        m, "rfFitRigid3D",
        "The rx3PtMatchTm of rotation and translation from the points a to the points b, arrays of "
        "shape (n, 3), least squares in b; at least 3 pairs, not on a line. Holds no pairs. Raises "
        "BadArgs when they differ in length, MathError when they leave it open.");
    bindFit<&rfFitSimilarity3D>(m, "rfFitSimilarity3D",
                                "The same with one scale, which is positive.");
    bindFit<&rfFitAffine3D>(
        m, "rfFitAffine3D",
        "The same with all twelve parameters; at least 4 pairs, not in one plane on either side.");
    m.def(
        "rfExactSpaceTransform",
        [](const py::object& a2b) { return rfExactSpaceTransform(paramsOf<12>(a2b, "a2b")); },
        py::arg("a2b"),
        "The rx3PtMatchTm of twelve parameters, its inverse by cofactors. Raises MathError for a "
        "singular one.");
    defFitResidual<3, Tm>(m, "The same of a transform of space.");
}

}  // namespace ptmatch::python
