#pragma once

#include <concepts>
#include <span>
#include <type_traits>

#include "foundation/export.h"
#include "foundation/image.h"

/// @file
/// Operations on whole views, for every pixel type of images.
///
/// Images are paired pixel by pixel from the first column and row of each view; their offsets play
/// no part, but their sizes have to agree. The destination may be one of the sources. A destination
/// that overlaps a source in any other way (two windows of one store, shifted against each other)
/// is refused, as its pixels would depend on the order of the work.
///
/// @throws rx_PelBuffer::Errors: sizes that differ, views that overlap partly, or what a function
/// states; nothing has been written then.
/// Cost: one pass over the pixels, vectorised. Any number of threads on destinations that do not
/// overlap.

/// Sets every pixel to 0.
template <rxPixel T>
PTMATCH_EXPORT void rfPelClear(const rxPelBuffer<T>& image);

/// Sets every pixel to the value.
template <rxPixel T>
PTMATCH_EXPORT void rfPelSet(const rxPelBuffer<T>& image, std::type_identity_t<T> value);

/// destination = source.
template <rxPixel T>
PTMATCH_EXPORT void rfPelCopy(const rxPelBuffer_const<std::type_identity_t<T>>& source,
                              const rxPelBuffer<T>& destination);

/// destination = table[source].
/// @throws rx_PelBuffer::Errors: also for a source pixel beyond the end of the table.
template <rxPixel T>
PTMATCH_EXPORT void rfPelMap(const rxPelBuffer_const<unsigned char>& source,
                             std::span<const std::type_identity_t<T>> table,
                             const rxPelBuffer<T>& destination);

/// A new image of the size, offset and transform of the source that holds table[source].
/// @throws rx_PelBuffer::Errors: a source pixel is beyond the end of the table.
PTMATCH_EXPORT rxPelBuffer<unsigned char> rfPelMap(const rxPelBuffer_const<unsigned char>& source,
                                                   std::span<const unsigned char> table);

/// destination = a + b. Sums beyond the pixel type wrap around (modulo 2 to the power of its bits).
template <rxPixel T>
PTMATCH_EXPORT void rfPelAdd(const rxPelBuffer_const<std::type_identity_t<T>>& a,
                             const rxPelBuffer_const<std::type_identity_t<T>>& b,
                             const rxPelBuffer<T>& destination);

/// The same for marks of one byte, each widened to the pixel type of the sum first.
template <rxPixel T>
requires(!std::same_as<T, unsigned char>) PTMATCH_EXPORT
    void rfPelAdd(const rxPelBuffer_const<unsigned char>& marks,
                  const rxPelBuffer_const<std::type_identity_t<T>>& b,
                  const rxPelBuffer<T>& destination);

/// destination = a - b. Differences beyond the pixel type wrap around, as sums do.
template <rxPixel T>
PTMATCH_EXPORT void rfPelSub(const rxPelBuffer_const<std::type_identity_t<T>>& a,
                             const rxPelBuffer_const<std::type_identity_t<T>>& b,
                             const rxPelBuffer<T>& destination);
