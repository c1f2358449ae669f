#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "arrays.h"
#include "ptmatch/matext.h"

/// @file
/// NumPy arrays to matrices and back, and the lengths of what goes with them.
namespace ptmatch::python {

/// A copy of a matrix, or that of an array of two dimensions.
inline rxMatrixExt matrixOf(const pybind11::object& object, std::string_view name) {
    if (pybind11::isinstance<rxMatrixExt>(object)) return pybind11::cast<rxMatrixExt>(object);
    const auto array = matrix(object, name);
    rxMatrixExt made(array.shape(0), array.shape(1));
    if (array.size() > 0) std::copy_n(array.data(), array.size(), made.pointToRow(0));
    return made;
}

/// The elements, of shape (rows, cols).
inline pybind11::array_t<double> arrayOf(const rxMatrixExt& matrix) {
    pybind11::array_t<double> array({matrix.rows(), matrix.cols()});
    if (array.size() > 0) std::copy_n(matrix.pointToRow(0), array.size(), array.mutable_data());
    return array;
}

/// The numbers, which have to be so many: the library would leave what follows unused.
/// @throws pybind11::value_error: there are more or fewer.
template <class Number>
std::vector<Number> exactly(long count, std::vector<Number> numbers, std::string_view name) {
    if (static_cast<long>(numbers.size()) == count) return numbers;
    throw pybind11::value_error(std::string(name) + ": expected " + std::to_string(count) +
                                " numbers, got " + std::to_string(numbers.size()));
}

}  // namespace ptmatch::python
