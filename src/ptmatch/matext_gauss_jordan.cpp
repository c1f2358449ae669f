#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <utility>
#include <vector>

#include "ptmatch/matext.h"

namespace {

// row -= factor * pivotRow
void subtractMultiple(double* row, const double* pivotRow, double factor, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k) row[k] -= factor * pivotRow[k];
}

// The same, and tells whether an element of the row, weighted, has become as large as `big`.
// The weights are 1 for the elements that may be pivots and 0 for those that may not. Comparing in
// passing lets the compiler do several elements at a time; which one it is matters rarely.
bool subtractAndCompare(double* row, const double* pivotRow, double factor, const double* weights,
                        double big, std::size_t n) {
    std::int64_t isReached = 0;
    for (std::size_t k = 0; k < n; ++k) {
        const double difference = row[k] - factor * pivotRow[k];
        row[k] = difference;
        if (std::abs(difference) * weights[k] >= big) isReached = 1;
    }
    return isReached != 0;
}

// Each element undergoes the operations of the elimination as it is written down, pass after pass.
// Only the search for the next pivot is not a sweep of its own: a row is searched as soon as it is
// updated. The rows come in the same order, so the same pivot is found.
class Elimination {
  public:
    Elimination(double* a, std::size_t n, std::size_t width, double* b, std::size_t numRightHands)
        : a_(a), n_(n), width_(width), b_(b), m_(numRightHands), mayBePivot_(n, 1.0) {
        pivots_.reserve(n);
    }

    void run() {
        for (std::size_t row = 0; row < n_; ++row) searchRow(row);
        for (std::size_t pass = 0; pass < n_; ++pass) {
            if (isUsedTwice_) throw rxMatrixExt::SingularMatrix();
            useFoundPivot();
            eliminate(pivots_.back().col);
        }
        unscramble();
    }

  private:
    struct Pivot {
        std::size_t row = 0;
        std::size_t col = 0;
    };

    double* rowOfA(std::size_t row) { return a_ + row * width_; }
    double* rowOfB(std::size_t row) { return b_ + row * m_; }

    void searchRow(std::size_t row) {
        for (std::size_t col = 0; col < n_; ++col) {
            const double magnitude = std::abs(rowOfA(row)[col]);
            // Not strictly above: of equal candidates the last one wins.
            if (mayBePivot_[col] != 0.0 && magnitude >= big_) {
                big_ = magnitude;
                found_ = {row, col};
            }
        }
    }

    // Brings the pivot that was found to the diagonal and divides its row by it. If none was found,
    // because nothing that is left is a number, found_ still tells the one before.
    void useFoundPivot() {
        const auto [row, col] = found_;
        isUsedTwice_ = mayBePivot_[col] == 0.0;
        mayBePivot_[col] = 0.0;
        if (row != col) {
            std::swap_ranges(rowOfA(row), rowOfA(row) + width_, rowOfA(col));
            std::swap_ranges(rowOfB(row), rowOfB(row) + m_, rowOfB(col));
        }
        pivots_.push_back(found_);
        double& pivot = rowOfA(col)[col];
        if (pivot == 0.0) throw rxMatrixExt::SingularMatrix();
        const double inverse = 1.0 / pivot;
        pivot = 1.0;
        for (std::size_t k = 0; k < width_; ++k) rowOfA(col)[k] *= inverse;
        for (std::size_t k = 0; k < m_; ++k) rowOfB(col)[k] *= inverse;
    }

    // Subtracts multiples of the pivot's row from all others and finds the next pivot.
    void eliminate(std::size_t pivotRow) {
        big_ = 0.0;
        for (std::size_t row = 0; row < n_; ++row) {
            if (row == pivotRow) continue;
            double& below = rowOfA(row)[pivotRow];
            const double factor = std::exchange(below, 0.0);
            // A row has had its pivot when the column of that number has: they were exchanged.
            if (mayBePivot_[row] == 0.0) {
                subtractMultiple(rowOfA(row), rowOfA(pivotRow), factor, n_);
            } else if (subtractAndCompare(rowOfA(row), rowOfA(pivotRow), factor, mayBePivot_.data(),
                                          big_, n_)) {
                searchRow(row);
            }
            subtractMultiple(rowOfB(row), rowOfB(pivotRow), factor, m_);
        }
    }

    // The exchanges of rows have exchanged columns of the inverse; they are undone backwards.
    void unscramble() {
        for (std::size_t row = 0; row < n_; ++row) {
            double* const elements = rowOfA(row);
            for (auto pivot = pivots_.rbegin(); pivot != pivots_.rend(); ++pivot) {
                std::swap(elements[pivot->row], elements[pivot->col]);
            }
        }
    }

    double* a_;
    std::size_t n_;
    std::size_t width_;
    double* b_;
    std::size_t m_;
    std::vector<double> mayBePivot_;  // 1 for columns that have had none, else 0
    std::vector<Pivot> pivots_;
    Pivot found_;
    double big_ = 0.0;
    bool isUsedTwice_ = false;
};

}  // namespace

void rxMatrixExt::gaussj(rxMatrixExt& b) {
    if (&b == this) {
        throw std::invalid_argument(
            "rxMatrixExt::gaussj: the right-hand side is the matrix itself");
    }
    if (cols_ < rows_ || (b.cols_ > 0 && b.rows_ < rows_)) {
        throw std::out_of_range(
            "rxMatrixExt::gaussj: needs as many columns and as many rows of the right-hand side as "
            "the matrix has rows");
    }
    Elimination(data_.data(), static_cast<std::size_t>(rows_), static_cast<std::size_t>(cols_),
                b.data_.data(), static_cast<std::size_t>(b.cols_))
        .run();
}
