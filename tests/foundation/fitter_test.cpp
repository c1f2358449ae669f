#include "foundation/fitter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "foundation/memory_archive.h"
#include "foundation/persistent.h"

namespace {

using Fitter = rxLSPointToPointFitter;
using Points = std::vector<rxVector<2>>;

constexpr double kEps = std::numeric_limits<double>::epsilon();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = std::numbers::pi;
constexpr int kModels[] = {3, 4, 5, 6};

Points mapped(const rxXform<2>& xform, const Points& points) {
    Points result;
    for (const auto& point : points) result.push_back(xform * point);
    return result;
}

/// Random transforms and points, from a seed that each test prints.
class World {
  public:
    explicit World(unsigned seed) : engine_(seed) {}

    double uniform(double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(engine_);
    }

    rxVector<2> pointAround(const rxVector<2>& centre, double spread) {
        return rxVector<2>(centre.x() + uniform(-spread, spread),
                           centre.y() + uniform(-spread, spread));
    }

    Points pointsAround(const rxVector<2>& centre, double spread, int count) {
        Points points;
        for (int i = 0; i < count; ++i) points.push_back(pointAround(centre, spread));
        return points;
    }

    /// A transform of the model, of about unit size, well away from those the model leaves open.
    rxXform<2> transform(int dof) {
        const rxRadian turn(uniform(-kPi, kPi));
        const rxVector<2> trans(uniform(-1.0, 1.0), uniform(-1.0, 1.0));
        const double scale = uniform(0.5, 2.0);
        switch (dof) {
            case 3:
                return rxXform<2>(trans, turn, turn, 1.0, 1.0);
            case 4:
                return rxXform<2>(trans, turn, turn, scale, scale);
            case 5:
                return rxXform<2>(trans, turn, turn, scale, mirror() * uniform(0.5, 2.0));
            default: {
                const rxRadian shear(turn.toDouble() + uniform(-1.0, 1.0));
                return rxXform<2>(trans, turn, shear, scale, mirror() * uniform(0.5, 2.0));
            }
        }
    }

  private:
    double mirror() { return uniform(0.0, 1.0) < 0.5 ? -1.0 : 1.0; }

    std::mt19937 engine_;
};

/// The largest distance between the images of the points under two transforms.
double largestDifference(const rxXform<2>& a, const rxXform<2>& b, const Points& points) {
    double largest = 0.0;
    for (const auto& point : points) {
        const double distance = (a * point - b * point).len();
        if (!(distance <= largest)) largest = distance;
    }
    return largest;
}

double largestCoordinate(const Points& points) {
    double largest = 0.0;
    for (const auto& point : points) {
        largest = std::max({largest, std::abs(point.x()), std::abs(point.y())});
    }
    return largest;
}

double sumOfSquares(const rxXform<2>& xform, const Points& p, const Points& q) {
    double sum = 0.0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        const rxVector<2> residual = xform * q[i] - p[i];
        sum += residual.x() * residual.x() + residual.y() * residual.y();
    }
    return sum;
}

std::string refusal(const Points& p, const Points& q, int dof) {
    try {
        const rxXform<2> xform = Fitter(p, q).fit(dof);
        return "fitted, translation " + std::to_string(xform.trans().x());
    } catch (const Fitter::Errors& error) {
        return error.what();
    }
}

TEST(LSPointToPointFitter, GivesBackTheTransformThatMadeThePairs) {
    const unsigned seed = 20011;
    SCOPED_TRACE(seed);
    World world(seed);
    for (int dof : kModels) {
        for (int round = 0; round < 2000; ++round) {
            const int count = 3 + round % 20;
            const Points q = world.pointsAround(rxVector<2>(), 1.0, count);
            const rxXform<2> expected = world.transform(dof);
            const rxXform<2> fitted = Fitter(mapped(expected, q), q).fit(dof);
            // Three points can be nearly on one line: what is off the line is then all there is to
            // hold the answer, but the points themselves are met all the same.
            EXPECT_LE(largestDifference(fitted, expected, q), 64.0 * kEps) << dof << " " << round;
        }
    }
}

TEST(LSPointToPointFitter, TwoPairsAreEnoughForARigidOrSimilarTransform) {
    const unsigned seed = 20012;
    SCOPED_TRACE(seed);
    World world(seed);
    for (int dof : {3, 4}) {
        for (int round = 0; round < 500; ++round) {
            const Points q = world.pointsAround(rxVector<2>(), 1.0, 2);
            const rxXform<2> expected = world.transform(dof);
            const rxXform<2> fitted = Fitter(mapped(expected, q), q).fit(dof);
            EXPECT_LE(largestDifference(fitted, expected, q), 64.0 * kEps) << dof << " " << round;
        }
    }
}

