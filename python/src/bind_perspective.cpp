#include <string>

#include "bindings.h"
#include "foundation/rectangle.h"
#include "long_call.h"
#include "mapping.h"
#include "persistence.h"
#include "ptmatch/affine_approximation.h"
#include "ptmatch/perspective_fit.h"
#include "ptmatch/perspective_tm.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

using Tm = rx2PTm;

void bindClass(py::module_& m) {
    py::class_<Tm> type(
        m, "rx2PTm",
        "A perspective transform between two planes a and b, kept with its inverse, that can be "
        "fitted to pairs of points. Parameters p0 to p7 map (x, y) to (p0 x + p1 y + p2) / w and "
        "(p3 x + p4 y + p5) / w with w = p6 x + p7 y + 1. Its own fits, changes and inverses are "
        "made for coordinates of the order of 1 to 10, such as positions on a grid; "
        "rfFitPerspectiveNormalized fits pixels. Records hold the pairs; equality is that of the "
        "parameters from a to b.");
    type.def(py::init<>(), "The identity, no pairs.");
    type.def(py::init([](const py::object& a, const py::object& b) {
                 return Tm(points2(a, "a"), points2(b, "b"));
             }),
             py::arg("a"), py::arg("b"), "As fit(a, b) of a new object.");
    type.def(py::init<const rx2PtMatchTm&>(), py::arg("t"), "The affine transform t, no pairs.");
    defIdentity(type);
    defMapping<2>(type);
    type.def("fit", py::overload_cast<>(&Tm::fit),
             "Fits the transform to the pairs and keeps them. What is least is the sum of squares "
             "of w times the distances. Raises SingularMatrix when there are no pairs, or a row "
             "of the equations is zero; pairs that leave it open otherwise give large, meaningless "
             "parameters.");
    type.def(
        "fit",
        [](Tm& tm, const py::object& a, const py::object& b) {
            tm.fit(points2(a, "a"), points2(b, "b"));
        },
        py::arg("a"), py::arg("b"),
        "Forgets transform and pairs, adds the pairs of two arrays of shape (n, 2) and fits.");
    type.def("identity", &Tm::identity, "Forgets the pairs; the transform becomes the identity.");
    type.def("rotate", &Tm::rotate, py::arg("angle"),
             "Turns in plane a, before the transform. This, translate and scale keep the pairs. "
             "Raises MathError for an angle that is not finite, SingularMatrix.");
    type.def("translate", &Tm::translate, py::arg("v"), "Moves in plane a, before the transform.");
    type.def("scale", &Tm::scale, py::arg("factors"),
             "Scales in plane a, before the transform, each axis by its factor. Raises MathError "
             "for a factor of 0.");
    type.def("a2bXform", &Tm::a2bXform,
             "The rxXform that fits best over the square from -5 to 5 of plane a; "
             "rfAffineApproximation takes any rectangle.");
    type.def("a2bTm", &Tm::a2bTm, "The same as an rx2PtMatchTm, with the 36 pairs of the fit.");
    type.def(
        "a2bParams", [](const Tm& tm) { return arrayOf(tm.a2bParams()); },
        "p0 to p7 from a to b, shape (8,).");
    type.def(
        "b2aParams", [](const Tm& tm) { return arrayOf(tm.b2aParams()); },
        "p0 to p7 from b to a, shape (8,).");
    addPersistence(type);
    type.def("__repr__",
             [](const Tm& tm) { return "<rx2PTm: a2b " + textOf(tm.a2bParams()) + ">"; });
}

void bindFits(py::module_& m) {
    m.def(
        "rfExactPerspective",
        [](const py::object& a2b) { return rfExactPerspective(paramsOf<8>(a2b, "a2b")); },
        py::arg("a2b"),
        "The rx2PTm of eight parameters, with the exact inverse. Raises MathError for a singular "
        "one, and where the inverse has no eight-parameter form (p0 p4 = p1 p3).");
    m.def("rfConcatPerspective", &rfConcatPerspective, py::arg("first"), py::arg("second"),
          "First first, then second, with the exact inverse. Raises MathError where that has no "
          "eight-parameter form.");
    m.def(
        "rfFitPerspectiveNormalized",
        [](const py::object& a, const py::object& b) {
            const auto first = points2(a, "a");
            const auto second = points2(b, "b");
            const LongCall call;
            return rfFitPerspectiveNormalized(first, second);
        },
        py::arg("a"), py::arg("b"),
        "The rx2PTm from the points a to the points b, arrays of shape (n, 2) with at least 4 "
        "pairs, for coordinates of any size; the algebraic distance is least. Holds no pairs. "
        "Raises BadArgs when they differ in length, MathError when they leave it open.");
    m.def(
        "rfPerspectiveConditioning",
        [](const py::object& a, const py::object& b) {
            const auto first = points2(a, "a");
            const auto second = points2(b, "b");
            const LongCall call;
            return rfPerspectiveConditioning(first, second);
        },
        py::arg("a"), py::arg("b"),
        "How much worse than the coordinates the parameters of that fit are known: a few for "
        "points spread over the plane, inf when they leave it open.");
    m.def("rfAffineApproximation", &rfAffineApproximation, py::arg("tm"), py::arg("area"),
          "The rx2PtMatchTm that fits a perspective transform best at 6 x 6 points of an "
          "rxRectangle of plane a; they stay in it as pairs. Raises MathError where w is 0 in the "
          "rectangle, FitError for an extent of 0.");
    defFitResidual<2, Tm>(m, "The same of a perspective transform.");
}

}  // namespace

void bindPerspective(py::module_& m) {
    bindClass(m);
    bindFits(m);
}

}  // namespace ptmatch::python
