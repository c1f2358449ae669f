#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/image.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

/// @file
/// NumPy arrays to the library's sequences and back.
///
/// What Python hands over is checked here, once, for all functions: an error names the argument,
/// what was expected and what came. float64 arrays, C-contiguous, are read where they are; others
/// are converted first. Either way the library gets numbers of its own, so that an array may be
/// changed by another thread while a run goes on.
namespace ptmatch::python {

/// An array of shape (n, 2) of finite real numbers: array, list of pairs, or what NumPy takes.
/// @param name  of the argument, for messages.
/// @throws pybind11::value_error: another shape, or a number that is not finite.
/// @throws pybind11::type_error: no real numbers.
std::vector<rxVector<2>> points2(const pybind11::handle& object, std::string_view name);

/// The same of shape (n, 3).
std::vector<rxVector<3>> points3(const pybind11::handle& object, std::string_view name);

/// An array of shape (coordinates,), one point, or (n, coordinates); finite or not.
pybind11::array_t<double, pybind11::array::c_style> pointOrPoints(const pybind11::handle& object,
                                                                  std::string_view name,
                                                                  pybind11::ssize_t coordinates);

/// @throws pybind11::value_error: a coordinate of such an array is not finite.
void requireFinite(const pybind11::array_t<double, pybind11::array::c_style>& points,
                   std::string_view name);

/// An array of shape (n,) of real numbers, finite or not.
std::vector<double> numbers(const pybind11::handle& object, std::string_view name);

/// An array of shape (n,) of whole numbers of 32 bits.
std::vector<long> integers(const pybind11::handle& object, std::string_view name);

/// An array of shape (n, 2) of whole numbers of 32 bits, of any real type.
std::vector<rxPair<long>> positions(const pybind11::handle& object, std::string_view name);

/// An array of two dimensions of real numbers, finite or not.
pybind11::array_t<double, pybind11::array::c_style> matrix(const pybind11::handle& object,
                                                           std::string_view name);

/// An array of two dimensions, rows of the image: 0 stays 0, other numbers become `setTo` or, with
/// nothing, have to be whole numbers from 0 to 255 and stay what they are.
rxPelBuffer<unsigned char> image(const pybind11::handle& object, std::string_view name,
                                 std::optional<unsigned char> setTo = std::nullopt);

/// Arrays of shape (n, 2), (n, 3), (n,) and (n, 2).
pybind11::array_t<double> arrayOf(const std::vector<rxVector<2>>& points);
pybind11::array_t<double> arrayOf(const std::vector<rxVector<3>>& points);
pybind11::array_t<double> arrayOf(const std::vector<double>& numbers);
pybind11::array_t<std::int64_t> arrayOf(const std::vector<long>& numbers);
pybind11::array_t<std::int64_t> arrayOf(const std::vector<std::size_t>& numbers);
pybind11::array_t<std::int64_t> arrayOf(const std::vector<rxPair<long>>& positions);
/// The pixels of an image, of shape (height, width).
pybind11::array_t<unsigned char> arrayOf(const rxPelBuffer_const<unsigned char>& image);

}  // namespace ptmatch::python