TEST(LSPointToPointFitter, OffsetAndUnitOfBothSidesDoNotMatter) {
    const unsigned seed = 20013;
    SCOPED_TRACE(seed);
    World world(seed);
    for (int dof : kModels) {
        for (double offset : {0.0, 1.0, 1e3, 1e6, 1e8}) {
            for (double unit : {1e-6, 1e-3, 1.0, 1e3, 1e9}) {
                // At dof 3 both sides have one unit.
                const double otherUnit = dof == 3 ? unit : 1.0 / unit;
                const rxXform<2> toUnit(rxVector<2>(offset * unit, -2.0 * offset * unit),
                                        rxRadian(), rxRadian(), unit, unit);
                const rxXform<2> toOther(rxVector<2>(-offset * otherUnit, offset * otherUnit),
                                         rxRadian(), rxRadian(), otherUnit, otherUnit);
                const rxXform<2> inMiddle = world.transform(dof);
                const Points plain = world.pointsAround(rxVector<2>(), 100.0, 12);
                const Points q = mapped(toUnit, plain);
                const Points p = mapped(toOther * inMiddle, plain);
                const rxXform<2> expected = toOther * inMiddle * toUnit.inverse();

                const rxXform<2> fitted = Fitter(p, q).fit(dof);
                double worst = 0.0;
                for (std::size_t i = 0; i < q.size(); ++i) {
                    worst = std::max(worst, (fitted * q[i] - p[i]).len());
                }
                // Nothing is lost beside the rounding of the coordinates as they are given: that of
                // p, and that of q as the transform carries it over.
                const double stretch = dof == 3 ? 1.0 : otherUnit / unit;
                const double size = largestCoordinate(p) + 3.0 * stretch * largestCoordinate(q);
                EXPECT_LE(worst, 16.0 * kEps * size) << dof << " " << offset << " " << unit;
                EXPECT_LE(std::abs(fitted.xScale() / expected.xScale() - 1.0),
                          64.0 * kEps * (1.0 + offset / 100.0));
            }
        }
    }
}

TEST(LSPointToPointFitter, AHundredMillionAwayAMillionthOfTheSpreadIsRight) {
    const unsigned seed = 20014;
    SCOPED_TRACE(seed);
    World world(seed);
    const double spread = 100.0;
    for (int dof : kModels) {
        for (double unit : {1e-6, 1.0, 1e9}) {
            const rxVector<2> centre(1e8 * unit, -1e8 * unit);
            const Points q = world.pointsAround(centre, spread * unit, 25);
            const rxXform<2> turn = world.transform(dof);
            const Points p = mapped(turn, q);
            const rxXform<2> fitted = Fitter(p, q).fit(dof);
            EXPECT_LE(largestDifference(fitted, turn, q), 1e-6 * spread * unit) << dof;
        }
    }
}

TEST(LSPointToPointFitter, AnOutlyingPairCostsNoAccuracyFirstOrLast) {
    const unsigned seed = 20015;
    SCOPED_TRACE(seed);
    World world(seed);
    const double spread = 100.0;
    for (int dof : kModels) {
        for (const rxVector<2>& centre : {rxVector<2>(1e8, 0.0), rxVector<2>(1e8, 1e8)}) {
            const rxXform<2> expected = world.transform(dof);
            const Points cluster = world.pointsAround(centre, spread, 20);
            Points outlierFirst = cluster;
            outlierFirst.insert(outlierFirst.begin(), rxVector<2>());
            Points outlierLast = cluster;
            outlierLast.push_back(rxVector<2>());
            for (const Points& q : {outlierFirst, outlierLast}) {
                const rxXform<2> fitted = Fitter(mapped(expected, q), q).fit(dof);
                EXPECT_LE(largestDifference(fitted, expected, q), 1e-6 * spread) << dof;
            }
        }
    }
}

TEST(LSPointToPointFitter, OnePairOffARowOfAMillionIsEnough) {
    const rxXform<2> expected(rxVector<2>(5.0, -7.0), rxRadian(0.3), rxRadian(0.3), 1.5, 0.75);
    for (double direction : {0.0, 0.4, kPi / 2.0}) {
        const rxVector<2> along(std::cos(direction), std::sin(direction));
        const rxVector<2> off(100.0 * along.x() - along.y(), 100.0 * along.y() + along.x());
        Fitter fitter;
        for (int i = 0; i < 1'000'000; ++i) {
            const rxVector<2> q(along.x() * i, along.y() * i);
            fitter.update(expected * q, q);
        }
        EXPECT_THROW((void)fitter.fit(6), Fitter::Errors) << direction;
        EXPECT_THROW((void)fitter.fit(5), Fitter::Errors) << direction;
        fitter.update(expected * off, off);
        // The one pair fixes the direction across the row: its image is right to the rounding of
        // the row (coordinates up to 1e6).
        for (int dof : {5, 6}) {
            const rxXform<2> fitted = fitter.fit(dof);
            EXPECT_LE((fitted * off - expected * off).len(), 1e-8) << dof << " " << direction;
            const rxVector<2> end(along.x() * 1e6, along.y() * 1e6);
            EXPECT_LE((fitted * end - expected * end).len(), 1e-8) << dof << " " << direction;
        }
    }
}

