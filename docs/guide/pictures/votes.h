#pragma once

#include <cstddef>
#include <vector>

#include "drawing.h"

namespace ptmatch::guide {

/// How many model points land on data when the model, turned and scaled, is centred on each cell of
/// a grid over the data: what a search counts, written down literally.
class Votes {
  public:
    /// A data point marks its cell and the eight around it.
    /// @param cell  the grid size, data units.
    Votes(const Points& data, double cell);

    /// Counts for one rotation (radians) and scale.
    void count(const Points& model, double rotationRad, double scale);

    long columns() const { return columns_; }
    long rows() const { return rows_; }
    long at(long column, long row) const { return votes_[index(column, row)]; }
    bool isMarked(long column, long row) const;
    double cell() const { return cell_; }
    /// The share of the cells that is marked.
    double markedShare() const;

    /// The lower corner of a cell, data units.
    rxVector<2> corner(long column, long row) const;

    struct Peak {
        long votes = 0;
        long column = 0;
        long row = 0;
    };
    Peak highest() const;

  private:
    std::size_t index(long column, long row) const {
        return static_cast<std::size_t>(row * columns_ + column);
    }

    double cell_;
    rxVector<2> low_;
    long columns_;
    long rows_;
    std::vector<bool> marks_;
    std::vector<long> votes_;
};

/// Draws the marked cells.
void drawMarks(Page& page, Plot& plot, const Votes& votes);

/// The step between neighbouring rotations of a search, radians: the outermost model point moves by
/// two cells.
double rotationStepRad(const Points& model, double cell);

/// The middle of the bounding box, about which a search turns the model.
rxVector<2> centreOf(const Points& points);

/// The largest distance of a point from that centre.
double radiusOf(const Points& points);

/// The grid size that a search takes by itself.
double automaticGridSize(const Points& model);

}  // namespace ptmatch::guide
