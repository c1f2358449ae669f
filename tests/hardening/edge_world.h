#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <exception>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "foundation/xform.h"
#include "ptmatch/addition_world.h"
#include "ptmatch/ppmatch.h"
#include "reference/reference_model.h"
#include "reference/reference_run.h"
#include "support/pattern_pictures.h"
#include "support/same_numbers.h"

// Scenes for numbers at their edges: ordinary ones, whose results are known, to be carried to the
// ends of what a double or an integer holds.
namespace ptmatch::testing {

inline constexpr double kEdgeInfinity = std::numeric_limits<double>::infinity();
inline constexpr double kEdgeNan = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kDenormal = std::numeric_limits<double>::denorm_min();
inline constexpr long kLongMin = std::numeric_limits<std::int32_t>::min();
inline constexpr long kLongMax = std::numeric_limits<std::int32_t>::max();

/// What an exception tells, without its newline; empty when there is none.
template <class Call>
std::string saidBy(Call call) {
    try {
        call();
    } catch (const std::exception& error) {
        std::string said = error.what();
        if (!said.empty() && said.back() == '\n') said.pop_back();
        return said.empty() ? "an exception without a message" : said;
    }
    return "";
}

inline rxXform<2> scalingBy(double factor) {
    return {rxMatrix<2>(factor, 0, 0, factor), rxVector<2>()};
}

inline Points scaledBy(double factor, const Points& points) {
    Points result;
    for (const rxVector<2>& p : points) result.emplace_back(factor * p.x(), factor * p.y());
    return result;
}

/// The numbers of a transform, the matrix and the translation times a factor each.
inline std::vector<double> numbersOf(const rxXform<2>& xform, double ofMatrix = 1.0,
                                     double ofTranslation = 1.0) {
    const rxMatrix<2>& m = xform.matrix();
    return {ofMatrix * m.element(0, 0),        ofMatrix * m.element(0, 1),
            ofMatrix * m.element(1, 0),        ofMatrix * m.element(1, 1),
            ofTranslation * xform.trans().x(), ofTranslation * xform.trans().y()};
}

/// How the numbers of a result change with the units.
struct UnitFactors {
    double ofMatrix = 1.0;
    double ofTranslation = 1.0;
    std::optional<double> ofFitError;  // nothing: not compared
};

inline void expectScaledResults(const rxPointMatcherResultSet& actual,
                                const rxPointMatcherResultSet& base, const UnitFactors& factors) {
    ASSERT_EQ(actual.results().size(), base.results().size());
    for (std::size_t i = 0; i < base.results().size(); ++i) {
        SCOPED_TRACE(::testing::Message() << "result " << i);
        const rxPointMatcherResult& a = actual.results()[i];
        const rxPointMatcherResult& b = base.results()[i];
        EXPECT_TRUE(
            sameNumbers(numbersOf(a.modelToDataXform()),
                        numbersOf(b.modelToDataXform(), factors.ofMatrix, factors.ofTranslation)));
        EXPECT_EQ(a.coverage(), b.coverage());
        if (factors.ofFitError) {
            EXPECT_EQ(a.fitError(), *factors.ofFitError * b.fitError());
        }
        if (b.runMode() != rxPointMatcherDefs::ePointToGrid) {
            EXPECT_EQ(a.modelToDataMap(), b.modelToDataMap());
        }
    }
}

/// Exactly what the plain reference finds in the same scene, and that some is found or not.
inline void expectAsReference(const rxPointMatcher& matcher, const std::vector<long>& weights,
                              const Points& data, const rxPointMatcherRunParams& params,
                              rxPointMatcherResultSet& found) {
    const reference::Model model = reference::trainModel(matcher.modelPoints(), weights);
    const bool isExhaustive = matcher.trainMode() == rxPointMatcherDefs::eExhaustiveMode;
    const reference::RunReport expected = isExhaustive
                                              ? reference::runExhaustively(model, data, params)
                                              : reference::run(model, data, params);
    matcher.run(data, params, found);
    ASSERT_EQ(found.results().size(), expected.results.size());
    for (std::size_t i = 0; i < expected.results.size(); ++i) {
        SCOPED_TRACE(::testing::Message() << "result " << i);
        const rxPointMatcherResult& result = found.results()[i];
        const reference::Result& wanted = expected.results[i];
        EXPECT_TRUE(
            sameNumbers(numbersOf(result.modelToDataXform()), numbersOf(wanted.modelToDataXform)));
        EXPECT_EQ(result.modelToDataMap(), wanted.modelToDataMap);
        EXPECT_TRUE(isSameNumber(result.coverage(), wanted.coverage));
        EXPECT_TRUE(isSameNumber(result.fitError(), wanted.fitError));
    }
}

/// A pattern, data that hold it with noise among clutter, and parameters that find it.
struct EdgeScene {
    std::string name;
    rxPointMatcherDefs::Mode mode;
    Points model;
    Points data;
    rxPointMatcherRunParams params;

    rxPointMatcher matcher() const { return trainedOnPoints(model, mode); }
};

inline EdgeScene votedScene() {
    Randoms randoms(7);
    Points data = randoms.shaken(mapped(poseAt(40, -25, 8), tenPoints()), 0.25);
    data += randoms.uniformPoints(12, 100);
    rxPointMatcherRunParams params(0.5);
    params.maxNumResults(5);
    params.scaleUncertainty(rxRange(-0.1, 0.1));
    return {"votes", rxPointMatcherDefs::eAutoDetect, tenPoints(), data, params};
}

inline EdgeScene exhaustiveScene() {
    EdgeScene scene = votedScene();
    scene.name = "exhaustive";
    scene.mode = rxPointMatcherDefs::eExhaustiveMode;
    scene.model.resize(4);
    scene.data.resize(5);
    return scene;
}

/// A plate, dense or sparse, whose dots lie 25 units apart.
struct EdgePlate {
    std::string name;
    Picture picture;

    rxPointMatcher matcher(double unit = 1.0) const {
        return trainedOn(imageOf(picture, gridOf({25 * unit, 0}, {0, 25 * unit})));
    }
    Points data() const {
        return Randoms(11).shaken(dotsOf(picture, gridOf({25, 1}, {-1, 25}, {100, 200})), 0.5);
    }
    static rxPointMatcherRunParams params() {
        rxPointMatcherRunParams params(0.8);
        params.scaleUncertainty(rxRange(-0.2, 0.2));
        return params;
    }
};

inline EdgePlate densePlate() {
    return {"dense", {"######.", "#.#####", "###.###", "####.##"}};
}

inline EdgePlate sparsePlate() {
    return {"sparse", {"#....#", "......", "..#...", "......", "#...#."}};
}

}  // namespace ptmatch::testing