TEST(LSPointToPointFitter, SmallSpreadAcrossALineIsNoReasonToRefuse) {
    const rxXform<2> expected(rxVector<2>(1.0, 2.0), rxRadian(1.0), rxRadian(1.2), 1.0, 2.0);
    for (double across : {1e-3, 1e-6, 1e-9, 1e-12}) {
        const Points q = {{-1.0, 0.0}, {0.0, across}, {1.0, 0.0}, {0.25, -across}};
        const rxXform<2> fitted = Fitter(mapped(expected, q), q).fit(6);
        EXPECT_LE(largestDifference(fitted, expected, q), 32.0 * kEps) << across;
    }
}

// ---- the least-squares optimum ----------------------------------------------------------------

struct Noisy {
    Points p;
    Points q;
};

Noisy noisyPairs(World& world) {
    Noisy pairs;
    pairs.q = world.pointsAround(rxVector<2>(30.0, -20.0), 50.0, 15);
    for (const auto& point : mapped(world.transform(6), pairs.q)) {
        pairs.p.push_back(world.pointAround(point, 5.0));
    }
    return pairs;
}

/// The parameters of X(q) = M (q - c) + u near a fit, moved one by one and in pairs.
using Model = std::function<rxXform<2>(const std::vector<double>&)>;

rxXform<2> aboutCentre(const rxMatrix<2>& matrix, const rxVector<2>& image) {
    return rxXform<2>(matrix, image - matrix * rxVector<2>(30.0, -20.0));
}

Model modelOf(int dof) {
    return [dof](const std::vector<double>& v) {
        const rxVector<2> image(v[0], v[1]);
        if (dof == 6) return aboutCentre(rxMatrix<2>(v[2], v[3], v[4], v[5]), image);
        const double c = std::cos(v[2]);
        const double s = std::sin(v[2]);
        const double sx = dof == 3 ? 1.0 : v[3];
        const double sy = dof == 5 ? v[4] : sx;
        return aboutCentre(rxMatrix<2>(c * sx, -s * sy, s * sx, c * sy), image);
    };
}

std::vector<double> parametersOf(int dof, const rxXform<2>& fitted) {
    const rxVector<2> image = fitted * rxVector<2>(30.0, -20.0);
    const rxMatrix<2> m = fitted.matrix();
    if (dof == 6) {
        return {image.x(),       image.y(),       m.element(0, 0),
                m.element(0, 1), m.element(1, 0), m.element(1, 1)};
    }
    const double angle = fitted.xRot().toDouble();
    const double sx = fitted.xScale();
    const double sy = m.determinant() / sx;
    return {image.x(), image.y(), angle, sx, sy};
}

TEST(LSPointToPointFitter, NoTransformOfTheModelFitsBetter) {
    const unsigned seed = 20016;
    SCOPED_TRACE(seed);
    World world(seed);
    for (int dof : kModels) {
        const Model model = modelOf(dof);
        for (int round = 0; round < 50; ++round) {
            const Noisy pairs = noisyPairs(world);
            const rxXform<2> fitted = Fitter(pairs.p, pairs.q).fit(dof);
            const std::vector<double> best = parametersOf(dof, fitted);
            ASSERT_LE(largestDifference(model(best), fitted, pairs.q), 1e-11)
                << "the fit is a transform of the model";
            const double least = sumOfSquares(fitted, pairs.p, pairs.q);
            for (int move = 0; move < 200; ++move) {
                std::vector<double> moved = best;
                const double step = std::pow(10.0, -(move % 5));
                for (double& v : moved) v += step * world.uniform(-1.0, 1.0);
                EXPECT_GE(sumOfSquares(model(moved), pairs.p, pairs.q), least * (1.0 - 1e-12));
            }
        }
    }
}

