#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "arrays.h"
#include "casters.h"
#include "ptmatch/fit_residual.h"

/// @file
/// What the transforms of plane and space have in common in Python.
namespace ptmatch::python {

/// One point, or many, as the library has them.
template <int N>
std::vector<rxVector<N>> vectorsOf(
    const pybind11::array_t<double, pybind11::array::c_style>& points) {
    std::vector<rxVector<N>> vectors;
    vectors.reserve(static_cast<std::size_t>(points.size() / N));
    const double* p = points.data();
    for (const double* end = p + points.size(); p != end; p += N) {
        if constexpr (N == 2) vectors.emplace_back(p[0], p[1]);
        if constexpr (N == 3) vectors.emplace_back(p[0], p[1], p[2]);
    }
    return vectors;
}

/// An array of shape (n, N) of finite coordinates.
template <int N>
std::vector<rxVector<N>> pointsOf(const pybind11::object& points, std::string_view name) {
    if constexpr (N == 2) return points2(points, name);
    if constexpr (N == 3) return points3(points, name);
}

/// The images of points, an array of their shape; the image of a plain sequence of numbers is a
/// tuple.
template <int N, class Map>
pybind11::object mapped(const pybind11::object& points, const Map& map) {
    namespace py = pybind11;
    const auto array = pointOrPoints(points, "points", N);
    const auto vectors = vectorsOf<N>(array);
    if (array.ndim() == 1 && !py::isinstance<py::array>(points)) {
        return py::cast(map(vectors.front()));
    }
    py::array_t<double> images(
        std::vector<py::ssize_t>(array.shape(), array.shape() + array.ndim()));
    double* out = images.mutable_data();
    for (const rxVector<N>& vector : vectors) {
        const rxVector<N> image = map(vector);
        *out++ = image.x();
        *out++ = image.y();
        if constexpr (N == 3) *out++ = image.z();
    }
    return images;
}

/// Gives the class a2b and b2a of points, and update with one pair or many.
template <int N, class Tm, class... Options>
void defMapping(pybind11::class_<Tm, Options...>& type) {
    namespace py = pybind11;
    const std::string n = std::to_string(N);
    const std::string shapes = " Takes a point or an array of shape (n, " + n +
                               "), finite or not; an array gives an array of the same shape, a "
                               "plain sequence of numbers a tuple.";
    type.def(
        "a2b",
        [](const Tm& tm, const py::object& points) {
            return mapped<N>(points, [&tm](const rxVector<N>& p) { return tm.a2b(p); });
        },
        py::arg("points"), ("The images of points of a." + shapes).c_str());
    type.def(
        "b2a",
        [](const Tm& tm, const py::object& points) {
            return mapped<N>(points, [&tm](const rxVector<N>& p) { return tm.b2a(p); });
        },
        py::arg("points"), ("The images of points of b." + shapes).c_str());
    type.def(
        "update",
        [](Tm& tm, const py::object& a, const py::object& b) {
            const auto first = pointOrPoints(a, "a", N);
            const auto second = pointOrPoints(b, "b", N);
            requireFinite(first, "a");
            requireFinite(second, "b");
            if (first.ndim() != second.ndim()) {
                throw py::value_error(
                    "a, b: expected two points or two arrays of points, got one "
                    "of each");
            }
            tm.update(vectorsOf<N>(first), vectorsOf<N>(second));
        },
        py::arg("a"), py::arg("b"),
        ("Adds the pair of a point of a and its image in b, or the pairs of two arrays of shape "
         "(n, " +
         n + "). Raises BadArgs when these differ in length.")
            .c_str());
}

/// Gives the class the identity `I`. Each asking gets a copy: a change of it changes nothing else.
template <class Tm, class... Options>
void defIdentity(pybind11::class_<Tm, Options...>& type) {
    type.def_property_readonly_static(
        "I", [](const pybind11::object&) { return Tm(Tm::I); }, "A copy of the identity.");
}

/// Defines rfFitResidual for the class.
template <int N, class Tm>
void defFitResidual(pybind11::module_& m, const char* doc) {
    namespace py = pybind11;
    m.def(
        "rfFitResidual",
        [](const Tm& tm, const py::object& a, const py::object& b) {
            return rfFitResidual(tm, pointsOf<N>(a, "a"), pointsOf<N>(b, "b"));
        },
        py::arg("tm"), py::arg("a"), py::arg("b"), doc);
}

/// Parameters of a transform, an array of so many numbers.
template <std::size_t Size>
std::array<double, Size> paramsOf(const pybind11::object& params, std::string_view name) {
    const std::vector<double> given = numbers(params, name);
    if (given.size() != Size) {
        throw pybind11::value_error(std::string(name) + ": expected " + std::to_string(Size) +
                                    " numbers, got " + std::to_string(given.size()));
    }
    std::array<double, Size> fixed{};
    std::copy(given.begin(), given.end(), fixed.begin());
    return fixed;
}

template <std::size_t Size>
pybind11::array_t<double> arrayOf(const std::array<double, Size>& params) {
    return arrayOf(std::vector<double>(params.begin(), params.end()));
}

/// As Python writes a tuple of numbers.
template <std::size_t Size>
std::string textOf(const std::array<double, Size>& params) {
    namespace py = pybind11;
    return py::cast<std::string>(py::repr(py::tuple(arrayOf(params).attr("tolist")())));
}

}  // namespace ptmatch::python
