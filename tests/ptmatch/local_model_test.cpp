#include "ptmatch/ptgdmap/local_model.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "foundation/exception.h"

namespace {

using ptmatch::detail::bestLocalModel;
using ptmatch::detail::LocalModel;
using ptmatch::detail::LocalModelMaker;
using ptmatch::detail::localResidual;
using ptmatch::detail::mapSetup;
using ptmatch::detail::MapSetup;
using ptmatch::detail::nearestNode;
using ptmatch::detail::PointNode;
using Params = rxPtToGridMapRunParams;

const rxVector<2> kNull;

MapSetup setupOf(const rxVector<2>& xv, const rxVector<2>& yv) {
    return mapSetup(Params(xv, yv)).value_or(MapSetup());
}

const LocalModelMaker& upright() {
    static const LocalModelMaker maker(setupOf(rxVector<2>(10, 0), rxVector<2>(0, 10)), 0.0);
    return maker;
}

/// Nodes at the points, and used links from and to.
std::vector<PointNode> walked(const std::vector<rxVector<2>>& points,
                              const std::vector<std::pair<std::size_t, std::int32_t>>& links) {
    std::vector<PointNode> nodes(points.size());
    for (std::size_t k = 0; k < points.size(); ++k) nodes[k].point = points[k];
    for (const auto& [from, to] : links) {
        nodes[from].links[nodes[from].numLinks++] = {0.0, to, true};
    }
    return nodes;
}

void expectNear(const rxVector<2>& actual, const rxVector<2>& expected) {
    EXPECT_NEAR(actual.x(), expected.x(), 1e-12);
    EXPECT_NEAR(actual.y(), expected.y(), 1e-12);
}

TEST(NearestNode, RoundsHalvesUpwards) {
    EXPECT_EQ(nearestNode(rxVector<2>(0.5, -0.5)), rxVector<2>(1, 0));
    EXPECT_EQ(nearestNode(rxVector<2>(-1.5, 2.49)), rxVector<2>(-1, 2));
    EXPECT_EQ(nearestNode(rxVector<2>(-0.51, 7)), rxVector<2>(-1, 7));
}

TEST(LocalModel, PutsTheOriginAtThePointAndTheStepsBesideIt) {
    const LocalModelMaker maker(setupOf(rxVector<2>(8, 1), rxVector<2>(-2, 16)), 0.0);
    const rx2PtMatchTm model = maker.at(rxVector<2>(100, 200));
    expectNear(model.a2b(rxVector<2>(0, 0)), rxVector<2>(100, 200));
    expectNear(model.a2b(rxVector<2>(1, 0)), rxVector<2>(108, 201));
    expectNear(model.a2b(rxVector<2>(0, 1)), rxVector<2>(98, 216));
}

TEST(LocalModel, TurnsTheStepsByTheRotation) {
    const LocalModelMaker maker(setupOf(rxVector<2>(10, 0), rxVector<2>(0, 20)), 90.0);
    const rx2PtMatchTm model = maker.at(rxVector<2>(5, 5));
    expectNear(model.a2b(rxVector<2>(1, 0)), rxVector<2>(5, 15));
    expectNear(model.a2b(rxVector<2>(0, 1)), rxVector<2>(-15, 5));
}

TEST(LocalModel, OneStepMakesASimilarity) {
    const LocalModelMaker onlyX(setupOf(rxVector<2>(10, 0), kNull), 0.0);
    expectNear(onlyX.at(rxVector<2>(5, 5)).a2b(rxVector<2>(2, 1)), rxVector<2>(25, 15));
    const LocalModelMaker onlyY(setupOf(kNull, rxVector<2>(0, 10)), 0.0);
    expectNear(onlyY.at(rxVector<2>(5, 5)).a2b(rxVector<2>(2, 1)), rxVector<2>(25, 15));
}

TEST(LocalModel, KeepsThePairsThatItWasBuiltFrom) {
    rx2PtMatchTm model = upright().at(rxVector<2>(0, 0));
    const rxXform<2> before = model.a2bXform();
    model.fit(6);
    EXPECT_EQ(model.a2bXform(), before);
}

TEST(LocalResidual, IsTheMeanSquaredMissOverUsedLinks) {
    std::vector<PointNode> nodes = walked({{0, 0}, {11, 0}, {0, 10}, {-10, 3}}, {{0, 1}, {0, 2}});
    const rx2PtMatchTm model = upright().at(rxVector<2>(0, 0));
    EXPECT_NEAR(localResidual(model, nodes[0], nodes), 0.5, 1e-12);
    nodes[0].links[nodes[0].numLinks++] = {180.0, 3, false};
    EXPECT_NEAR(localResidual(model, nodes[0], nodes), 0.5, 1e-12);
    nodes[0].links[2].used = true;
    EXPECT_NEAR(localResidual(model, nodes[0], nodes), 10.0 / 3.0, 1e-12);
}

TEST(LocalResidual, IsInfiniteWithoutUsedLinks) {
    const std::vector<PointNode> nodes = walked({{0, 0}}, {});
    EXPECT_EQ(localResidual(upright().at(rxVector<2>(0, 0)), nodes[0], nodes),
              std::numeric_limits<double>::infinity());
}

TEST(BestLocalModel, IsTheSeedsOwnWhereThatFitsBest) {
    const std::vector<PointNode> nodes =
        walked({{0, 0}, {10, 0}, {20, 1}, {31, 0}}, {{0, 1}, {1, 2}, {2, 3}});
    const LocalModel best = bestLocalModel(upright(), nodes, 0);
    EXPECT_EQ(best.node, 0);
    expectNear(best.estimator.a2b(rxVector<2>(0, 0)), rxVector<2>(0, 0));
}

TEST(BestLocalModel, MovesToANeighbourThatFitsBetter) {
    const std::vector<PointNode> nodes =
        walked({{0.9, 0}, {10, 0}, {20, 0.5}, {30, 0.5}}, {{0, 1}, {1, 2}, {2, 3}});
    const LocalModel best = bestLocalModel(upright(), nodes, 0);
    EXPECT_EQ(best.node, 2);
    expectNear(best.estimator.a2b(rxVector<2>(0, 0)), rxVector<2>(20, 0.5));
}

TEST(BestLocalModel, LooksTwoLinksFarAndNotThree) {
    const std::vector<PointNode> nodes = walked({{0, 0}, {11, 0}, {22.1, 0}, {33.3, 0}, {43.3, 0}},
                                                {{0, 1}, {1, 2}, {2, 3}, {3, 4}});
    EXPECT_EQ(bestLocalModel(upright(), nodes, 0).node, 0);
}

TEST(BestLocalModel, FollowsUsedLinksAlone) {
    std::vector<PointNode> nodes = walked({{0, 0}, {11, 0}, {21, 0}}, {{0, 1}, {1, 2}});
    EXPECT_EQ(bestLocalModel(upright(), nodes, 0).node, 1);
    nodes[1].links[0].used = false;
    EXPECT_EQ(bestLocalModel(upright(), nodes, 0).node, 0);
}

// Points that coincide have equal residuals to the last bit.

TEST(BestLocalModel, EqualResidualsLeaveTheEarlierOne) {
    const std::vector<PointNode> nodes =
        walked({{0, 0}, {0, 0}, {11, 0}, {0, 0}}, {{0, 1}, {0, 2}, {1, 3}, {1, 2}});
    EXPECT_EQ(bestLocalModel(upright(), nodes, 0).node, 0);
}

TEST(BestLocalModel, AsksDepthFirst) {
    // From the seed to 1 (no better) and on to 2, and then to 3; 2 and 3 are in one place and
    // better than both.
    const std::vector<PointNode> nodes = walked({{0, 0}, {11, 0}, {22, 0}, {22, 0}, {32, 0}},
                                                {{0, 1}, {0, 3}, {1, 2}, {2, 4}, {3, 4}});
    EXPECT_EQ(bestLocalModel(upright(), nodes, 0).node, 2);
}

TEST(BestLocalModel, NeighbourWithoutAModelIsPassedOver) {
    // Steps are lost beside 1e18 (no inverse), and squares beyond the range of double beside 1e200.
    for (const double far : {1e18, 1e200}) {
        const std::vector<PointNode> nodes =
            walked({{0, 0}, {far, far}, {11, 0}, {21, 0}}, {{0, 1}, {0, 2}, {1, 2}, {2, 3}});
        EXPECT_EQ(bestLocalModel(upright(), nodes, 0).node, 2) << far;
    }
}

TEST(BestLocalModel, SeedWithoutAModelThrows) {
    EXPECT_THROW(bestLocalModel(upright(), walked({{1e18, 1e18}, {0, 0}}, {{0, 1}}), 0),
                 rxMathError);
    EXPECT_THROW(bestLocalModel(upright(), walked({{1e200, 0}, {0, 0}}, {{0, 1}}), 0),
                 rxLSPointToPointFitter::Errors);
}

}  // namespace
