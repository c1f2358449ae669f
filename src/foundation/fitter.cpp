#include "foundation/fitter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "foundation/two_word.h"

using ptmatch::detail::SplitDouble;
using ptmatch::detail::TwoWord;

namespace {

// The running sums of the fitter.
enum Sum { kPx, kPy, kQx, kQy, kQxQx, kQxQy, kQyQy, kPxQx, kPxQy, kPyQx, kPyQy, kPxPx, kPyPy };

struct Point {
    TwoWord x;
    TwoWord y;
};

/// What the fits work with: means, and sums of products of the deviations from the means.
struct Moments {
    Point pMean;
    Point qMean;
    TwoWord qxqx, qxqy, qyqy;
    TwoWord pxqx, pxqy, pyqx, pyqy;
    double pp;  // sum of |p - pMean|^2
    // Sums of squares that rounding the coordinates can have caused: what does not exceed them is
    // indistinguishable from zero.
    double pNoise;
    double qxNoise;
    double qyNoise;
};

/// A direction of the plane, or a column of a matrix.
struct Column {
    double x;
    double y;
};

[[noreturn]] void refuse(int dof, const std::string& reason) {
    throw rxLSPointToPointFitter::Errors("fit with " + std::to_string(dof) +
                                         " degrees of freedom: " + reason + "\n");
}

/// sqrt(x^2 + y^2) for numbers whose squares may leave the range of double.
double length(double x, double y) {
    const double largest = std::max(std::abs(x), std::abs(y));
    if (largest == 0.0) return 0.0;
    const double u = x / largest;
    const double v = y / largest;
    return largest * std::sqrt(u * u + v * v);
}

/// The part of a sum of squares, taken from the origin, that rounding may have put there.
///
/// The coordinates themselves count as good to 8 eps of their size (eps the spacing of the doubles
/// at 1, so several roundings of a computed point), which makes 64 eps^2 of the sum. The sums are
/// compensated: with n terms their error grows like n eps^2, small beside that until n passes 64.
/// Squares near the smallest normal number have lost digits to underflow.
double roundingNoise(double sumOfSquares, double n) {
    constexpr double kEps = std::numeric_limits<double>::epsilon();
    return (64.0 + n) * (kEps * kEps) * sumOfSquares + n * std::numeric_limits<double>::min();
}

Moments centredMoments(std::span<const double> sums, std::span<const double> residues, double n) {
    const auto sum = [&](Sum k) { return ptmatch::detail::twoSum(sums[k], residues[k]); };
    const TwoWord count{n, 0.0};
    const Point pMean{sum(kPx) / count, sum(kPy) / count};
    const Point qMean{sum(kQx) / count, sum(kQy) / count};
    const auto centred = [&](Sum product, Sum a, const TwoWord& bMean) {
        return sum(product) - sum(a) * bMean;
    };
    const TwoWord pxpx = centred(kPxPx, kPx, pMean.x);
    const TwoWord pypy = centred(kPyPy, kPy, pMean.y);
    return {
        .pMean = pMean,
        .qMean = qMean,
        .qxqx = centred(kQxQx, kQx, qMean.x),
        .qxqy = centred(kQxQy, kQx, qMean.y),
        .qyqy = centred(kQyQy, kQy, qMean.y),
        .pxqx = centred(kPxQx, kPx, qMean.x),
        .pxqy = centred(kPxQy, kPx, qMean.y),
        .pyqx = centred(kPyQx, kPy, qMean.x),
        .pyqy = centred(kPyQy, kPy, qMean.y),
        .pp = std::max(0.0, (pxpx + pypy).toDouble()),
        .pNoise = roundingNoise(sums[kPxPx] + sums[kPyPy], n),
        .qxNoise = roundingNoise(sums[kQxQx], n),
        .qyNoise = roundingNoise(sums[kQyQy], n),
    };
}

/// dof 3 and 4. With points as complex numbers the best similarity is q -> a q for
/// a = sum(p conj(q)) / sum(|q|^2) about the means; the best rotation has the same angle.
rxMatrix<2> rotationAndScale(const Moments& m, bool fixedScale) {
    const int dof = fixedScale ? 3 : 4;
    const double qq = (m.qxqx + m.qyqy).toDouble();
    const double qNoise = m.qxNoise + m.qyNoise;
    if (!(qq > qNoise)) refuse(dof, "the second points lie in one place");

    const double cosine = (m.pxqx + m.pyqy).toDouble();
    const double sine = (m.pyqx - m.pxqy).toDouble();
    const double norm = length(cosine, sine);
    const double noise = std::sqrt(m.pNoise) * std::sqrt(qq) + std::sqrt(qNoise) * std::sqrt(m.pp) +
                         std::sqrt(m.pNoise) * std::sqrt(qNoise);
    if (!(norm > noise)) refuse(dof, "the pairs leave the rotation open");

    const double c = cosine / (fixedScale ? norm : qq);
    const double s = sine / (fixedScale ? norm : qq);
    return rxMatrix<2>(c, -s, s, c);
}

/// The best matrix of any form, and how well the points determine it.
struct AffineSolution {
    Column first;   // where the unit x axis goes
    Column second;  // where the unit y axis goes
    double yFromX;  // sum of the squares of qy that qx does not explain
};

/// dof 6: the normal equations, by elimination of the first column (L D L^T). The difference that
/// decides, `yFromX`, can be as small as the square of the rounding error of the points beside the
/// terms it comes from; hence the two words throughout.
AffineSolution solveAffine(const Moments& m, int dof) {
    const char* const kOnOneLine = "the second points lie on one line";
    const double qxqx = m.qxqx.toDouble();
    if (!(qxqx > m.qxNoise)) refuse(dof, kOnOneLine);

    const TwoWord slope = m.qxqy / m.qxqx;
    const TwoWord yFromX = m.qyqy - slope * m.qxqy;
    // The right side is the noise across the line: that of y, and that of x through the slope.
    if (!(yFromX.toDouble() > m.qyNoise + m.qyqy.toDouble() / qxqx * m.qxNoise)) {
        refuse(dof, kOnOneLine);
    }

    const auto solveRow = [&](const TwoWord& pqx, const TwoWord& pqy) {
        const TwoWord second = (pqy - slope * pqx) / yFromX;
        const TwoWord first = (pqx - second * m.qxqy) / m.qxqx;
        return std::pair(first.toDouble(), second.toDouble());
    };
    const auto [e00, e01] = solveRow(m.pxqx, m.pxqy);
    const auto [e10, e11] = solveRow(m.pyqx, m.pyqy);
    return {{e00, e10}, {e01, e11}, yFromX.toDouble()};
}

/// The unit vector of half the angle of v, with x >= 0.
Column halfAngle(const Column& v) {
    const double norm = length(v.x, v.y);
    const double c = v.x / norm;
    const double s = v.y / norm;
    if (c >= 0.0) {
        const double x = std::sqrt((1.0 + c) / 2.0);
        return {x, s / (2.0 * x)};
    }
    const double y = std::copysign(std::sqrt((1.0 - c) / 2.0), s);
    return {s / (2.0 * y), y};
}

/// dof 5: R diag(sx, sy).
///
/// For a given rotation (c, s) the scales are two separate regressions, and what they explain of p
/// is
///     (c pxqx + s pyqx)^2 / qxqx + (c pyqy - s pxqy)^2 / qyqy,
/// a quadratic form in (c, s); its main axis is the best rotation. Written with the columns a and b
/// of the affine solution as complex numbers (each times the spread of its axis), twice the angle
/// of that axis is the angle of
///     a^2 - b^2,
/// free of the cancellation of the form above.
rxMatrix<2> rotationAndAxisScales(const Moments& m) {
    const AffineSolution affine = solveAffine(m, 5);
    const double qxqx = m.qxqx.toDouble();
    const double qyqy = m.qyqy.toDouble();
    const double xSpread = std::sqrt(qxqx);
    const double ySpread = std::sqrt(qyqy);
    // The columns times the spreads: lengths in units of p, whatever the units of q.
    const Column a{affine.first.x * xSpread, affine.first.y * xSpread};
    const Column b{affine.second.x * ySpread, affine.second.y * ySpread};
    const Column doubled{(a.x * a.x - a.y * a.y) - (b.x * b.x - b.y * b.y),
                         2.0 * (a.x * a.y - b.x * b.y)};

    // Rounding in p and q moves each of the two by `shift` at most.
    const double aNorm = length(a.x, a.y);
    const double bNorm = length(b.x, b.y);
    const double noise = length(std::sqrt(m.pNoise), length(aNorm * std::sqrt(m.qxNoise / qxqx),
                                                            bNorm * std::sqrt(m.qyNoise / qyqy)));
    const double shift = noise * (ySpread / std::sqrt(affine.yFromX));
    if (!(length(doubled.x, doubled.y) > 2.0 * shift * (aNorm + bNorm + shift))) {
        refuse(5, "the pairs leave the rotation open");
    }

    const Column axis = halfAngle(doubled);
    const double xScale = (axis.x * m.pxqx.toDouble() + axis.y * m.pyqx.toDouble()) / qxqx;
    const double yScale = (axis.x * m.pyqy.toDouble() - axis.y * m.pxqy.toDouble()) / qyqy;
    return rxMatrix<2>(axis.x * xScale, -axis.y * yScale, axis.y * xScale, axis.x * yScale);
}

rxMatrix<2> affine(const Moments& m) {
    const AffineSolution solution = solveAffine(m, 6);
    return rxMatrix<2>(solution.first.x, solution.second.x, solution.first.y, solution.second.y);
}

rxMatrix<2> bestMatrix(const Moments& m, int dof) {
    switch (dof) {
        case 3:
            return rotationAndScale(m, true);
        case 4:
            return rotationAndScale(m, false);
        case 5:
            return rotationAndAxisScales(m);
        default:
            return affine(m);
    }
}

/// The translation that takes the mean of q, turned and scaled, to the mean of p. In two words: the
/// two may be large and nearly equal.
rxVector<2> bestTranslation(const Moments& m, const rxMatrix<2>& matrix) {
    const auto row = [&](const TwoWord& pMean, long k) {
        return (pMean - m.qMean.x * matrix.element(k, 0) - m.qMean.y * matrix.element(k, 1))
            .toDouble();
    };
    return rxVector<2>(row(m.pMean.x, 0), row(m.pMean.y, 1));
}

}  // namespace

