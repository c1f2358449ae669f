// Crout's decomposition, written down column by column, each of its elements a running subtraction
//
//     a(i, j) -= a(i, k) * a(k, j)   for k = 0, 1, ... min(i, j) - 1, in this order
//
// whose factors are final: a(i, k) since column k was done, a(k, j) since row k of column j was.
// The bits of an element follow from its own sequence of operations alone. So the elements of
// several columns can take turns at will, as long as each keeps its sequence and no factor is used
// before it is final, and that is all that is done here:
//
// 1. A panel of columns is copied out of the matrix and first takes all products with the columns
//    left of it; then, a tile of eight columns at a time, those with the tiles left of it in the
//    panel; and then the columns of the tile, one after another, those with the columns left of
//    them. Eight columns make the inner loop, two rows share what it loads, and the running
//    differences stay in registers.
// 2. The exchanges of rows are made in the matrix and in the panel, each of them between two whole
//    rows, so that the differences go on from where they were, with the factors of their own row.
// 3. An exchange with a row above (its column had no candidate) is different: that row has had the
//    products of fewer columns than its new place demands, and the row it changes with has had too
//    many. So the panel ends at such a column. What lies right of it stands in the matrix as it was
//    given, only exchanged, which is the state from which Crout's next column would start, and from
//    which the next panel does.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <stdexcept>

#include "ptmatch/matext.h"

namespace {

// The pivot that stands in for one that is exactly zero.
constexpr double kTinyPivot = 1e-40;

constexpr std::size_t kTileWidth = 8;
// A wider panel reads the columns left of it less often, a narrower one stays in the nearest cache.
constexpr std::size_t kPanelWidth = 4 * kTileWidth;

// Subtracts from the tiles of Rows rows, of the given stride, the products of `left` (one row of
// `count` factors each, of stride leftStride) and the tiles of `count` rows at `upper`.
template <std::size_t Rows>
void subtractProducts(double* tiles, std::size_t stride, const double* left, std::size_t leftStride,
                      const double* upper, std::size_t count) {
    double differences[Rows][kTileWidth];
    for (std::size_t r = 0; r < Rows; ++r) {
        for (std::size_t c = 0; c < kTileWidth; ++c) differences[r][c] = tiles[r * stride + c];
    }
    for (std::size_t k = 0; k < count; ++k) {
        for (std::size_t r = 0; r < Rows; ++r) {
            const double factor = left[r * leftStride + k];
            for (std::size_t c = 0; c < kTileWidth; ++c) {
                differences[r][c] -= factor * upper[k * stride + c];
            }
        }
    }
    for (std::size_t r = 0; r < Rows; ++r) {
        for (std::size_t c = 0; c < kTileWidth; ++c) tiles[r * stride + c] = differences[r][c];
    }
}

// Divides the elements below a pivot by it and subtracts the products of that column from what is
// right of it in the tile. The column of the pivot in its tile is known when this is compiled, so
// that the inner loop is.
template <std::size_t Column>
void eliminateBelow(double* pivotRow, std::size_t stride, std::size_t numBelow) {
    const double pivot = pivotRow[Column];
    std::array<double, kTileWidth> upper{};
    std::copy_n(pivotRow, kTileWidth, upper.begin());
    for (std::size_t i = 1; i <= numBelow; ++i) {
        double* const row = pivotRow + i * stride;
        const double factor = row[Column] / pivot;
        row[Column] = factor;
        for (std::size_t c = Column + 1; c < kTileWidth; ++c) row[c] -= factor * upper[c];
    }
}

constexpr std::array<void (*)(double*, std::size_t, std::size_t), kTileWidth> kEliminateBelow{
    eliminateBelow<0>, eliminateBelow<1>, eliminateBelow<2>, eliminateBelow<3>,
    eliminateBelow<4>, eliminateBelow<5>, eliminateBelow<6>, eliminateBelow<7>};

class Decomposition {
  public:
    // Takes all memory and finds the rows of zeros before anything is changed.
    Decomposition(double* matrix, std::size_t n, std::span<long> index)
        : a_(matrix), n_(n), index_(index) {
        if (n_ > kTileWidth) {
            largeScale_.resize(n_);
            panel_.resize(n_ * kPanelWidth);
            scale_ = largeScale_;
        }
        for (std::size_t i = 0; i < n_; ++i) scale_[i] = scaleOfRow(i);
    }

