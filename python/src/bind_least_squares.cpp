#include <span>
#include <string>

#include "bindings.h"
#include "equations.h"
#include "long_call.h"
#include "persistence.h"
#include "ptmatch/least_squares.h"
#include "ptmatch/pinv.h"
#include "shown.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

template <class Accumulator>
void addRows(Accumulator& sums, const py::object& x, const py::object& y) {
    const rxMatrixExt rows = matrixOf(x, "x");
    const auto values = exactly(rows.rows(), numbers(y, "y"), "y");
    if (rows.cols() != sums.numUnknowns()) {
        throw py::value_error("x: expected " + std::to_string(sums.numUnknowns()) +
                              " columns, got " + std::to_string(rows.cols()));
    }
    const auto unknowns = static_cast<std::size_t>(rows.cols());
    for (long r = 0; r < rows.rows(); ++r) {
        sums.update(std::span(rows.pointToRow(r), unknowns), values[static_cast<std::size_t>(r)]);
    }
}

/// Gives an accumulator update with one equation or many.
template <class Accumulator>
void defUpdate(py::class_<Accumulator>& type) {
    type.def(
        "update",
        [](Accumulator& sums, const py::object& x, const py::object& y) {
            if (py::isinstance<py::sequence>(y)) return addRows(sums, x, y);
            sums.update(exactly(sums.numUnknowns(), numbers(x, "x"), "x"), py::float_(y));
        },
        py::arg("x"), py::arg("y"),
        "Adds the equation x . p = y, x having one number for each unknown; or, of two arrays of "
        "shapes (m, n) and (m,), one after another the equations of their rows.");
}

void bindNormalEquations(py::module_& m) {
    using Sums = rxPsuedoInverse;
    py::class_<Sums> type(m, "rxPsuedoInverse",
                          "Least-squares solution of a linear system from its normal equations; "
                          "the equations come one at a time. Squares the condition of the problem: "
                          "keep coefficients near one and centred, or take rxLeastSquares.");
    type.def(py::init<>(), "No unknowns.");
    type.def(py::init<long>(), py::arg("n"), "n unknowns, no equations.");
    type.def("resize", &Sums::resize, py::arg("n"),
             "Sets the number of unknowns and forgets all equations. Raises ValueError.");
    defUpdate(type);
    type.def(
        "fit", [](const Sums& sums) { return arrayOf(sums.fit()); },
        "The p with the least sum of squares of x . p - y, shape (n,). Raises SingularMatrix when "
        "an unknown never had a coefficient other than zero.");
    type.def("reset", &Sums::reset, "Forgets all equations.");
    type.def("numUnknowns", &Sums::numUnknowns, "The number of unknowns, n.");
    type.def(
        "normalMatrix", [](const Sums& sums) { return arrayOf(sums.normalMatrix()); },
        "A copy of the sum of the products of x with itself, shape (n, n).");
    type.def(
        "rightHandSide", [](const Sums& sums) { return arrayOf(sums.rightHandSide()); },
        "A copy of the sum of x y, shape (n,).");
    addPersistence(type);
    type.def("__repr__", [](const Sums& sums) {
        return "<rxPsuedoInverse of " + std::to_string(sums.numUnknowns()) + " unknowns>";
    });
}

using Solution = rxLeastSquaresSolution;

py::tuple stateOf(const Solution& s) {
    return py::make_tuple(arrayOf(s.x).attr("tolist")(), s.rank, s.condition, s.residualNorm,
                          s.numEquations);
}

