#pragma once

#include <vector>

#include "foundation/archive.h"
#include "foundation/rectangle.h"
#include "foundation/vector.h"

/// The trained pattern: the model points with their weights and what a search derives from them.
/// A plain value; only training and loading change it.
class rx_PointMatcherModel {
  public:
    /// Takes the points, which must be finite and at least one, and derives the rest.
    void train(const std::vector<rxVector<2>>& points);

    /// The same with one weight per point.
    /// @param totalWeight  the sum of the positive weights.
    void train(const std::vector<rxVector<2>>& points, const std::vector<long>& weights,
               long totalWeight);

    bool isTrained() const { return trained_; }

    /// The points in the caller's order.
    const std::vector<rxVector<2>>& points() const { return modelPoints_; }

    /// One weight per point, or empty for a model without weights.
    const std::vector<long>& weights() const { return weights_; }
    bool isWeighted() const { return !weights_.empty(); }

    /// Sum of the positive weights; the number of points where there are no weights.
    long totalWeight() const { return totalWeight_; }

    /// Grid size of a search that is not given one. Infinite when every point has a double.
    double defaultGridSize() const { return defaultGridSize_; }

    /// Bounding box of the points, and its centre.
    const rxRectangle<double>& bounds() const { return modelBounds_; }
    const rxVector<2>& center() const { return modelCenter_; }

    /// Largest distance from the centre to a point; 0 when all points coincide.
    double radius() const { return modelRadius_; }

    /// Relative change of scale between two steps of a search on the given grid.
    /// @param gridSize  the default grid size takes its place unless it is above 0.
    double scaleStep_(double gridSize) const;

    /// Rotation in degrees, [0, 360), between two steps of a search on the given grid with the
    /// model at the given scale.
    /// @param gridSize  the default grid size takes its place unless it is above 0.
    double rotationStep_(double scale, double gridSize) const;

    /// Sum of the weights of the matched points, those whose entry in the map is 0 or more. Reports
    /// to the assertion hook for a model without weights, and then gives 0.
    long matchedWeight(const std::vector<long>& modelToDataMap) const;

    /// Stores or loads the model. A loaded one is checked against itself before it is taken.
    /// @throws rxArchive::Errors for a record that cannot be read or contradicts itself; the model
    ///         keeps its values.
    friend rxArchive& operator||(rxArchive& ar, rx_PointMatcherModel& model);

  private:
    void deriveExtent_();

    /// Refuses values that contradict each other, then derives anew what the points determine, all
    /// but the default grid size, whose cost would let a small record keep a loader busy.
    void settleLoaded_();

    bool trained_ = false;
    double defaultGridSize_ = 0.0;
    rxRectangle<double> modelBounds_;
    rxVector<2> modelCenter_;
    std::vector<rxVector<2>> modelPoints_;
    std::vector<long> weights_;
    double modelRadius_ = 0.0;
    long totalWeight_ = 0;
};

rxArchive& operator||(rxArchive& ar, rx_PointMatcherModel& model);
