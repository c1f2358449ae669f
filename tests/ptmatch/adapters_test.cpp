#include "ptmatch/adapters.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <limits>
#include <list>
#include <span>
#include <string>
#include <vector>

#include "ptmatch/addition_world.h"

// The real thing, where it is installed.
#if __has_include(<eigen3/Eigen/Core>)
#include <eigen3/Eigen/Core>
#define PTMATCH_HAS_EIGEN
#endif

namespace {

using namespace ptmatch::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

struct Dot {
    int id = 7;
    float y = 0.0F;  // in another order, deliberately
    float x = 0.0F;
};

// As the points of image libraries are: a template with public members and constructors.
template <class T>
struct PictureXy {
    PictureXy() = default;
    PictureXy(T x_, T y_) : x(x_), y(y_) {}
    T x = T();
    T y = T();
};

// As the vectors of linear algebra are: elements by index and by functions, a size, and a z() that
// is declared although it may not be called.
template <int N>
class AlgebraVector {
  public:
    enum : int { SizeAtCompileTime = N };
    AlgebraVector() = default;
    AlgebraVector(double x, double y) : elements_{x, y} {}
    double& operator[](int i) { return elements_[static_cast<std::size_t>(i)]; }
    const double& operator[](int i) const { return elements_[static_cast<std::size_t>(i)]; }
    const double& x() const { return elements_[0]; }
    const double& y() const { return elements_[1]; }
    const double& z() const { return elements_[2]; }

