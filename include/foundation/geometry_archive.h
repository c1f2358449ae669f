#pragma once

#include "foundation/archive.h"
#include "foundation/export.h"
#include "foundation/range.h"
#include "foundation/rectangle.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

/// @file
/// Records of the geometry types, bit for bit: also coordinates that are not numbers come back.
/// A value whose load fails stays as it was.   @throws rxArchive::Errors: the input ends.

/// x, y.
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxVector<2>& v);
/// x, y, z.
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxVector<3>& v);
/// x, y as 32-bit integers.
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxPair<long>& p);
/// The radians.
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxRadian& angle);
/// The matrix in row-major order, then the translation.
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxXform<2>& xform);

/// The kind as a 32-bit unsigned integer; start and end follow for a `Normal` range only.
/// @throws rxArchive::Errors: the kind is none of `rxRangeDefs::Range`.
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxRange& range);
/// As a range of numbers; the bounds are radians.
/// @throws rxArchive::Errors: the kind is none of `rxRangeDefs::Range`.
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxAngleRange& range);

/// x, y, width, height.
PTMATCH_EXPORT rxArchive& rf_PersistenceHelper(rxArchive& ar, rxRectangle<double>& rectangle);
/// x, y, width, height as 32-bit integers.
/// @throws rxArchive::Errors: the lower-right corner does not fit 32 bits, in either direction.
PTMATCH_EXPORT rxArchive& rf_PersistenceHelper(rxArchive& ar, rxRectangle<long>& rectangle);

template <>
struct rx_MinimalRecordSize<rxVector<2>> : std::integral_constant<std::uint64_t, 16> {};
template <>
struct rx_MinimalRecordSize<rxVector<3>> : std::integral_constant<std::uint64_t, 24> {};
template <>
struct rx_MinimalRecordSize<rxPair<long>> : std::integral_constant<std::uint64_t, 8> {};
template <>
struct rx_MinimalRecordSize<rxRadian> : std::integral_constant<std::uint64_t, 8> {};
template <>
struct rx_MinimalRecordSize<rxXform<2>> : std::integral_constant<std::uint64_t, 48> {};
template <>
struct rx_MinimalRecordSize<rxRange> : std::integral_constant<std::uint64_t, 4> {};
template <>
struct rx_MinimalRecordSize<rxAngleRange> : std::integral_constant<std::uint64_t, 4> {};