    void run() {
        // Small systems are the most frequent ones; a panel would cost them more than it saves.
        if (n_ <= kTileWidth) {
            decomposeSmall();
            return;
        }
        std::size_t width = kPanelWidth;
        for (std::size_t begin = 0; begin < n_;) {
            const std::size_t end = std::min(begin + width, n_);
            const std::size_t done = decomposePanel(begin, end);
            // Columns without a candidate come in company: do not prepare many that are not used.
            width = done < end ? kTileWidth : kPanelWidth;
            begin = done;
        }
    }

  private:
    double scaleOfRow(std::size_t i) const {
        double big = 0.0;
        for (std::size_t j = 0; j < n_; ++j) {
            const double magnitude = std::abs(a_[i * n_ + j]);
            if (magnitude > big) big = magnitude;
        }
        if (big == 0.0) throw rxMatrixExt::SingularMatrix();
        return 1.0 / big;
    }

    // Finds the pivot row of column j, whose elements stand at the given stride, and exchanges the
    // scales as the rows will be. pivotRow_ is not reset: see ludcmp.
    void choosePivot(std::size_t j, const double* column, std::size_t stride) {
        double big = 0.0;
        for (std::size_t i = j; i < n_; ++i) {
            const double candidate = scale_[i] * std::abs(column[i * stride]);
            // Strictly above: of equal candidates the first one wins.
            if (candidate > big) {
                big = candidate;
                pivotRow_ = i;
            }
        }
        index_[j] = static_cast<long>(pivotRow_);
        // The scale of the pivot's row is not needed again.
        if (pivotRow_ != j) scale_[pivotRow_] = scale_[j];
    }

    void exchangeRows(double* rows, std::size_t stride, std::size_t j) const {
        if (pivotRow_ == j) return;
        std::swap_ranges(rows + j * stride, rows + (j + 1) * stride, rows + pivotRow_ * stride);
    }

    static void replaceZero(double& pivot) {
        if (pivot == 0.0) pivot = kTinyPivot;
    }

    // In a tile beside the matrix, which keeps what was given until the end.
    void decomposeSmall() {
        const std::array<double, kTileWidth> scales = smallScale_;
        std::array<double, kTileWidth * kTileWidth> tile{};
        for (std::size_t i = 0; i < n_; ++i) {
            std::copy_n(a_ + i * n_, n_, tile.data() + i * kTileWidth);
        }
        for (std::size_t j = 0; j < n_; ++j) {
            choosePivot(j, tile.data() + j, kTileWidth);
            if (pivotRow_ < j) {
                smallScale_ = scales;
                decomposePlainly();
                return;
            }
            exchangeRows(tile.data(), kTileWidth, j);
            double* const row = tile.data() + j * kTileWidth;
            replaceZero(row[j]);
            kEliminateBelow[j](row, kTileWidth, n_ - j - 1);
        }
        for (std::size_t i = 0; i < n_; ++i) {
            std::copy_n(tile.data() + i * kTileWidth, n_, a_ + i * n_);
        }
    }

    void decomposePlainly() {
        pivotRow_ = 0;
        for (std::size_t j = 0; j < n_; ++j) {
            for (std::size_t i = 1; i < n_; ++i) {
                double difference = a_[i * n_ + j];
                for (std::size_t k = 0; k < std::min(i, j); ++k) {
                    difference -= a_[i * n_ + k] * a_[k * n_ + j];
                }
                a_[i * n_ + j] = difference;
            }
            choosePivot(j, a_ + j, n_);
            exchangeRows(a_, n_, j);
            replaceZero(a_[j * n_ + j]);
            for (std::size_t i = j + 1; i < n_; ++i) a_[i * n_ + j] /= a_[j * n_ + j];
        }
    }

