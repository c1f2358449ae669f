#pragma once

#include <optional>
#include <span>
#include <vector>

#include "foundation/image.h"
#include "foundation/range.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

class rx_PointMatcherModel;
class rxPointMatcherRunParams;

namespace ptmatch::detail {

/// The frame of a pose search: data seen from the start pose, on a grid of pixels.
/// All floating-point decisions of the vote are made here and in modelPixels(): what the vote does
/// with them is counting whole pixels.
struct SearchGrid {
    double gridSize = 0.0;  ///< model units per pixel: the data are seen from the start pose
    std::vector<rxVector<2>> data;  ///< data points mapped by the inverse start pose
    rxXform<2> imageFromModel;      ///< model frame at the start pose -> pixels
    long width = 0;                 ///< of the mark image, with a border of one pixel
    long height = 0;
};

/// Normalises the data and lays the grid over its bounding box.
/// @return nothing when there is nothing to search: no data, or an infinite grid size (that of a
///         model in which every point has a double).
/// @throws rxPointMatcherDefs::BadParams  an image of one byte a pixel would not fit
///         kMaxSearchImageBytes, the model lies beyond 2^30 pixels from the data at the start pose,
///         or data seen from there are beyond the range of double.
std::optional<SearchGrid> makeSearchGrid(std::span<const rxVector<2>> data,
                                         const rx_PointMatcherModel& model,
                                         const rxXform<2>& startPose, double gridSize);

/// The translations to try, in pixels relative to the model centre's pixel at the start pose:
/// ul() to lr(), both included. The translation uncertainties, cut to where the data are (and 8
/// pixels around them).
/// @return nothing when the two do not meet.
std::optional<rxPelRect> translationWindow(const SearchGrid& grid,
                                           const rx_PointMatcherModel& model,
                                           const rxPointMatcherRunParams& params);

/// Evenly spaced values low, low + step, ... while not greater than high. A single value has an
/// infinite step.
struct Lattice {
    double low = 0.0;
    double high = 0.0;
    double step = 0.0;

    template <class Visit>
    void forEach(Visit&& visit) const {
        // Adding up, not multiplying: the values are part of the results.
        double value = low;
        while (value <= high) {
            visit(value);
            value += step;
        }
    }
};

/// Scales to try: with n = trunc(width of the uncertainty / step), floor((n + 1) / 2) steps to
/// either side of its middle, which may stop short of its ends by less than a step; none above a
/// lower end below 0.1, and a single one where a step would not fit.
Lattice scaleLattice(const rxRange& scaleUncertainty, const rx_PointMatcherModel& model,
                     double gridSize);

/// Rotations to try at one scale, in degrees.
Lattice rotationLattice(const rxAngleRange& rotationUncertainty, const rx_PointMatcherModel& model,
                        double scale, double gridSize);

/// @throws rxPointMatcherDefs::BadParams  the two lattices together hold more than 2^31 (scale,
///         rotation) pairs, or a step is lost in the rounding of the values it is added to.
void checkLatticeSize(const rxPointMatcherRunParams& params, const rx_PointMatcherModel& model,
                      double gridSize);

/// Pixel of each model point under a scale and a rotation (degrees) about the model centre, without
/// translation; halves are rounded away from zero.
void modelPixels(const SearchGrid& grid, const rx_PointMatcherModel& model, double scale,
                 double rotationDegrees, std::vector<rxPair<long>>& pixels);

/// The pixel that holds a point of the image: coordinates towards zero, as 32-bit integers.
rxPair<long> pixelOf(const rxVector<2>& imagePoint);

/// The pixel nearest to a point; beyond 32 bits (or not a number) a pixel outside every image.
rxPair<long> nearestPixel(const rxVector<2>& imagePoint);

}  // namespace ptmatch::detail