rxLSPointToPointFitter::rxLSPointToPointFitter(std::span<const rxVector<2>> first,
                                               std::span<const rxVector<2>> second) {
    if (first.size() != second.size()) {
        throw Errors("the fitter needs as many first as second points, has " +
                     std::to_string(first.size()) + " and " + std::to_string(second.size()) + "\n");
    }
    for (std::size_t i = 0; i < first.size(); ++i) update(first[i], second[i]);
}

void rxLSPointToPointFitter::update(const rxVector<2>& p, const rxVector<2>& q) {
    const auto add = [this](Sum k, const TwoWord& term) {
        const TwoWord sum = ptmatch::detail::twoSum(sums_[k], term.high);
        sums_[k] = sum.high;
        residues_[k] += sum.low + term.low;
    };
    const auto addProduct = [&](Sum k, const SplitDouble& a, const SplitDouble& b) {
        add(k, ptmatch::detail::twoProduct(a, b));
    };
    const SplitDouble px(p.x());
    const SplitDouble py(p.y());
    const SplitDouble qx(q.x());
    const SplitDouble qy(q.y());

    ++count_;
    add(kPx, {px.whole, 0.0});
    add(kPy, {py.whole, 0.0});
    add(kQx, {qx.whole, 0.0});
    add(kQy, {qy.whole, 0.0});
    addProduct(kQxQx, qx, qx);
    addProduct(kQxQy, qx, qy);
    addProduct(kQyQy, qy, qy);
    addProduct(kPxQx, px, qx);
    addProduct(kPxQy, px, qy);
    addProduct(kPyQx, py, qx);
    addProduct(kPyQy, py, qy);
    addProduct(kPxPx, px, px);
    addProduct(kPyPy, py, py);
}