void bindSolution(py::module_& m) {
    py::class_<Solution>(m, "rxLeastSquaresSolution",
                         "The solution of a linear least-squares problem and what it is worth.")
        .def_property_readonly(
            "x", [](const Solution& s) { return arrayOf(s.x); },
            "The unknowns, shape (n,); of several best solutions the shortest.")
        .def_readonly("rank", &Solution::rank, "How many unknowns the equations determine.")
        .def_readonly("condition", &Solution::condition,
                      "The largest singular value over the smallest; inf: some combination of the "
                      "unknowns has no effect.")
        .def_readonly("residualNorm", &Solution::residualNorm, "The length of A x - b.")
        .def_readonly("numEquations", &Solution::numEquations, "The number of equations.")
        .def("isDetermined", &Solution::isDetermined, "Whether there is no other best solution.")
        .def("rmsResidual", &Solution::rmsResidual,
             "The root of the mean square of A x - b; 0 without equations.")
        .def(
            "__eq__",
            [](const Solution& a, const Solution& b) { return stateOf(a).equal(stateOf(b)); },
            py::is_operator(), py::arg("other"))
        .def(py::pickle(&stateOf,
                        [](const py::tuple& state) {
                            return Solution{numbers(state[0], "x"), py::cast<long>(state[1]),
                                            py::cast<double>(state[2]), py::cast<double>(state[3]),
                                            py::cast<long>(state[4])};
                        }))
        .def("__repr__", [](const Solution& s) {
            return "<rxLeastSquaresSolution: rank " + std::to_string(s.rank) + " of " +
                   std::to_string(s.x.size()) + ", condition " + shown(s.condition) +
                   ", rms residual " + shown(s.rmsResidual()) + ">";
        });
}

void bindSolvers(py::module_& m) {
    m.def(
        "rfSolveLeastSquares",
        [](const py::object& a, const py::object& b, double relativeTolerance) {
            const rxMatrixExt left = matrixOf(a, "a");
            const auto right = exactly(left.rows(), numbers(b, "b"), "b");
            const LongCall call;
            return rfSolveLeastSquares(left, right, relativeTolerance);
        },
        py::arg("a"), py::arg("b"), py::arg("relativeTolerance") = -1.0,
        "The rxLeastSquaresSolution of A x = b, for a matrix or array of any sizes and any rank. "
        "Singular values not above relativeTolerance times the largest count as zero; negative: "
        "the larger size times 2^-52. Raises MathError for what is not finite.");
    m.def(
        "rfSingularValues",
        [](const py::object& a) {
            const rxMatrixExt own = matrixOf(a, "a");
            std::vector<double> values;
            {
                const LongCall call;
                values = rfSingularValues(own);
            }
            return arrayOf(values);
        },
        py::arg("a"), "The singular values of a matrix or array, the largest first.");
}

void bindAccumulator(py::module_& m) {
    using Sums = rxLeastSquares;
    py::class_<Sums> type(m, "rxLeastSquares",
                          "Least-squares solution of a linear system whose equations come one at a "
                          "time, with its residual and rank; does not square the condition. It "
                          "does not pickle.");
    type.def(py::init<long>(), py::arg("n") = 0, "n unknowns, no equations.");
    type.def("resize", &Sums::resize, py::arg("n"),
             "Sets the number of unknowns and forgets all equations. Raises ValueError.");
    defUpdate(type);
    type.def("fit", &Sums::fit, py::arg("relativeTolerance") = -1.0,
             "The rxLeastSquaresSolution, tolerance as of rfSolveLeastSquares. Raises MathError "
             "when an equation was not finite.");
    type.def("reset", &Sums::reset, "Forgets all equations.");
    type.def("numUnknowns", &Sums::numUnknowns, "The number of unknowns, n.");
    type.def("numObservations", &Sums::numObservations, "Equations since the last reset().");
    type.def("__copy__", [](const Sums& sums) { return Sums(sums); });
    type.def(
        "__deepcopy__", [](const Sums& sums, const py::dict&) { return Sums(sums); },
        py::arg("memo"));
    type.def("__repr__", [](const Sums& sums) {
        return "<rxLeastSquares of " + std::to_string(sums.numUnknowns()) + " unknowns, " +
               std::to_string(sums.numObservations()) + " equations>";
    });
}

}  // namespace

void bindLeastSquares(py::module_& m) {
    bindNormalEquations(m);
    bindSolution(m);
    bindSolvers(m);
    bindAccumulator(m);
}

}  // namespace ptmatch::python
