#include "arrays.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <sstream>

namespace py = pybind11;

namespace ptmatch::python {
namespace {

// Also of long doubles, of which not every one is a double.
using Doubles = py::array_t<double, py::array::c_style | py::array::forcecast>;

std::string shapeOf(const py::array& array) {
    std::string text = "(";
    for (py::ssize_t axis = 0; axis < array.ndim(); ++axis) {
        text += (axis == 0 ? "" : ", ") + std::to_string(array.shape(axis));
    }
    return text + (array.ndim() == 1 ? ",)" : ")");
}

std::string textOf(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

[[noreturn]] void refuse(std::string_view name, const std::string& expected,
                         const std::string& came) {
    throw py::value_error(std::string(name) + ": expected " + expected + ", got " + came);
}

/// A masked array, or rows of one, would lose their mask without a word.
bool isMasked(const py::handle& object) {
    const auto isMaskedArray = [](const py::handle& value) {
        return py::hasattr(value, "mask") && py::hasattr(value, "filled");
    };
    if (!py::isinstance<py::list>(object) && !py::isinstance<py::tuple>(object)) {
        return isMaskedArray(object);
    }
    const auto rows = py::reinterpret_borrow<py::sequence>(object);
    return std::any_of(rows.begin(), rows.end(), [&](const py::handle& row) {
        return py::isinstance<py::array>(row) && isMaskedArray(row);
    });
}

/// What NumPy makes of the object.
py::array realArray(const py::handle& object, std::string_view name) {
    if (isMasked(object)) {
        throw py::type_error(std::string(name) +
                             ": expected real numbers, got a masked array; choose the points with "
                             "a mask of your own first");
    }
    // Rows of unequal length are a ValueError of NumPy that says so.
    const auto asArray = py::module_::import("numpy").attr("asarray");
    auto array = py::cast<py::array>(asArray(object));
    const char kind = array.dtype().kind();
    const bool isReal = kind == 'f' || kind == 'i' || kind == 'u';
    // An empty list has no type of its own and comes as float64.
    if (!isReal) {
        throw py::type_error(std::string(name) + ": expected real numbers, got an array of " +
                             py::cast<std::string>(py::str(array.dtype())));
    }
    return array;
}

Doubles doubles(const py::handle& object, std::string_view name) {
    return py::cast<Doubles>(realArray(object, name));
}

/// Also takes what has no elements at all, such as [], for no points.
Doubles pointArray(const py::handle& object, std::string_view name, py::ssize_t coordinates) {
    auto array = doubles(object, name);
    const bool isEmptyList = array.ndim() == 1 && array.size() == 0;
    if (!isEmptyList && (array.ndim() != 2 || array.shape(1) != coordinates)) {
        refuse(name, "an array of shape (n, " + std::to_string(coordinates) + ")",
               "shape " + shapeOf(array));
    }
    return array;
}

Doubles finitePointArray(const py::handle& object, std::string_view name, py::ssize_t coordinates) {
    auto array = pointArray(object, name, coordinates);
    requireFinite(array, name);
    return array;
}

long wholeNumber(double value, std::string_view name, py::ssize_t place) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (!(value >= Limits::min() && value <= Limits::max()) || value != std::floor(value)) {
        refuse(name, "whole numbers of 32 bits",
               textOf(value) + " at index " + std::to_string(place));
    }
    return static_cast<long>(value);
}

template <class T, class Number>
py::array_t<T> flatArray(const std::vector<Number>& numbers) {
    py::array_t<T> array(static_cast<py::ssize_t>(numbers.size()));
    std::transform(numbers.begin(), numbers.end(), array.mutable_data(),
                   [](Number number) { return static_cast<T>(number); });
    return array;
}

}  // namespace

void requireFinite(const py::array_t<double, py::array::c_style>& points, std::string_view name) {
    const double* first = points.data();
    for (py::ssize_t i = 0; i < points.size(); ++i) {
        if (std::isfinite(first[i])) continue;
        std::string place = std::to_string(i);
        if (points.ndim() == 2) {
            const py::ssize_t coordinates = points.shape(1);
            place = std::to_string(i / coordinates) + ", " + std::to_string(i % coordinates);
        }
        refuse(name, "finite coordinates", textOf(first[i]) + " at [" + place + "]");
    }
}

py::array_t<double, py::array::c_style> pointOrPoints(const py::handle& object,
                                                      std::string_view name,
                                                      py::ssize_t coordinates) {
    const auto array = doubles(object, name);
    if (array.ndim() == 1 && array.size() == 0) {
        return py::array_t<double, py::array::c_style>(
            std::vector<py::ssize_t>{py::ssize_t{0}, coordinates});
    }
    const bool isOne = array.ndim() == 1 && array.shape(0) == coordinates;
    if (!isOne && (array.ndim() != 2 || array.shape(1) != coordinates)) {
        const std::string n = std::to_string(coordinates);
        refuse(name, "a point of shape (" + n + ",) or an array of shape (n, " + n + ")",
               "shape " + shapeOf(array));
    }
    return array;
}

std::vector<rxVector<2>> points2(const py::handle& object, std::string_view name) {
    const auto array = finitePointArray(object, name, 2);
    std::vector<rxVector<2>> points;
    points.reserve(static_cast<std::size_t>(array.size() / 2));
    const double* p = array.data();
    for (const double* end = p + array.size(); p != end; p += 2) points.emplace_back(p[0], p[1]);
    return points;
}

std::vector<rxVector<3>> points3(const py::handle& object, std::string_view name) {
    const auto array = finitePointArray(object, name, 3);
    std::vector<rxVector<3>> points;
    points.reserve(static_cast<std::size_t>(array.size() / 3));
    const double* p = array.data();
    for (const double* end = p + array.size(); p != end; p += 3) {
        points.emplace_back(p[0], p[1], p[2]);
    }
    return points;
}

std::vector<double> numbers(const py::handle& object, std::string_view name) {
    const auto array = doubles(object, name);
    if (array.ndim() != 1) refuse(name, "an array of shape (n,)", "shape " + shapeOf(array));
    return std::vector<double>(array.data(), array.data() + array.size());
}

std::vector<long> integers(const py::handle& object, std::string_view name) {
    const auto array = numbers(object, name);
    std::vector<long> whole;
    whole.reserve(array.size());
    for (const double value : array) {
        whole.push_back(wholeNumber(value, name, static_cast<py::ssize_t>(whole.size())));
    }
    return whole;
}

std::vector<rxPair<long>> positions(const py::handle& object, std::string_view name) {
    const auto array = pointArray(object, name, 2);
    std::vector<rxPair<long>> places;
    places.reserve(static_cast<std::size_t>(array.size() / 2));
    const double* p = array.data();
    for (py::ssize_t i = 0; i < array.size() / 2; ++i) {
        places.emplace_back(wholeNumber(p[2 * i], name, i), wholeNumber(p[2 * i + 1], name, i));
    }
    return places;
}

py::array_t<double, py::array::c_style> matrix(const py::handle& object, std::string_view name) {
    const auto array = doubles(object, name);
    if (array.ndim() != 2) refuse(name, "an array of two dimensions", "shape " + shapeOf(array));
    return array;
}

rxPelBuffer<unsigned char> image(const py::handle& object, std::string_view name,
                                 std::optional<unsigned char> setTo) {
    // Truth values are the natural way to say where a dot is.
    py::object values = py::reinterpret_borrow<py::object>(object);
    if (!isMasked(object)) {
        const auto given = py::module_::import("numpy").attr("asarray")(object);
        const bool isTruth = py::cast<py::array>(given).dtype().kind() == 'b';
        values = isTruth ? given.attr("astype")("uint8") : given;
    }
    const auto array = matrix(values, name);
    rxPelBuffer<unsigned char> pixels(array.shape(1), array.shape(0), 1);
    for (py::ssize_t y = 0; y < array.shape(0); ++y) {
        unsigned char* row = pixels.pointToRow(y);
        for (py::ssize_t x = 0; x < array.shape(1); ++x) {
            const double value = *array.data(y, x);
            if (std::isnan(value)) refuse(name, "numbers", "nan in row " + std::to_string(y));
            if (setTo) {
                row[x] = value != 0.0 ? *setTo : static_cast<unsigned char>(0);
                continue;
            }
            if (!(value >= 0.0 && value <= 255.0) || value != std::floor(value)) {
                refuse(name, "whole numbers from 0 to 255",
                       textOf(value) + " in row " + std::to_string(y));
            }
            row[x] = static_cast<unsigned char>(value);
        }
    }
    return pixels;
}

py::array_t<double> arrayOf(const std::vector<rxVector<2>>& points) {
    py::array_t<double> array({static_cast<py::ssize_t>(points.size()), py::ssize_t{2}});
    double* p = array.mutable_data();
    for (const auto& point : points) {
        *p++ = point.x();
        *p++ = point.y();
    }
    return array;
}

py::array_t<double> arrayOf(const std::vector<rxVector<3>>& points) {
    py::array_t<double> array({static_cast<py::ssize_t>(points.size()), py::ssize_t{3}});
    double* p = array.mutable_data();
    for (const auto& point : points) {
        *p++ = point.x();
        *p++ = point.y();
        *p++ = point.z();
    }
    return array;
}

py::array_t<double> arrayOf(const std::vector<double>& numbers) {
    return flatArray<double>(numbers);
}

py::array_t<std::int64_t> arrayOf(const std::vector<long>& numbers) {
    return flatArray<std::int64_t>(numbers);
}

py::array_t<std::int64_t> arrayOf(const std::vector<std::size_t>& numbers) {
    return flatArray<std::int64_t>(numbers);
}

py::array_t<std::int64_t> arrayOf(const std::vector<rxPair<long>>& positions) {
    py::array_t<std::int64_t> array({static_cast<py::ssize_t>(positions.size()), py::ssize_t{2}});
    std::int64_t* p = array.mutable_data();
    for (const auto& position : positions) {
        *p++ = position.x();
        *p++ = position.y();
    }
    return array;
}

py::array_t<unsigned char> arrayOf(const rxPelBuffer_const<unsigned char>& image) {
    const rxPair<long> size = image.size();
    py::array_t<unsigned char> array({size.y(), size.x()});
    unsigned char* to = array.mutable_data();
    for (long y = 0; y < size.y(); ++y) {
        const unsigned char* row = image.pointToRow(y);
        to = std::copy(row, row + size.x(), to);
    }
    return array;
}

}  // namespace ptmatch::python