TEST(LSPointToPointFitter, NoRotationWithAxisScalesFitsBetterThanDof5) {
    const unsigned seed = 20017;
    SCOPED_TRACE(seed);
    World world(seed);
    for (int round = 0; round < 50; ++round) {
        const Noisy pairs = noisyPairs(world);
        const double least = sumOfSquares(Fitter(pairs.p, pairs.q).fit(5), pairs.p, pairs.q);
        // Every rotation in steps of a tenth of a degree; for each the best scales and translation,
        // found by a fit with the rotation undone (a regression per axis).
        for (int step = 0; step < 1800; ++step) {
            const rxRadian turn(kPi * step / 1800.0);
            const rxXform<2> rotation(rxVector<2>(), turn, turn, 1.0, 1.0);
            const Points turnedBack = mapped(rotation.inverse(), pairs.p);
            double mean[4] = {};
            const auto n = static_cast<double>(pairs.q.size());
            for (std::size_t i = 0; i < pairs.q.size(); ++i) {
                mean[0] += turnedBack[i].x() / n;
                mean[1] += turnedBack[i].y() / n;
                mean[2] += pairs.q[i].x() / n;
                mean[3] += pairs.q[i].y() / n;
            }
            double xy[2] = {};
            double xx[2] = {};
            for (std::size_t i = 0; i < pairs.q.size(); ++i) {
                xy[0] += (turnedBack[i].x() - mean[0]) * (pairs.q[i].x() - mean[2]);
                xy[1] += (turnedBack[i].y() - mean[1]) * (pairs.q[i].y() - mean[3]);
                xx[0] += (pairs.q[i].x() - mean[2]) * (pairs.q[i].x() - mean[2]);
                xx[1] += (pairs.q[i].y() - mean[3]) * (pairs.q[i].y() - mean[3]);
            }
            const double sx = xy[0] / xx[0];
            const double sy = xy[1] / xx[1];
            const rxXform<2> scaled(rxMatrix<2>(sx, 0.0, 0.0, sy),
                                    rxVector<2>(mean[0] - sx * mean[2], mean[1] - sy * mean[3]));
            EXPECT_GE(sumOfSquares(rotation * scaled, pairs.p, pairs.q), least * (1.0 - 1e-12));
        }
    }
}

TEST(LSPointToPointFitter, AgreesWithADirectSolutionInWiderArithmetic) {
    const unsigned seed = 20018;
    SCOPED_TRACE(seed);
    World world(seed);
    for (int round = 0; round < 200; ++round) {
        const Noisy pairs = noisyPairs(world);
        const auto n = static_cast<long double>(pairs.q.size());
        long double pm[2] = {};
        long double qm[2] = {};
        for (std::size_t i = 0; i < pairs.q.size(); ++i) {
            pm[0] += pairs.p[i].x() / n;
            pm[1] += pairs.p[i].y() / n;
            qm[0] += pairs.q[i].x() / n;
            qm[1] += pairs.q[i].y() / n;
        }
        long double qq[2][2] = {};
        long double pq[2][2] = {};
        for (std::size_t i = 0; i < pairs.q.size(); ++i) {
            const long double p[2] = {pairs.p[i].x() - pm[0], pairs.p[i].y() - pm[1]};
            const long double q[2] = {pairs.q[i].x() - qm[0], pairs.q[i].y() - qm[1]};
            for (int row = 0; row < 2; ++row) {
                for (int col = 0; col < 2; ++col) {
                    qq[row][col] += q[row] * q[col];
                    pq[row][col] += p[row] * q[col];
                }
            }
        }
        const auto expect = [&](int dof, long double e00, long double e01, long double e10,
                                long double e11) {
            const rxXform<2> fitted = Fitter(pairs.p, pairs.q).fit(dof);
            const long double trans[2] = {pm[0] - e00 * qm[0] - e01 * qm[1],
                                          pm[1] - e10 * qm[0] - e11 * qm[1]};
            const rxXform<2> direct(
                rxMatrix<2>(static_cast<double>(e00), static_cast<double>(e01),
                            static_cast<double>(e10), static_cast<double>(e11)),
                rxVector<2>(static_cast<double>(trans[0]), static_cast<double>(trans[1])));
            // Both round the result once more; coordinates go to 200.
            EXPECT_LE(largestDifference(fitted, direct, pairs.q), 4.0 * 200.0 * kEps) << dof;
        };
        const long double cosine = pq[0][0] + pq[1][1];
        const long double sine = pq[1][0] - pq[0][1];
        const long double norm = std::sqrt(cosine * cosine + sine * sine);
        expect(3, cosine / norm, -sine / norm, sine / norm, cosine / norm);
        const long double spread = qq[0][0] + qq[1][1];
        expect(4, cosine / spread, -sine / spread, sine / spread, cosine / spread);
        const long double det = qq[0][0] * qq[1][1] - qq[0][1] * qq[1][0];
        const auto solved = [&](int row, int col) {
            return (pq[row][col] * qq[1 - col][1 - col] - pq[row][1 - col] * qq[0][1]) / det;
        };
        expect(6, solved(0, 0), solved(0, 1), solved(1, 0), solved(1, 1));
        // The quadratic form of the rotation, and its main axis from the angle.
        const long double m00 = pq[0][0] * pq[0][0] / qq[0][0] + pq[1][1] * pq[1][1] / qq[1][1];
        const long double m11 = pq[1][0] * pq[1][0] / qq[0][0] + pq[0][1] * pq[0][1] / qq[1][1];
        const long double m01 = pq[0][0] * pq[1][0] / qq[0][0] - pq[0][1] * pq[1][1] / qq[1][1];
        const long double angle = std::atan2(2.0L * m01, m00 - m11) / 2.0L;
        const long double c = std::cos(angle);
        const long double s = std::sin(angle);
        const long double sx = (c * pq[0][0] + s * pq[1][0]) / qq[0][0];
        const long double sy = (c * pq[1][1] - s * pq[0][1]) / qq[1][1];
        expect(5, c * sx, -s * sy, s * sx, c * sy);
    }
}

