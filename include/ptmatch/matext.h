#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <vector>

#include "foundation/archive.h"
#include "foundation/export.h"

/// A dense matrix of doubles of any size with three classic solvers that work in place: Crout's LU
/// decomposition with implicit partial pivoting, substitution with it, and Gauss-Jordan elimination
/// with full pivoting.
///
///     rxMatrixExt a(3, 3);
///     a.element(0, 0, 2.0);                 // ... the others
///     std::vector<long> index(3);
///     std::vector<double> b{1.0, 2.0, 3.0};
///     a.ludcmp(index);                      // a is now its decomposition
///     a.lubksb(index, b);                   // b is now the solution
///
/// For systems of up to some hundred unknowns that are known to be regular. A singular matrix is
/// noticed only by a zero row (`ludcmp`) or by a pivot that is exactly zero (`gaussj`); one that
/// rounding has made regular is solved, and the solution is large and meaningless.
///
/// On random regular systems of up to 64 unknowns the residual |A x - b| of `lubksb` stayed within
/// 1.2 * 2^-52 |A| |x| (largest row sum, largest components). What condition_estimate.h tells about
/// a system has to be asked for. Elements of any size are taken as long as products with a solution
/// stay in the range of double; `gaussj` takes reciprocals of its pivots, which those below 6e-309
/// do not have: what it leaves is then not a number.
///
/// The results do not depend on the platform, the compiler or its options: every element undergoes
/// the operations stated here, each rounded once, in the order stated here. The loops run over the
/// elements in another order, which is faster and gives the same bits.
///
/// A plain value; a moved-from matrix is 0 x 0. Const members from any number of threads at once.
class PTMATCH_EXPORT rxMatrixExt {
  public:
    /// The operation needs a square matrix.
    class PTMATCH_EXPORT NotSquareMatrix {};
    /// The matrix cannot be decomposed or inverted.
    class PTMATCH_EXPORT SingularMatrix {};

    /// 0 x 0.
    rxMatrixExt() = default;
    /// As `resize(rows, cols)` of a new matrix.
    rxMatrixExt(long rows, long cols);

    rxMatrixExt(const rxMatrixExt&) = default;
    rxMatrixExt(rxMatrixExt&& other) noexcept;
    /// When memory runs out, the matrix is what it was.
    rxMatrixExt& operator=(const rxMatrixExt& other);
    rxMatrixExt& operator=(rxMatrixExt&& other) noexcept;
    ~rxMatrixExt() = default;

    /// Gives the matrix new sizes and sets all elements to zero, also when the sizes stay.
    /// @throws std::length_error: a size is negative or above 2^31 - 1, or rows x cols is above
    ///     2^31 - 1.   @throws std::bad_alloc.   The matrix is then what it was.
    void resize(long rows, long cols);

    /// The number of rows.
    long rows() const { return rows_; }
    /// The number of columns.
    long cols() const { return cols_; }
    /// 1 when neither size is zero, else 0.
    long isBound() const { return rows_ != 0 && cols_ != 0 ? 1 : 0; }

    /// Sets an element. An r or c outside the sizes is reported to the assertion hook (code 88);
    /// the element number r * cols + c of the sequence, row after row, is then set all the same.
    /// @throws std::out_of_range: the sequence has no such element; nothing is set.
    void element(long r, long c, double value);
    /// The element number r * cols + c of the sequence, row after row. Reports nothing.
    /// @throws std::out_of_range: the sequence has no such element.
    double element(long r, long c) const { return data_[index_(r, c)]; }

    /// The address of the first element of row r; null for a matrix without elements. An r outside
    /// the rows is reported to the assertion hook (code 82) and its address, at which nothing may
    /// be read, returned all the same.   Valid until the sizes change.
    double* pointToRow(long r);
    /// The same address, for reading.
    const double* pointToRow(long r) const;

    /// A copy of row r.   @throws std::out_of_range: there is no such row of elements.
    std::vector<double> operator[](long r) const;