    // Decomposes the columns from begin to end, or to the first one without a candidate.
    // @return the column after the last one that is done.
    std::size_t decomposePanel(std::size_t begin, std::size_t end) {
        for (std::size_t i = 0; i < n_; ++i) {
            std::copy_n(a_ + i * n_ + begin, end - begin, panel_.data() + i * kPanelWidth);
        }
        // Columns beyond the end, of a last panel that is narrower, hold remains and are not used.
        for (std::size_t j = begin; j < end; j += kTileWidth) {
            subtractColumns(panel_.data() + (j - begin), 0, begin);
        }
        for (std::size_t j = begin; j < end; j += kTileWidth) {
            double* const tile = panel_.data() + (j - begin);
            subtractColumns(tile, begin, j);
            const std::size_t tileEnd = std::min(j + kTileWidth, end);
            const std::size_t done = decomposeTile(tile, j, tileEnd);
            for (std::size_t i = 0; i < n_; ++i) {
                std::copy_n(tile + i * kPanelWidth, done - j, a_ + i * n_ + j);
            }
            if (hasGoneBack_) return done;
        }
        return end;
    }

    // Subtracts from a tile of the panel the products of the columns from begin to end, which are
    // done.
    void subtractColumns(double* tile, std::size_t begin, std::size_t end) const {
        const double* const upper = tile + begin * kPanelWidth;
        std::size_t i = begin;
        for (; i + 1 < n_; i += 2) {
            double* const row = tile + i * kPanelWidth;
            const double* const left = a_ + i * n_ + begin;
            subtractProducts<2>(row, kPanelWidth, left, n_, upper, std::min(i, end) - begin);
            // The second row takes one more, with the first one as it has just become.
            if (i < end) {
                subtractProducts<1>(row + kPanelWidth, kPanelWidth, a_ + (i + 1) * n_ + i, n_, row,
                                    1);
            }
        }
        if (i < n_) {
            subtractProducts<1>(tile + i * kPanelWidth, kPanelWidth, a_ + i * n_ + begin, n_, upper,
                                std::min(i, end) - begin);
        }
    }

    std::size_t decomposeTile(double* tile, std::size_t begin, std::size_t end) {
        for (std::size_t j = begin; j < end; ++j) {
            const std::size_t c = j - begin;
            choosePivot(j, tile + c, kPanelWidth);
            exchangeRows(a_, n_, j);
            exchangeRows(panel_.data(), kPanelWidth, j);
            double* const row = tile + j * kPanelWidth;
            replaceZero(row[c]);
            kEliminateBelow[c](row, kPanelWidth, n_ - j - 1);
            hasGoneBack_ = pivotRow_ < j;
            if (hasGoneBack_) return j + 1;
        }
        return end;
    }

    double* a_;
    std::size_t n_;
    std::span<long> index_;
    std::array<double, kTileWidth> smallScale_{};
    std::vector<double> largeScale_;
    std::span<double> scale_ = smallScale_;  // 1 over the largest element of each row
    std::vector<double> panel_;              // n rows of kPanelWidth
    std::size_t pivotRow_ = 0;
    bool hasGoneBack_ = false;
};

}  // namespace

void rxMatrixExt::ludcmp(std::span<long> index) {
    if (rows_ != cols_) throw NotSquareMatrix();
    const auto n = static_cast<std::size_t>(rows_);
    if (index.size() < n) {
        throw std::out_of_range("rxMatrixExt::ludcmp: the index is shorter than the matrix");
    }
    Decomposition(data_.data(), n, index).run();
}
