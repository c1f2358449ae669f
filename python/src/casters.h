#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "foundation/vector.h"
#include "foundation/xform.h"

/// @file
/// Small values between the languages. A point is a tuple in Python; any sequence of so many
/// numbers is taken. Every file of the module includes this one: a type has one way over.
namespace pybind11::detail {

/// The numbers of a sequence of exactly N, or false.
template <class Number, std::size_t N>
bool numbersOf(handle source, bool convert, std::array<Number, N>& numbers) {
    if (!isinstance<sequence>(source) || isinstance<str>(source) || isinstance<bytes>(source)) {
        return false;
    }
    // NumPy takes an element of a column for a number.
    if (isinstance<array>(source) && reinterpret_borrow<array>(source).ndim() != 1) return false;
    const auto values = reinterpret_borrow<sequence>(source);
    if (values.size() != N) return false;
    for (std::size_t i = 0; i < N; ++i) {
        make_caster<Number> caster;
        const object value = values[i];
        // Converting would cut fractions off.
        if (!caster.load(value, convert && !std::is_integral_v<Number>)) return false;
        numbers[i] = cast_op<Number>(caster);
    }
    return true;
}

template <>
struct type_caster<rxVector<2>> {
    PYBIND11_TYPE_CASTER(rxVector<2>, const_name("tuple[float, float]"));

    bool load(handle source, bool convert) {
        std::array<double, 2> xy{};
        if (!numbersOf(source, convert, xy)) return false;
        value = rxVector<2>(xy[0], xy[1]);
        return true;
    }
    static handle cast(const rxVector<2>& v, return_value_policy, handle) {
        return make_tuple(v.x(), v.y()).release();
    }
};

template <>
struct type_caster<rxVector<3>> {
    PYBIND11_TYPE_CASTER(rxVector<3>, const_name("tuple[float, float, float]"));

    bool load(handle source, bool convert) {
        std::array<double, 3> xyz{};
        if (!numbersOf(source, convert, xyz)) return false;
        value = rxVector<3>(xyz[0], xyz[1], xyz[2]);
        return true;
    }
    static handle cast(const rxVector<3>& v, return_value_policy, handle) {
        return make_tuple(v.x(), v.y(), v.z()).release();
    }
};

template <>
struct type_caster<rxPair<long>> {
    PYBIND11_TYPE_CASTER(rxPair<long>, const_name("tuple[int, int]"));

    bool load(handle source, bool convert) {
        std::array<std::int32_t, 2> xy{};  // beyond 32 bits: refused
        if (!numbersOf(source, convert, xy)) return false;
        value = rxPair<long>(xy[0], xy[1]);
        return true;
    }
    static handle cast(const rxPair<long>& p, return_value_policy, handle) {
        return make_tuple(p.x(), p.y()).release();
    }
};

/// An array of shape (2, 2).
template <>
struct type_caster<rxMatrix<2>> {
    PYBIND11_TYPE_CASTER(rxMatrix<2>, const_name("numpy.ndarray"));

    bool load(handle source, bool) {
        const auto given = pybind11::array::ensure(source);
        if (!given) PyErr_Clear();
        const char kind = given ? given.dtype().kind() : ' ';
        if ((kind != 'f' && kind != 'i' && kind != 'u') || hasattr(source, "mask")) return false;
        const auto array = array_t<double, array::c_style | array::forcecast>::ensure(given);
        if (!array || array.ndim() != 2 || array.shape(0) != 2 || array.shape(1) != 2) return false;
        const double* e = array.data();
        value = rxMatrix<2>(e[0], e[1], e[2], e[3]);
        return true;
    }
    static handle cast(const rxMatrix<2>& m, return_value_policy, handle) {
        array_t<double> array({2, 2});
        double* e = array.mutable_data();
        e[0] = m.element(0, 0);
        e[1] = m.element(0, 1);
        e[2] = m.element(1, 0);
        e[3] = m.element(1, 1);
        return array.release();
    }
};

}  // namespace pybind11::detail