    /// Replaces the matrix by its LU decomposition: below the diagonal L, whose diagonal is one,
    /// and on and above it U, of the matrix with its rows exchanged.
    ///
    /// The pivot of a column is the candidate that is largest in proportion to the largest element
    /// of its row as it was in the beginning; the first one, if several are. A column in which no
    /// candidate is above zero takes the pivot row of the column before (row 0, if it is the first
    /// column), be that row done already or not. A pivot that is exactly zero becomes 1e-40.
    ///
    /// @param index  receives, for each column, the row that was exchanged with it, in the first
    ///     rows() elements; the others are left alone.
    /// @throws NotSquareMatrix, or std::out_of_range: index is shorter than that. Nothing has been
    ///     changed.
    /// @throws SingularMatrix: a row holds only zeros (or nothing that is above zero, for a row of
    ///     not-a-numbers). Nothing has been changed.
    /// Cost n^3 / 3 multiplications and subtractions; allocates nothing for up to 8 rows, else 33 n
    /// doubles before anything is changed.
    void ludcmp(std::span<long> index);

    /// Solves A x = b with the decomposition of A that this matrix holds.
    ///
    /// @param index  as `ludcmp` has left it.
    /// @param b      the right-hand side in its first rows() elements; receives x.
    /// @throws NotSquareMatrix, or std::out_of_range: index or b is shorter than rows(), or index
    ///     holds a number that is not one of a row. b is what it was.
    /// Cost n^2 multiplications and subtractions, no allocation. The back substitution takes each
    /// sum in ascending order of the unknowns, the last one found first: it waits for each of its
    /// subtractions.
    void lubksb(std::span<const long> index, std::span<double> b) const;

    /// Replaces the matrix by its inverse, and b by the solutions X of A X = b.
    ///
    /// The pivot of a pass is the element of largest magnitude in the rows and columns that have
    /// had none; the last one in the order of the rows, if several are.
    ///
    /// The sizes are not checked, but for what follows: with more columns than rows, only the
    /// leading square is inverted, and what is left of it is meaningless.
    /// @param b  another matrix of as many rows; one without columns if only the inverse is wanted.
    /// @throws SingularMatrix: a pivot is exactly zero, or a column comes to be used twice (only
    ///     elements that are not numbers can bring that about). Both matrices are then left partly
    ///     transformed.
    /// @throws std::out_of_range: elements would be addressed that are not there, as this matrix
    ///     has fewer columns than rows, or b, which has columns, fewer rows than this matrix.
    ///     Nothing has been changed.
    /// @throws std::invalid_argument: b is this matrix itself. Nothing has been changed.
    /// Cost n^2 (n + m) multiplications and subtractions; allocates 3 n numbers before anything is
    /// changed.
    void gaussj(rxMatrixExt& b);

    /// Does nothing: the matrix stays what it is. `gaussj` inverts.
    void invert() {}

    /// Exact equality of the sizes and of all elements.
    bool operator==(const rxMatrixExt& other) const = default;

    /// Stores or loads the sizes and the elements.
    /// @throws rxArchive::UnknownVersion: another version than 1100, or of the sequence than 0.
    /// @throws rxArchive::Errors: a size is negative, the number of elements is not rows x cols, or
    ///     the record is cut off. The matrix is then what it was.
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxMatrixExt& matrix);

  private:
    bool isInside_(long r, long c) const { return r >= 0 && r < rows_ && c >= 0 && c < cols_; }
    std::size_t index_(long r, long c) const {
        if (!isInside_(r, c)) return indexOutside_(r, c);
        return static_cast<std::size_t>(r) * static_cast<std::size_t>(cols_) +
               static_cast<std::size_t>(c);
    }
    std::size_t indexOutside_(long r, long c) const;

    // data_ holds rows_ x cols_ elements at all times.
    long cols_ = 0;
    long rows_ = 0;
    std::vector<double> data_;
};

template <>
struct rx_MinimalRecordSize<rxMatrixExt> : std::integral_constant<std::uint64_t, 17> {};

PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rxMatrixExt& matrix);