TEST(LSPointToPointFitter, RigidAndSimilarTransformsNeverMirror) {
    const unsigned seed = 20019;
    SCOPED_TRACE(seed);
    World world(seed);
    for (int round = 0; round < 100; ++round) {
        const Points q = world.pointsAround(rxVector<2>(), 10.0, 7);
        const rxXform<2> mirror(rxVector<2>(3.0, 4.0), rxRadian(0.7), rxRadian(0.7), 1.0, -1.0);
        const Fitter fitter(mapped(mirror, q), q);
        EXPECT_NEAR(fitter.fit(3).matrix().determinant(), 1.0, 8.0 * kEps);
        EXPECT_GT(fitter.fit(4).matrix().determinant(), 0.0);
        EXPECT_NEAR(fitter.fit(5).matrix().determinant(), -1.0, 64.0 * kEps * 10.0);
    }
}

TEST(LSPointToPointFitter, ShiftOfTheFirstPointsMovesTheTranslationAlone) {
    World world(20020);
    // Multiples of 1/64 shifted by a multiple of 1/64: every sum is exact, so the law is too, to
    // the one rounding of the translation.
    for (int dof : kModels) {
        Points p;
        Points q;
        Points shifted;
        for (int i = 0; i < 10; ++i) {
            p.emplace_back(std::floor(world.uniform(0.0, 4096.0)) / 64.0,
                           std::floor(world.uniform(0.0, 4096.0)) / 64.0);
            q.emplace_back(std::floor(world.uniform(0.0, 4096.0)) / 64.0,
                           std::floor(world.uniform(0.0, 4096.0)) / 64.0);
            shifted.push_back(p.back() + rxVector<2>(1024.0, -512.0));
        }
        const rxXform<2> plain = Fitter(p, q).fit(dof);
        const rxXform<2> moved = Fitter(shifted, q).fit(dof);
        EXPECT_NEAR(moved.matrix().element(0, 0), plain.matrix().element(0, 0), 2.0 * kEps);
        EXPECT_NEAR(moved.matrix().element(1, 0), plain.matrix().element(1, 0), 2.0 * kEps);
        EXPECT_NEAR(moved.trans().x(), plain.trans().x() + 1024.0, 2048.0 * kEps);
        EXPECT_NEAR(moved.trans().y(), plain.trans().y() - 512.0, 2048.0 * kEps);
    }
}

// ---- what is refused --------------------------------------------------------------------------

TEST(LSPointToPointFitter, TooFewPairsAreRefused) {
    const Points points = {{0.0, 0.0}, {1.0, 0.0}, {0.0, 1.0}};
    for (int dof : kModels) {
        const std::size_t needed = dof <= 4 ? 2 : 3;
        for (std::size_t count = 0; count < needed; ++count) {
            const Points few(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(count));
            EXPECT_EQ(refusal(few, few, dof), "fit with " + std::to_string(dof) +
                                                  " degrees of freedom: " + std::to_string(needed) +
                                                  " pairs needed, " + std::to_string(count) +
                                                  " given\n");
        }
        const Points enough(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(needed));
        EXPECT_NO_THROW((void)Fitter(enough, enough).fit(dof)) << dof;
    }
}

TEST(LSPointToPointFitter, ModelsOutside3To6AreRefused) {
    const Points points = {{0.0, 0.0}, {1.0, 0.0}, {0.0, 1.0}, {3.0, 1.0}};
    for (int dof : {std::numeric_limits<int>::min(), -1, 0, 1, 2, 7, 8, 100}) {
        EXPECT_THAT(refusal(points, points, dof),
                    testing::HasSubstr("the models have 3, 4, 5 or 6"))
            << dof;
    }
}

TEST(LSPointToPointFitter, PointsInOnePlaceAreRefused) {
    const Points p = {{0.0, 0.0}, {1.0, 0.0}, {0.0, 1.0}, {1.0, 3.0}};
    for (const auto& place : {rxVector<2>(), rxVector<2>(0.1, 0.3), rxVector<2>(1e8, -1e8),
                              rxVector<2>(1e-9, 1e12), rxVector<2>(-1e100, 1.0)}) {
        const Points q(4, place);
        for (int dof : kModels) {
            EXPECT_THAT(refusal(p, q, dof), testing::HasSubstr("the second points lie")) << dof;
        }
        for (int dof : {3, 4, 5}) {
            EXPECT_THAT(refusal(q, p, dof), testing::HasSubstr("leave the rotation open")) << dof;
        }
    }
}

