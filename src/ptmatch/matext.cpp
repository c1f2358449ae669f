#include "ptmatch/matext.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include "foundation/assertion.h"

namespace {

// Codes of this class at the assertion hook.
constexpr int kElementOutside = 88;
constexpr int kRowOutside = 82;

// An archive records sizes in 32 bits, and a row or an element has a 32-bit number.
constexpr std::int64_t kMaxSize = std::numeric_limits<std::int32_t>::max();

bool isSize(long value) {
    return value >= 0 && value <= kMaxSize;
}

std::size_t requireNumElements(long rows, long cols) {
    // The product of two sizes fits 64 bits.
    if (isSize(rows) && isSize(cols) && std::int64_t{rows} * cols <= kMaxSize) {
        return static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols);
    }
    throw std::length_error("rxMatrixExt: no matrix has " + std::to_string(rows) + " x " +
                            std::to_string(cols) +
                            " elements; give sizes of at least 0 whose product is below 2^31");
}

bool fits32Bits(long value) {
    return value >= std::numeric_limits<std::int32_t>::min() && value <= kMaxSize;
}

}  // namespace

rxMatrixExt::rxMatrixExt(long rows, long cols) {
    resize(rows, cols);
}

rxMatrixExt::rxMatrixExt(rxMatrixExt&& other) noexcept
    : cols_(std::exchange(other.cols_, 0)),
      rows_(std::exchange(other.rows_, 0)),
      data_(std::exchange(other.data_, {})) {}

rxMatrixExt& rxMatrixExt::operator=(const rxMatrixExt& other) {
    // The elements first: theirs is the only assignment that can fail.
    data_ = other.data_;
    cols_ = other.cols_;
    rows_ = other.rows_;
    return *this;
}

rxMatrixExt& rxMatrixExt::operator=(rxMatrixExt&& other) noexcept {
    rxMatrixExt moved(std::move(other));
    std::swap(cols_, moved.cols_);
    std::swap(rows_, moved.rows_);
    data_.swap(moved.data_);
    return *this;
}

void rxMatrixExt::resize(long rows, long cols) {
    data_.assign(requireNumElements(rows, cols), 0.0);
    cols_ = cols;
    rows_ = rows;
}

std::size_t rxMatrixExt::indexOutside_(long r, long c) const {
    if (fits32Bits(r) && fits32Bits(c)) {
        const std::int64_t index = std::int64_t{r} * cols_ + c;
        if (index >= 0 && index < static_cast<std::int64_t>(data_.size())) {
            return static_cast<std::size_t>(index);
        }
    }
    throw std::out_of_range("rxMatrixExt: element (" + std::to_string(r) + ", " +
                            std::to_string(c) + ") of a matrix of " + std::to_string(rows_) +
                            " x " + std::to_string(cols_));
}

void rxMatrixExt::element(long r, long c, double value) {
    if (!isInside_(r, c)) rfReportAssertion(kElementOutside);
    data_[index_(r, c)] = value;
}

const double* rxMatrixExt::pointToRow(long r) const {
    const bool isRow = r >= 0 && r < rows_;
    if (!isRow) rfReportAssertion(kRowOutside);
    // A vector that has lost its elements may still have an address.
    if (data_.empty()) return nullptr;
    if (isRow) return data_.data() + static_cast<std::size_t>(r) * static_cast<std::size_t>(cols_);
    // No pointer may be moved out of the elements, but an address can be computed, modulo 2^N.
    const std::uintptr_t offset = static_cast<std::uintptr_t>(r) *
                                  static_cast<std::uintptr_t>(cols_) *
                                  static_cast<std::uintptr_t>(sizeof(double));
    // NOLINTNEXTLINE(performance-no-int-to-ptr): nobody may read there.
    return reinterpret_cast<const double*>(reinterpret_cast<std::uintptr_t>(data_.data()) + offset);
}

double* rxMatrixExt::pointToRow(long r) {
    return const_cast<double*>(std::as_const(*this).pointToRow(r));
}

std::vector<double> rxMatrixExt::operator[](long r) const {
    // A row without elements lies outside of nothing.
    if (cols_ == 0) return {};
    if (r < 0 || r >= rows_) {
        throw std::out_of_range("rxMatrixExt: row " + std::to_string(r) + " of a matrix of " +
                                std::to_string(rows_) + " rows");
    }
    const auto first = data_.begin() + static_cast<std::ptrdiff_t>(r) * cols_;
    return {first, first + cols_};
}
