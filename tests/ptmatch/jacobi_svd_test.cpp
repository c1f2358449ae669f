#include "ptmatch/jacobi_svd.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>

#include "ptmatch/transform_world.h"

namespace {

using namespace ptmatch::testing;
using ptmatch::detail::JacobiSvd;
using ptmatch::detail::jacobiSvd;
using ptmatch::detail::SquareArray;

template <std::size_t N>
SquareArray<N> randomMatrix(unsigned seed) {
    TransformWorld world(seed);
    SquareArray<N> a;
    for (auto& row : a) {
        for (double& v : row) v = world.uniform(-1, 1);
    }
    return a;
}

template <std::size_t N>
void expectDecomposed(const SquareArray<N>& a) {
    const JacobiSvd<N> svd = jacobiSvd(a);
    const double tolerance = 16 * static_cast<double>(N) * kEps;
    for (std::size_t i = 0; i < N; ++i) {
        EXPECT_LE(svd.sigma[i], svd.sigma[i == 0 ? 0 : i - 1]);
        for (std::size_t j = 0; j < N; ++j) {
            double vv = 0.0;
            double uu = 0.0;
            double product = 0.0;
            for (std::size_t k = 0; k < N; ++k) {
                vv += svd.v[i][k] * svd.v[j][k];
                uu += svd.u[i][k] * svd.u[j][k];
                product += svd.u[k][i] * svd.v[k][j];
            }
            EXPECT_NEAR(vv, i == j ? 1.0 : 0.0, tolerance);
            EXPECT_NEAR(uu, i == j ? svd.sigma[i] * svd.sigma[i] : 0.0,
                        tolerance * svd.sigma[0] * svd.sigma[0]);
            EXPECT_NEAR(product, a[i][j], tolerance * svd.sigma[0]);
        }
    }
}

TEST(JacobiSvd, DecomposesRandomMatrices) {
    for (unsigned seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE(seed);
        expectDecomposed(randomMatrix<3>(seed));
        expectDecomposed(randomMatrix<9>(seed));
    }
}

TEST(JacobiSvd, SortsTheSingularValuesOfADiagonal) {
    const JacobiSvd<3> svd = jacobiSvd<3>({{{2, 0, 0}, {0, -5, 0}, {0, 0, 3}}});
    EXPECT_EQ(svd.sigma, (std::array<double, 3>{5, 3, 2}));
    EXPECT_EQ(svd.v[0], (std::array<double, 3>{0, 1, 0}));
    EXPECT_EQ(svd.u[0], (std::array<double, 3>{0, -5, 0}));
}

TEST(JacobiSvd, DecomposesSingularMatrices) {
    expectDecomposed<3>({});
    expectDecomposed<3>({{{1, 2, 3}, {2, 4, 6}, {3, 6, 9}}});
    SquareArray<9> deficient = randomMatrix<9>(3);
    deficient[8] = deficient[0];
    expectDecomposed(deficient);
    EXPECT_LT(jacobiSvd(deficient).sigma[8], 32 * kEps);
    EXPECT_GT(jacobiSvd(deficient).sigma[7], 1e-3);
}

TEST(JacobiSvd, FindsTheKernelOfADeficientMatrix) {
    const JacobiSvd<3> svd = jacobiSvd<3>({{{1, 1, 0}, {0, 1, 1}, {1, 2, 1}}});  // (1, -1, 1)
    const double third = 1.0 / std::sqrt(3.0);
    EXPECT_NEAR(std::abs(svd.v[2][0]), third, 8 * kEps);
    EXPECT_NEAR(svd.v[2][1] / svd.v[2][0], -1.0, 8 * kEps);
    EXPECT_NEAR(svd.v[2][2] / svd.v[2][0], 1.0, 8 * kEps);
}

TEST(JacobiSvd, SmallSingularValuesOfScaledColumnsKeepTheirDigits) {
    SquareArray<3> a = {{{1, 2, 0}, {0, 1, 1}, {1, 0, 3}}};
    const auto plain = jacobiSvd(a).sigma;
    for (auto& row : a) row[2] *= 1e-12;
    const auto graded = jacobiSvd(a).sigma;
    // The product of the singular values is the determinant, exactly 1e-12 times that of before.
    EXPECT_NEAR(graded[0] * graded[1] * graded[2] / (plain[0] * plain[1] * plain[2]) * 1e12, 1.0,
                64 * kEps);
}

}  // namespace