TEST(LSPointToPointFitter, PointsApartByRoundingAloneAreRefused) {
    const unsigned seed = 20021;
    SCOPED_TRACE(seed);
    World world(seed);
    for (double place : {0.1, 12345.678, 1e8, 3e15}) {
        for (int count : {3, 10, 1000}) {
            Points p;
            Points q;
            for (int i = 0; i < count; ++i) {
                p.push_back(world.pointAround(rxVector<2>(), 100.0));
                // Up to two spacings of the doubles to either side.
                q.push_back(world.pointAround(rxVector<2>(place, place), 2.0 * kEps * place));
            }
            for (int dof : kModels) {
                EXPECT_THROW((void)Fitter(p, q).fit(dof), Fitter::Errors) << dof << " " << place;
            }
            for (int dof : {3, 4, 5}) {
                EXPECT_THROW((void)Fitter(q, p).fit(dof), Fitter::Errors) << dof << " " << place;
            }
        }
    }
}

TEST(LSPointToPointFitter, AMillionthApartAHundredMillionAwayIsNotOnePlace) {
    // Seventy spacings of the doubles there.
    const Points q = {{1e8, 1e8}, {1e8 + 1e-6, 1e8}, {1e8, 1e8 + 1e-6}};
    for (int dof : {3, 4, 6}) EXPECT_NO_THROW((void)Fitter(q, q).fit(dof)) << dof;
    // The rotation of dof 5 hangs on a difference between the axes; it takes a little more.
    const Points wider = {{1e8, 1e8}, {1e8 + 4e-6, 1e8}, {1e8, 1e8 + 4e-6}};
    EXPECT_NO_THROW((void)Fitter(wider, wider).fit(5));
}

TEST(LSPointToPointFitter, MirroredSymmetricPointsLeaveTheRotationOpen) {
    const rxXform<2> mirror(rxVector<2>(), rxRadian(), rxRadian(), 1.0, -1.0);
    for (int corners : {3, 4, 5, 6, 12}) {
        for (double centre : {0.0, 7.3, 1e8}) {
            Points q;
            for (int i = 0; i < corners; ++i) {
                const double angle = 0.2 + 2.0 * kPi * i / corners;
                q.emplace_back(centre + 100.0 * std::cos(angle), centre + 100.0 * std::sin(angle));
            }
            const Points p = mapped(mirror, q);
            for (int dof : {3, 4}) {
                EXPECT_THAT(refusal(p, q, dof), testing::HasSubstr("leave the rotation open"))
                    << dof << " " << corners << " " << centre;
            }
            EXPECT_LE(largestDifference(Fitter(p, q).fit(6), mirror, q),
                      16.0 * kEps * (centre + 100.0));
            EXPECT_LE(largestDifference(Fitter(p, q).fit(5), mirror, q),
                      16.0 * kEps * (centre + 100.0));
        }
    }
}

TEST(LSPointToPointFitter, TheSlightestMainDirectionFixesTheRotation) {
    for (double excess : {1e-1, 1e-6, 1e-10}) {
        const Points q = {{1.0 + excess, 0.0}, {0.0, 1.0}, {-1.0 - excess, 0.0}, {0.0, -1.0}};
        const Points p = {{1.0 + excess, 0.0}, {0.0, -1.0}, {-1.0 - excess, 0.0}, {0.0, 1.0}};
        EXPECT_LE(std::abs(Fitter(p, q).fit(3).xRot().toDouble()), 4.0 * kEps) << excess;
    }
}

TEST(LSPointToPointFitter, PointsOnALineGiveRotationAndScaleButNoMore) {
    const unsigned seed = 20022;
    SCOPED_TRACE(seed);
    World world(seed);
    for (double centre : {0.0, 1e3, 1e8}) {
        for (int round = 0; round < 200; ++round) {
            const double direction = round < 4 ? round * kPi / 4.0 : world.uniform(-kPi, kPi);
            Points q;
            for (int i = 0; i < 3 + round % 50; ++i) {
                const double along = world.uniform(-100.0, 100.0);
                q.emplace_back(centre + along * std::cos(direction),
                               -centre + along * std::sin(direction));
            }
            for (int dof : {3, 4}) {
                const rxXform<2> expected = world.transform(dof);
                const rxXform<2> fitted = Fitter(mapped(expected, q), q).fit(dof);
                EXPECT_LE(largestDifference(fitted, expected, q), 64.0 * kEps * (centre + 100.0));
            }
            for (int dof : {5, 6}) {
                const rxXform<2> expected = world.transform(dof);
                EXPECT_THAT(refusal(mapped(expected, q), q, dof),
                            testing::HasSubstr("the second points lie on one line"))
                    << dof << " " << centre << " " << round;
            }
        }
    }
}