void rxLSPointToPointFitter::reset() {
    *this = rxLSPointToPointFitter();
}

rxXform<2> rxLSPointToPointFitter::fit(int dof) const {
    if (dof < 3 || dof > 6) refuse(dof, "the models have 3, 4, 5 or 6");
    const long needed = dof <= 4 ? 2 : 3;
    if (count_ < needed) {
        refuse(dof, std::to_string(needed) + " pairs needed, " + std::to_string(count_) + " given");
    }
    // Sums that overflowed leave a residue that is not finite, so these two see every bad input.
    const auto finite = [](double v) { return std::isfinite(v); };
    if (!std::all_of(sums_.begin(), sums_.end(), finite) ||
        !std::all_of(residues_.begin(), residues_.end(), finite)) {
        refuse(dof, "a coordinate, or its square, is beyond the range of double");
    }

    const Moments m = centredMoments(sums_, residues_, static_cast<double>(count_));
    const rxMatrix<2> matrix = bestMatrix(m, dof);
    const rxXform<2> best(matrix, bestTranslation(m, matrix));
    if (!best.isFinite()) refuse(dof, "the transform is beyond the range of double");
    return best;
}

rxLSPointToPointFitter::Errors::Errors(std::string message)
    : rxExceptionWithString(std::move(message)) {}

rxLSPointToPointFitter::Errors::Errors(const Errors&) noexcept = default;

rxLSPointToPointFitter::Errors& rxLSPointToPointFitter::Errors::operator=(const Errors&) noexcept =
    default;

rxLSPointToPointFitter::Errors::~Errors() = default;

void rxLSPointToPointFitter::Errors::suicideAndRethrow() {
    rfSuicideAndRethrow(this);
}

rxPersistent* rxLSPointToPointFitter::Errors::make() {
    return new Errors(std::string());
}

const rx_Instantiator rxLSPointToPointFitter::Errors::sExemplar(typeid(Errors), &Errors::make,
                                                                "rxLSPointToPointFitter::Errors");