  private:
    std::array<double, 4> elements_{};
};

// As the small vectors of image libraries are: elements, and a size as a matrix has it.
template <int N>
struct PictureVector {
    enum : int { rows = N, cols = 1 };
    float operator[](int i) const { return elements[static_cast<std::size_t>(i)]; }
    std::array<float, 4> elements{};
};

struct SpacePoint {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

static_assert(rxPointLike<Dot>);
static_assert(rxPointLike<PictureXy<float>>);
static_assert(rxPointLike<PictureXy<int>>);
static_assert(rxPointLike<AlgebraVector<2>>);
static_assert(rxPointLike<PictureVector<2>>);
static_assert(rxPointLike<std::array<float, 2>>);
static_assert(rxPointLike<double[2]>);
static_assert(rxPointLike<rxVector<2>>);
static_assert(rxPointLike<rxPair<long>>);

// A third coordinate would be lost in silence.
static_assert(!rxPointLike<SpacePoint>);
static_assert(!rxPointLike<rxVector<3>>);
static_assert(!rxPointLike<AlgebraVector<3>>);
static_assert(!rxPointLike<AlgebraVector<-1>>);
static_assert(!rxPointLike<PictureVector<3>>);
static_assert(!rxPointLike<std::array<double, 3>>);
static_assert(!rxPointLike<double[3]>);
// What is no point at all.
static_assert(!rxPointLike<double>);
static_assert(!rxPointLike<const double*>);
static_assert(!rxPointLike<std::array<std::string, 2>>);

TEST(Adapters, MembersFunctionsAndElementsGiveTheSamePoint) {
    const rxVector<2> expected(1.5, -2.25);
    EXPECT_EQ(rfPoint(Dot{3, -2.25F, 1.5F}), expected);
    EXPECT_EQ(rfPoint(PictureXy<float>(1.5F, -2.25F)), expected);
    EXPECT_EQ(rfPoint(AlgebraVector<2>(1.5, -2.25)), expected);
    EXPECT_EQ(rfPoint(std::array<double, 2>{1.5, -2.25}), expected);
    const float elements[2] = {1.5F, -2.25F};
    EXPECT_EQ(rfPoint(elements), expected);
    EXPECT_EQ(rfPoint(expected), expected);
    EXPECT_EQ(rfPoint(PictureXy<int>(4, -5)), rxVector<2>(4, -5));
}

TEST(Adapters, AnyRangeBecomesPoints) {
    const std::vector<PictureXy<float>> centres = {{1, 2}, {3, 4}, {5, 6}};
    const auto expected = ElementsAre(rxVector<2>(1, 2), rxVector<2>(3, 4), rxVector<2>(5, 6));
    EXPECT_THAT(rfPoints(centres), expected);
    EXPECT_THAT(rfPoints(std::span(centres)), expected);
    EXPECT_THAT(rfPoints(std::list<PictureXy<float>>(centres.begin(), centres.end())), expected);
    EXPECT_THAT(rfPoints(std::deque<AlgebraVector<2>>{{1, 2}, {3, 4}, {5, 6}}), expected);
    const double table[3][2] = {{1, 2}, {3, 4}, {5, 6}};
    EXPECT_THAT(rfPoints(table), expected);
    EXPECT_THAT(rfPoints(std::span(centres).subspan(2)), ElementsAre(rxVector<2>(5, 6)));
    EXPECT_THAT(rfPoints(std::vector<Dot>()), IsEmpty());
}

TEST(Adapters, PointsComeBackAsTheTypeOfTheHost) {
    const rxVector<2> p(1.5, -2.25);
    const Dot dot = rfPointAs<Dot>(p);
    EXPECT_EQ(dot.x, 1.5F);
    EXPECT_EQ(dot.y, -2.25F);
    EXPECT_EQ(dot.id, 7);
    EXPECT_EQ(rfPoint(rfPointAs<PictureXy<float>>(p)), p);
    EXPECT_EQ(rfPoint(rfPointAs<AlgebraVector<2>>(p)), p);
    EXPECT_EQ((rfPointAs<std::array<double, 2>>(p)), (std::array<double, 2>{1.5, -2.25}));
    EXPECT_EQ(rfPointAs<rxVector<2>>(p), p);
    EXPECT_EQ(rfPoint(rfPointAs<PictureXy<int>>(p)), rxVector<2>(1, -2));
}

TEST(Adapters, WholeNumbersStayWithinTheirType) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const auto far = rfPointAs<PictureXy<int>>(rxVector<2>(1e300, -3e9));
    EXPECT_EQ(far.x, std::numeric_limits<int>::max());
    EXPECT_EQ(far.y, std::numeric_limits<int>::lowest());
    EXPECT_EQ((rfPointAs<PictureXy<unsigned char>>(rxVector<2>(-1, 255.5)).x), 0);
    EXPECT_EQ((rfPointAs<PictureXy<unsigned char>>(rxVector<2>(-1, 255.5)).y), 255);
    EXPECT_EQ((rfPointAs<std::array<long long, 2>>(rxVector<2>(0x1p63, nan))),
              (std::array<long long, 2>{std::numeric_limits<long long>::max(), 0}));
}

#ifdef PTMATCH_HAS_EIGEN
static_assert(rxPointLike<Eigen::Vector2d> && rxPointLike<Eigen::Vector2f>);
static_assert(rxPointLike<Eigen::RowVector2f> && rxPointLike<Eigen::Array2d>);
static_assert(!rxPointLike<Eigen::Vector3d> && !rxPointLike<Eigen::VectorXd>);

TEST(Adapters, EigenVectorsGoBothWays) {
    const std::vector<Eigen::Vector2f> points = {{1.0F, 2.0F}, {3.0F, 4.0F}};
    EXPECT_THAT(rfPoints(points), ElementsAre(rxVector<2>(1, 2), rxVector<2>(3, 4)));
    EXPECT_EQ(rfPointAs<Eigen::Vector2d>(rxVector<2>(1.5, 2.5)), Eigen::Vector2d(1.5, 2.5));
}
#endif

TEST(Adapters, AHostMatchesItsOwnPoints) {
    std::vector<PictureXy<float>> model;
    std::vector<Dot> dots;
    for (const rxVector<2>& p : tenPoints()) {
        model.push_back(rfPointAs<PictureXy<float>>(p));
        dots.push_back(rfPointAs<Dot>(p + rxVector<2>(100, 50)));
    }
    const rxPointMatcherResultSet found =
        foundIn(rfPoints(std::span(dots)), trainedOnPoints(rfPoints(model)));
    ASSERT_THAT(found.results(), SizeIs(1));
    EXPECT_EQ(found.results()[0].coverage(), 1.0);
}

}  // namespace
