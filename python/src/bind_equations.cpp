#include <string>

#include "bindings.h"
#include "equations.h"
#include "persistence.h"
#include "ptmatch/condition_estimate.h"

namespace py = pybind11;

namespace ptmatch::python {
namespace {

using Matrix = rxMatrixExt;

/// The library goes by the number in the sequence, and reports to a hook that Python has not.
void requireInside(const Matrix& matrix, long r, long c) {
    if (r >= 0 && r < matrix.rows() && c >= 0 && c < matrix.cols()) return;
    throw py::index_error("element (" + std::to_string(r) + ", " + std::to_string(c) +
                          ") of a matrix of " + std::to_string(matrix.rows()) + " x " +
                          std::to_string(matrix.cols()));
}

void requireSquare(const Matrix& matrix) {
    if (matrix.rows() != matrix.cols()) throw Matrix::NotSquareMatrix();
}

void bindElements(py::class_<Matrix>& type) {
    type.def(py::init<>(), "0 x 0.");
    type.def(py::init<long, long>(), py::arg("rows"), py::arg("cols"),
             "Zeros. Raises ValueError for sizes below 0 or more than 2^31 - 1 elements.");
    type.def(py::init([](const py::object& elements) { return matrixOf(elements, "elements"); }),
             py::arg("elements"), "Of an array of two dimensions, or another matrix.");
    type.def("resize", &Matrix::resize, py::arg("rows"), py::arg("cols"),
             "Gives it new sizes and sets all elements to zero.");
    type.def("rows", &Matrix::rows, "The number of rows.");
    type.def("cols", &Matrix::cols, "The number of columns.");
    type.def("isBound", &Matrix::isBound, "1 when neither size is zero, else 0.");
    type.def(
        "element",
        [](const Matrix& matrix, long r, long c) {
            requireInside(matrix, r, c);
            return matrix.element(r, c);
        },
        py::arg("r"), py::arg("c"), "An element. Raises IndexError outside the matrix.");
    type.def(
        "element",
        [](Matrix& matrix, long r, long c, double value) {
            requireInside(matrix, r, c);
            matrix.element(r, c, value);
        },
        py::arg("r"), py::arg("c"), py::arg("value"),
        "Sets an element. Raises IndexError outside the matrix.");
    type.def(
        "__getitem__",
        [](const Matrix& matrix, long r) {
            if (r < 0 || r >= matrix.rows()) {
                throw py::index_error("row " + std::to_string(r) + " of a matrix of " +
                                      std::to_string(matrix.rows()) + " x " +
                                      std::to_string(matrix.cols()));
            }
            const double* row = matrix.pointToRow(r);
            return arrayOf(std::vector<double>(row, row + matrix.cols()));
        },
        py::arg("r"), "A copy of a row, from 0. Raises IndexError.");
    type.def(
        "to_array", [](const Matrix& matrix) { return arrayOf(matrix); },
        "A copy of the elements, shape (rows, cols). numpy.asarray gives the same.");
    type.def(
        "__array__",
        [](const Matrix& matrix, const py::object& dtype, const py::object&) -> py::object {
            py::object array = arrayOf(matrix);
            return dtype.is_none() ? array : array.attr("astype")(dtype);
        },
        py::arg("dtype") = py::none(), py::arg("copy") = py::none());
}

void bindSolvers(py::class_<Matrix>& type) {
    type.def(
        "ludcmp",
        [](Matrix& matrix) {
            requireSquare(matrix);
            std::vector<long> index(static_cast<std::size_t>(matrix.rows()));
            matrix.ludcmp(index);
            return arrayOf(index);
        },
        "Replaces the matrix by its LU decomposition, and returns for each column the row that was "
        "exchanged with it, int64 of shape (rows,). Raises NotSquareMatrix, and SingularMatrix for "
        "a row of zeros; the matrix is then what it was. Other singular matrices are not noticed.");
    type.def(
        "lubksb",
        [](const Matrix& matrix, const py::object& index, const py::object& b) {
            requireSquare(matrix);
            const auto rows = exactly(matrix.rows(), integers(index, "index"), "index");
            auto x = exactly(matrix.rows(), numbers(b, "b"), "b");
            matrix.lubksb(rows, x);
            return arrayOf(x);
        },
        py::arg("index"), py::arg("b"),
        "Returns the solution x of A x = b, shape (rows,), with the decomposition of A that this "
        "matrix holds and the index that ludcmp returned; b stays. Raises NotSquareMatrix, "
        "ValueError for a wrong length, IndexError for an index that is none of a row.");
    type.def("gaussj", &Matrix::gaussj, py::arg("b"),
             "Replaces the matrix by its inverse, and the matrix b by the solutions X of A X = b. "
             "Raises SingularMatrix, both are then partly transformed; IndexError for sizes that "
             "do not fit; ValueError when b is this matrix.");
    type.def(
        "gaussj",
        [](Matrix& matrix) {
            Matrix none(matrix.rows(), 0);
            matrix.gaussj(none);
        },
        "Replaces the matrix by its inverse.");
    type.def("invert", &Matrix::invert, "Does nothing; gaussj inverts.");
}

}  // namespace

void bindEquations(py::module_& m) {
    py::class_<Matrix> type(m, "rxMatrixExt",
                            "A dense matrix of any size with three classic solvers that work in "
                            "place. A singular matrix is noticed only by a row of zeros (ludcmp) "
                            "or a pivot that is exactly zero (gaussj); rfSolveLeastSquares tells "
                            "more.");
    bindElements(type);
    bindSolvers(type);
    addPersistence(type);
    type.def("__repr__", [](const Matrix& matrix) {
        return "<rxMatrixExt of " + std::to_string(matrix.rows()) + " x " +
               std::to_string(matrix.cols()) + ">";
    });
    m.def(
        "rfOneNorm", [](const py::object& a) { return rfOneNorm(matrixOf(a, "a")); }, py::arg("a"),
        "The largest sum of magnitudes of a column of a matrix or array.");
    m.def(
        "rfConditionEstimate",
        [](const Matrix& decomposed, const py::object& index, double oneNorm) {
            requireSquare(decomposed);
            const auto rows = exactly(decomposed.rows(), integers(index, "index"), "index");
            return rfConditionEstimate(decomposed, rows, oneNorm);
        },
        py::arg("decomposed"), py::arg("index"), py::arg("oneNorm"),
        "About how much larger than 2^-52 the relative error of a solution by lubksb can be: an "
        "estimate from below of the condition in the 1-norm. Takes the matrix after ludcmp, what "
        "that returned, and rfOneNorm of the matrix before.");
}

}  // namespace ptmatch::python