TEST(LSPointToPointFitter, ColumnsOfOneDirectionLeaveTheRotationOfDof5Open) {
    // Both axes of q go to one direction with equal weight: any rotation does as well.
    const Points q = {{1.0, 1.0}, {1.0, -1.0}, {-1.0, 1.0}, {-1.0, -1.0}};
    const rxXform<2> flat(rxMatrix<2>(1.0, 1.0, 0.0, 0.0), rxVector<2>());
    EXPECT_THAT(refusal(mapped(flat, q), q, 5), testing::HasSubstr("leave the rotation open"));
    EXPECT_EQ(Fitter(mapped(flat, q), q).fit(6), flat);
}

TEST(LSPointToPointFitter, FirstPointsInOnePlaceHaveASingularAffineFit) {
    const Points q = {{0.0, 0.0}, {1.0, 0.0}, {0.0, 1.0}, {1.0, 3.0}};
    const Points p(4, rxVector<2>(2.0, 3.0));
    const rxXform<2> fitted = Fitter(p, q).fit(6);
    EXPECT_TRUE(fitted.isSingular());
    EXPECT_EQ(fitted.trans(), rxVector<2>(2.0, 3.0));
}

TEST(LSPointToPointFitter, ABadCoordinateIsRefusedUntilReset) {
    const Points points = {{0.0, 0.0}, {1.0, 0.0}, {0.0, 1.0}, {2.0, 5.0}};
    for (double bad :
         {kNaN, kInfinity, -kInfinity, 1e155, -1e200, std::numeric_limits<double>::max()}) {
        for (std::size_t place = 0; place < 4; ++place) {
            double c[4] = {3.0, 4.0, 5.0, 6.0};
            c[place] = bad;
            Fitter fitter(points, points);
            fitter.update(rxVector<2>(c[0], c[1]), rxVector<2>(c[2], c[3]));
            fitter.update(rxVector<2>(1.0, 2.0), rxVector<2>(1.0, 2.0));
            for (int dof : kModels) {
                EXPECT_THROW((void)fitter.fit(dof), Fitter::Errors) << dof << " " << bad;
            }
            fitter.reset();
            for (const auto& point : points) fitter.update(point, point);
            EXPECT_NO_THROW((void)fitter.fit(6));
        }
    }
}

TEST(LSPointToPointFitter, NoFitEverHoldsANotANumberOrAnInfinity) {
    const unsigned seed = 20023;
    SCOPED_TRACE(seed);
    World world(seed);
    int fitted = 0;
    int refused = 0;
    for (int round = 0; round < 20000; ++round) {
        Fitter fitter;
        const int count = round % 6;
        for (int i = 0; i < count; ++i) {
            const auto wild = [&] {
                const double v = world.uniform(-2.0, 2.0);
                return v < -1.5 ? 0.0 : std::ldexp(v, static_cast<int>(world.uniform(-1080, 1030)));
            };
            fitter.update(rxVector<2>(wild(), wild()), rxVector<2>(wild(), wild()));
        }
        for (int dof : kModels) {
            try {
                EXPECT_TRUE(fitter.fit(dof).isFinite());
                ++fitted;
            } catch (const Fitter::Errors&) {
                ++refused;
            }
        }
    }
    EXPECT_GT(fitted, 1000);
    EXPECT_GT(refused, 1000);
}

TEST(LSPointToPointFitter, LargestAndSmallestUnitsAreFitted) {
    const unsigned seed = 20024;
    SCOPED_TRACE(seed);
    World world(seed);
    for (double unit : {1e-150, 1e-100, 1e100, 1e149}) {
        for (int dof : kModels) {
            const Points q = world.pointsAround(rxVector<2>(), 1.0, 8);
            const rxXform<2> expected = world.transform(dof);
            const rxXform<2> toUnit(rxVector<2>(), rxRadian(), rxRadian(), unit, unit);
            const rxXform<2> fitted =
                Fitter(mapped(toUnit * expected, q), mapped(toUnit, q)).fit(dof);
            for (const auto& point : q) {
                const rxVector<2> image = fitted * (toUnit * point);
                EXPECT_NEAR(image.x() / unit, (expected * point).x(), 64.0 * kEps) << dof << unit;
                EXPECT_NEAR(image.y() / unit, (expected * point).y(), 64.0 * kEps) << dof << unit;
            }
        }
    }
}

// ---- the accumulator --------------------------------------------------------------------------

TEST(LSPointToPointFitter, TwoListsAreTheSameAsUpdatesInOrder) {
    World world(20025);
    const Noisy pairs = noisyPairs(world);
    Fitter oneByOne;
    for (std::size_t i = 0; i < pairs.p.size(); ++i) oneByOne.update(pairs.p[i], pairs.q[i]);
    const Fitter atOnce(pairs.p, pairs.q);
    EXPECT_EQ(atOnce.numPairs(), 15);
    for (int dof : kModels) EXPECT_EQ(atOnce.fit(dof), oneByOne.fit(dof));
}

