#include "foundation/geometry_archive.h"

#include <cstdint>
#include <string>
#include <utility>

// Each value is taken apart and passed through the archive. Only a loading archive assigns it: what
// is stored may be read by other threads meanwhile, and an exception leaves before the assignment.

rxArchive& operator||(rxArchive& ar, rxVector<2>& v) {
    double x = v.x();
    double y = v.y();
    ar || x || y;
    if (ar.isLoading()) v = rxVector<2>(x, y);
    return ar;
}

rxArchive& operator||(rxArchive& ar, rxVector<3>& v) {
    double x = v.x();
    double y = v.y();
    double z = v.z();
    ar || x || y || z;
    if (ar.isLoading()) v = rxVector<3>(x, y, z);
    return ar;
}

rxArchive& operator||(rxArchive& ar, rxPair<long>& p) {
    long x = p.x();
    long y = p.y();
    ar || x || y;
    if (ar.isLoading()) p = rxPair<long>(x, y);
    return ar;
}

rxArchive& operator||(rxArchive& ar, rxRadian& angle) {
    double radians = angle.toDouble();
    ar || radians;
    if (ar.isLoading()) angle = rxRadian(radians);
    return ar;
}

rxArchive& operator||(rxArchive& ar, rxXform<2>& xform) {
    const rxMatrix<2>& m = xform.matrix();
    double e00 = m.element(0, 0);
    double e01 = m.element(0, 1);
    double e10 = m.element(1, 0);
    double e11 = m.element(1, 1);
    rxVector<2> trans = xform.trans();
    ar || e00 || e01 || e10 || e11 || trans;
    if (ar.isLoading()) xform = rxXform<2>(rxMatrix<2>(e00, e01, e10, e11), trans);
    return ar;
}

namespace {

/// The record of both kinds of range; Bound is the type of their ends.
template <class Range, class Bound>
rxArchive& passRange(rxArchive& ar, Range& range) {
    auto kind = static_cast<unsigned long>(range.range());
    ar || kind;
    if (kind > rxRangeDefs::Full) {
        throw rxArchive::Errors("the kind of a range is recorded as 0, 1 or 2, not " +
                                std::to_string(kind));
    }
    Bound start = range.start();
    Bound end = range.end();
    if (kind == rxRangeDefs::Normal) ar || start || end;
    if (ar.isLoading()) {
        range = Range::fromKind(static_cast<rxRangeDefs::Range>(kind), start, end);
    }
    return ar;
}

void requireCornerIn32Bits(std::int64_t upperLeft, std::int64_t extent) {
    if (!std::in_range<std::int32_t>(upperLeft + extent)) {
        throw rxArchive::Errors("an integer rectangle from " + std::to_string(upperLeft) +
                                " on with an extent of " + std::to_string(extent) +
                                " leaves the 32-bit coordinates");
    }
}

template <class T>
rxArchive& passRectangle(rxArchive& ar, rxRectangle<T>& rectangle, T x, T y, T width, T height) {
    ar || x || y || width || height;
    if constexpr (std::is_integral_v<T>) {
        requireCornerIn32Bits(x, width);
        requireCornerIn32Bits(y, height);
    }
    if (ar.isLoading()) rectangle = rxRectangle<T>(x, y, width, height);
    return ar;
}

}  // namespace

rxArchive& operator||(rxArchive& ar, rxRange& range) {
    return passRange<rxRange, double>(ar, range);
}

rxArchive& operator||(rxArchive& ar, rxAngleRange& range) {
    return passRange<rxAngleRange, rxRadian>(ar, range);
}

rxArchive& rf_PersistenceHelper(rxArchive& ar, rxRectangle<double>& rectangle) {
    return passRectangle(ar, rectangle, rectangle.x(), rectangle.y(), rectangle.width(),
                         rectangle.height());
}

rxArchive& rf_PersistenceHelper(rxArchive& ar, rxRectangle<long>& rectangle) {
    return passRectangle(ar, rectangle, rectangle.x(), rectangle.y(), rectangle.width(),
                         rectangle.height());
}