TEST(LSPointToPointFitter, ListsOfUnequalLengthAreRefused) {
    try {
        const Fitter fitter(Points(3), Points(2));
        FAIL() << "lists of unequal length were taken";
    } catch (const Fitter::Errors& error) {
        EXPECT_STREQ(error.what(),
                     "the fitter needs as many first as second points, has 3 and 2\n");
    }
}

TEST(LSPointToPointFitter, ResetForgetsAllPairs) {
    World world(20026);
    const Noisy pairs = noisyPairs(world);
    Fitter used(pairs.q, pairs.p);
    used.reset();
    EXPECT_EQ(used.numPairs(), 0);
    EXPECT_THROW((void)used.fit(3), Fitter::Errors);
    for (std::size_t i = 0; i < pairs.p.size(); ++i) used.update(pairs.p[i], pairs.q[i]);
    for (int dof : kModels) EXPECT_EQ(used.fit(dof), Fitter(pairs.p, pairs.q).fit(dof));
}

TEST(LSPointToPointFitter, ACopyGoesItsOwnWay) {
    World world(20027);
    const Noisy pairs = noisyPairs(world);
    const Fitter original(pairs.p, pairs.q);
    const rxXform<2> before = original.fit(6);
    Fitter copy = original;
    copy.update(rxVector<2>(500.0, 500.0), rxVector<2>(-500.0, 300.0));
    EXPECT_EQ(original.fit(6), before);
    EXPECT_NE(copy.fit(6), before);
    copy = original;
    EXPECT_EQ(copy.fit(6), before);
}

TEST(LSPointToPointFitter, EqualBitsOnEveryPlatform) {
    // Recorded once; only exactly rounded operations lie between the pairs and these bits.
    Fitter fitter;
    for (int i = 0; i < 40; ++i) {
        fitter.update(rxVector<2>((i * 37 % 101) / 7.0, (i * 53 % 97) / 3.0),
                      rxVector<2>((i * 41 % 89) / 11.0 + 1e6, (i * 29 % 83) / 13.0));
    }
    const auto expect = [&](int dof, const rxXform<2>& recorded) {
        const rxXform<2> fitted = fitter.fit(dof);
        EXPECT_EQ(fitted, recorded)
            << std::hexfloat << dof << " " << fitted.matrix().element(0, 0) << ", "
            << fitted.matrix().element(0, 1) << ", " << fitted.matrix().element(1, 0) << ", "
            << fitted.matrix().element(1, 1) << ", " << fitted.trans().x() << ", "
            << fitted.trans().y();
    };
    expect(3, rxXform<2>(rxMatrix<2>(0x1.28f50bb8664afp-1, 0x1.a115eb44aa333p-1,
                                     -0x1.a115eb44aa333p-1, 0x1.28f50bb8664afp-1),
                         rxVector<2>(-0x1.1b330b4ffe6a2p+19, 0x1.8dc5930a44f3dp+19)));
    expect(4, rxXform<2>(rxMatrix<2>(0x1.faee601fef1a5p-3, 0x1.640011d9cc659p-2,
                                     -0x1.640011d9cc659p-2, 0x1.faee601fef1a5p-3),
                         rxVector<2>(-0x1.e36ffa943b8d4p+17, 0x1.5385f7eb29573p+18)));
    expect(5, rxXform<2>(rxMatrix<2>(0x1.89110079c9286p-2, -0x1.93364b47149b5p-4,
                                     -0x1.46981612fb82ep-1, -0x1.e54753ce93cb8p-5),
                         rxVector<2>(-0x1.76da046f897bcp+18, 0x1.377912a84ffd8p+19)));
    expect(6, rxXform<2>(rxMatrix<2>(0x1.8e1f5832b1ebdp-2, -0x1.0fece862e5c0ap-3,
                                     -0x1.44c27343e8fc5p-1, -0x1.092bd7b5a19c5p-9),
                         rxVector<2>(-0x1.7bac60830d55dp+18, 0x1.35b92b42465cp+19)));
}

TEST(LSPointToPointFitterErrors, CanBeCaughtAsEveryBase) {
    const Fitter fitter;
    EXPECT_THROW((void)fitter.fit(3), Fitter::Errors);
    EXPECT_THROW((void)fitter.fit(3), rxExceptionWithString);
    EXPECT_THROW((void)fitter.fit(3), rxException);
    EXPECT_THROW((void)fitter.fit(3), std::exception);
}

TEST(LSPointToPointFitterErrors, ComeBackFromAnArchiveAsWhatTheyWere) {
    rxMemoryStoreArchive storing;
    rfStorePolymorphic(storing, Fitter::Errors("three pairs needed\n"));
    rxMemoryLoadArchive loading(storing.stored());
    const std::unique_ptr<rxPersistent> loaded = rfLoadPolymorphic(loading);
    const auto* error = dynamic_cast<const Fitter::Errors*>(loaded.get());
    ASSERT_NE(error, nullptr);
    EXPECT_STREQ(error->what(), "three pairs needed\n");
}

}  // namespace
