#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/image_functions.h"
#include "ptmatch/gridcorr.h"

namespace {

using Defs = rx_PointToGridCorresponderDefs;
using Params = rx_PointToGridCorresponderTrainParams;
using Tool = rx_PointToGridCorresponder;
using Positions = std::vector<rxPair<long>>;
using Rows = std::vector<std::string>;

/// The positions of the characters other than '.', in raster order.
Positions positionsOf(const Rows& rows, rxPair<long> origin = {}) {
    Positions positions;
    for (std::size_t y = 0; y < rows.size(); ++y) {
        for (std::size_t x = 0; x < rows[y].size(); ++x) {
            if (rows[y][x] != '.') {
                positions.push_back(origin +
                                    rxPair<long>(static_cast<long>(x), static_cast<long>(y)));
            }
        }
    }
    return positions;
}

Tool trained(const Rows& rows, Defs::FeatureType type, bool staggered = false) {
    Tool tool;
    tool.train(positionsOf(rows), Params(staggered, type), rxXform<2>());
    return tool;
}

/// The probes drawn on the pattern: + where a point has to be, - where none may be.
Rows drawn(const Tool& tool) {
    const auto width = static_cast<std::size_t>(tool.pattern().width());
    Rows rows(static_cast<std::size_t>(tool.pattern().height()), std::string(width, '.'));
    for (const Tool::ProbePt& probe : tool.probes()) {
        rows[static_cast<std::size_t>(probe.position.y())]
            [static_cast<std::size_t>(probe.position.x())] = probe.expected ? '+' : '-';
    }
    return rows;
}

Rows pixelsOf(const rxPelBuffer<unsigned char>& image) {
    Rows rows;
    for (long y = 0; y < image.height(); ++y) {
        rows.emplace_back();
        for (long x = 0; x < image.width(); ++x) {
            rows.back() += static_cast<char>('0' + image.pointToRow(y)[x]);
        }
    }
    return rows;
}

rxPelBuffer<unsigned char> imageOf(const Rows& rows, rxPair<long> offset = {}) {
    rxPelBuffer<unsigned char> image(static_cast<long>(rows[0].size()),
                                     static_cast<long>(rows.size()), 32);
    rfPelClear(image);
    unsigned char value = 0;
    for (const rxPair<long>& p : positionsOf(rows)) {
        value =
            static_cast<unsigned char>(value % 255 + 1);  // any value other than 0 is a position
        image.pointToRow(p.y())[p.x()] = value;
    }
    image.offset(offset);
    return image;
}

const Rows kFive = {"#####", "#####", "#####", "#####", "#####"};
const Rows kFiveWithHole = {"#####", "#####", "##.##", "#####", "#####"};

TEST(GridCorresponderTraining, FullBlockHasItsRingAsProbes) {
    const Tool tool = trained(kFive, Defs::eBorderPoints);
    EXPECT_EQ(tool.probes().size(), 16U);
    EXPECT_EQ(drawn(tool), Rows({"+++++", "+...+", "+...+", "+...+", "+++++"}));
}

TEST(GridCorresponderTraining, HoleIsProbedWithTheFourPointsAroundIt) {
    const Tool tool = trained(kFiveWithHole, Defs::eBorderPoints);
    EXPECT_EQ(tool.probes().size(), 21U);
    EXPECT_EQ(drawn(tool), Rows({"+++++", "+.+.+", "++-++", "+.+.+", "+++++"}));
}

TEST(GridCorresponderTraining, AllPointsProbesEveryPositionAndNoHole) {
    const Tool tool = trained(kFiveWithHole, Defs::eAllPoints);
    EXPECT_EQ(drawn(tool), Rows({"+++++", "+++++", "++.++", "+++++", "+++++"}));
}

TEST(GridCorresponderTraining, OtherFeatureTypesAreAllPoints) {
    for (const int type : {-1, 3, 4, 2147483647}) {
        EXPECT_EQ(trained(kFiveWithHole, static_cast<Defs::FeatureType>(type)).probes(),
                  trained(kFiveWithHole, Defs::eAllPoints).probes());
    }
}

TEST(GridCorresponderTraining, ProbesComeInRasterOrderWhateverTheOrderOfThePositions) {
    Positions positions = positionsOf(kFiveWithHole);
    std::reverse(positions.begin(), positions.end());
    positions.insert(positions.end(), positions.begin(), positions.begin() + 7);  // repeated ones
    Tool tool;
    tool.train(positions, Params(), rxXform<2>());
    EXPECT_EQ(tool.probes(), trained(kFiveWithHole, Defs::eBorderPoints).probes());
    EXPECT_TRUE(std::is_sorted(tool.probes().begin(), tool.probes().end(),
                               [](const Tool::ProbePt& a, const Tool::ProbePt& b) {
                                   return a.position.y() * 5 + a.position.x() <
                                          b.position.y() * 5 + b.position.x();
                               }));
}

TEST(GridCorresponderTraining, WideBorderTakesThePointsNextToTheBorder) {
    const Rows seven = {"#######", "#######", "#######", "#######",
                        "#######", "#######", "#######"};
    EXPECT_EQ(drawn(trained(seven, Defs::eWideBorderPoints)),
              Rows({"+++++++", "+++++++", "++...++", "++...++", "++...++", "+++++++", "+++++++"}));
}

TEST(GridCorresponderTraining, WideBorderTakesThePointsNextToThoseAroundAHole) {
    const Rows rows = {"########", "########", "########", "###.####",
                       "########", "########", "########", "########"};
    EXPECT_EQ(drawn(trained(rows, Defs::eWideBorderPoints)),
              Rows({"++++++++", "++++++++", "+++++.++", "+++-++++", "+++++.++", "++.+..++",
                    "++++++++", "++++++++"}));
}

TEST(GridCorresponderTraining, WideBorderSpreadsFromPointsThatOthersHaveMarked) {
    // (4, 2) lies below a hole and marks (4, 3), which lies beside a hole itself and so marks
    // (5, 3), as nothing else does.
    const Rows rows = {"##########", "####.#####", "##########", "###.######",
                       "##########", "##########", "##########"};
    EXPECT_EQ(drawn(trained(rows, Defs::eWideBorderPoints)),
              Rows({"++++++++++", "++++-+++++", "++++++..++", "+++-++..++", "+++++...++",
                    "++++++++++", "++++++++++"}));
}

TEST(GridCorresponderTraining, WideBorderTakesASecondLayerOfEmptyPositions) {
    const Rows rows = {"########", "#......#", "#......#", "#......#",
                       "#......#", "#......#", "########"};
    EXPECT_EQ(
        drawn(trained(rows, Defs::eBorderPoints)),
        Rows({"++++++++", "+------+", "+-....-+", "+-....-+", "+-....-+", "+------+", "++++++++"}));
    // Full of gaps: along an edge every other position is marked by the one before it, and an
    // empty position that another one has marked does not spread.
    EXPECT_EQ(
        drawn(trained(rows, Defs::eWideBorderPoints)),
        Rows({"++++++++", "+------+", "+-.-.--+", "+--...-+", "+-.-.--+", "+------+", "++++++++"}));
}

TEST(GridCorresponderTraining, EmptyPositionMarkedByAnotherDoesNotSpread) {
    // (1, 0) is next to (0, 0) and marks (2, 0) and (1, 1); (2, 0) and (1, 1) are marked then, and
    // mark nothing although (1, 1) borders on (0, 1).
    const Rows rows = {"#......#", "#......#", "#......#"};
    EXPECT_EQ(drawn(trained(rows, Defs::eWideBorderPoints)),
              Rows({"+--..--+", "+-....-+", "+--..--+"}));
}

TEST(GridCorresponderTraining, StaggeredPatternLooksAlongDiagonals) {
    const Rows rows = {"#.#.#.#", ".#.#.#.", "#.#.#.#", ".#.#.#.", "#.#.#.#"};
    EXPECT_EQ(drawn(trained(rows, Defs::eBorderPoints, true)),
              Rows({"+.+.+.+", ".......", "+.....+", ".......", "+.+.+.+"}));
    // As a plain pattern every one of them stands beside an empty position.
    EXPECT_EQ(drawn(trained(rows, Defs::eBorderPoints, false)),
              Rows({"+-+-+-+", "-+-+-+-", "+-+-+-+", "-+-+-+-", "+-+-+-+"}));
}

TEST(GridCorresponderTraining, HoleOfAStaggeredPatternHasDiagonalNeighbours) {
    const Rows rows = {"#.#.#.#", ".#.#.#.", "#.#...#", ".#.#.#.", "#.#.#.#"};
    EXPECT_EQ(drawn(trained(rows, Defs::eBorderPoints, true)),
              Rows({"+.+.+.+", "...+.+.", "+...-.+", "...+.+.", "+.+.+.+"}));
}

TEST(GridCorresponderTraining, WideBorderSpreadsStraightInStaggeredPatternsToo) {
    const Rows rows = {"#.#.#.#", ".#.#.#.", "#.#...#", ".#.#.#.", "#.#.#.#"};
    // The straight neighbours of a point of the lattice are empty, those of the hole as well.
    EXPECT_EQ(drawn(trained(rows, Defs::eWideBorderPoints, true)),
              Rows({"+.+.+.+", "...+-+.", "+..---+", "...+-+.", "+.+.+.+"}));
    EXPECT_EQ(drawn(trained({"#####", "#####", "#####", "#####", "#####", "#####"},
                            Defs::eWideBorderPoints, true)),
              Rows({"+++++", "+++++", "++.++", "++.++", "+++++", "+++++"}));
}

TEST(GridCorresponderTraining, SingleRowAndSingleColumnAreAllBorder) {
    EXPECT_EQ(drawn(trained({"##.#..#"}, Defs::eBorderPoints)), Rows({"++-+--+"}));
    EXPECT_EQ(drawn(trained({"#", ".", ".", "#"}, Defs::eBorderPoints)),
              Rows({"+", "-", "-", "+"}));
    EXPECT_EQ(drawn(trained({"#"}, Defs::eBorderPoints)), Rows({"+"}));
}

TEST(GridCorresponderTraining, PatternIsTheImageOfThePositions) {
    const rxXform<2> clientFromGrid(rxMatrix<2>(2, 1, 0, 3), rxVector<2>(5, 7));
    Tool tool;
    tool.train({{-3, 8}, {-1, 8}, {-3, 10}, {-1, 8}}, Params(), clientFromGrid);
    EXPECT_EQ(pixelsOf(tool.pattern()), Rows({"101", "000", "100"}));
    EXPECT_EQ(tool.pattern().offset(), rxPair<long>(-3, 8));
    EXPECT_EQ(tool.pattern().clientFromImageXform(), clientFromGrid);
}

TEST(GridCorresponderTraining, KeepsTheParameters) {
    const Tool tool = trained(kFive, Defs::eWideBorderPoints, true);
    EXPECT_TRUE(tool.trainParams().staggered());
    EXPECT_EQ(tool.trainParams().featureType(), Defs::eWideBorderPoints);
}

TEST(GridCorresponderTraining, ImageTrainsLikeItsPositionsWithTheOffset) {
    const Rows rows = {".......", "..##...", "..#.#..", "......."};
    rxPelBuffer<unsigned char> image = imageOf(rows, {100, -50});
    const rxXform<2> clientFromImage(rxMatrix<2>(0, 1, -1, 0), rxVector<2>(0.5, 4));
    image.clientFromImageXform(clientFromImage);
    Tool fromImage;
    fromImage.train(image, Params());
    Tool fromList;
    fromList.train(positionsOf(rows, {100, -50}), Params(), clientFromImage);

    EXPECT_EQ(fromImage.probes(), fromList.probes());
    EXPECT_EQ(pixelsOf(fromImage.pattern()), Rows({"110", "101"}));
    EXPECT_EQ(fromImage.pattern().offset(), rxPair<long>(102, -49));
    EXPECT_EQ(fromImage.pattern().clientFromImageXform(), clientFromImage);
    EXPECT_EQ(fromList.pattern().offset(), rxPair<long>(102, -49));
}

TEST(GridCorresponderTraining, OnlyTheWindowOfAnImageCounts) {
    rxPelBuffer<unsigned char> image = imageOf({"#####", "#.#.#", "#####"});
    image.window(1, 0, 3, 2, false);
    Tool tool;
    tool.train(image, Params());
    EXPECT_EQ(pixelsOf(tool.pattern()), Rows({"111", "010"}));
    EXPECT_EQ(tool.pattern().offset(), rxPair<long>(1, 0));
    EXPECT_FALSE(tool.pattern().sharesPixelsWith(image));
}

TEST(GridCorresponderTraining, FewerThanThreePixelsLeaveAllButTheParameters) {
    Tool tool = trained(kFive, Defs::eBorderPoints, false);
    const std::vector<Tool::ProbePt> before = tool.probes();
    for (const Rows& rows : {Rows{"...."}, Rows{".#.."}, Rows{".#..", "...#"}}) {
        try {
            tool.train(imageOf(rows), Params(true, Defs::eAllPoints));
            ADD_FAILURE() << "was trained";
        } catch (const Defs::InsufficientModelPoints& error) {
            EXPECT_EQ(error.message(), "");
        }
        EXPECT_EQ(tool.probes(), before);
        EXPECT_EQ(pixelsOf(tool.pattern())[0], "11111");
        EXPECT_TRUE(tool.trainParams().staggered());
        EXPECT_EQ(tool.trainParams().featureType(), Defs::eAllPoints);
    }
    EXPECT_THROW(tool.train(rxPelBuffer<unsigned char>(), Params()), Defs::InsufficientModelPoints);
    tool.train(imageOf({".#..", "#..#"}), Params());  // three are enough
    EXPECT_EQ(tool.pattern().size(), rxPair<long>(4, 2));
}

TEST(GridCorresponderTraining, EmptyListIsRefusedAndShortListsAreNot) {
    Tool tool = trained(kFive, Defs::eBorderPoints);
    EXPECT_THROW(tool.train({}, Params(true), rxXform<2>()), Defs::InsufficientModelPoints);
    EXPECT_EQ(tool.probes().size(), 16U);
    EXPECT_TRUE(tool.trainParams().staggered());

    tool.train({{4, 4}}, Params(), rxXform<2>());
    EXPECT_EQ(tool.probes(), std::vector<Tool::ProbePt>({{{0, 0}, true}}));
}

TEST(GridCorresponderTraining, IsTrainedUntilUntrained) {
    Tool tool;
    EXPECT_FALSE(tool.isTrained());
    tool.train(positionsOf(kFive, {2, 3}), Params(true), rxXform<2>());
    EXPECT_TRUE(tool.isTrained());

    tool.untrain();
    EXPECT_FALSE(tool.isTrained());
    EXPECT_EQ(pixelsOf(tool.pattern()), Rows(5, "11111"));
    EXPECT_EQ(tool.pattern().offset(), rxPair<long>(2, 3));
    EXPECT_TRUE(tool.trainParams().staggered());

    tool.train(imageOf(kFive), Params());
    EXPECT_TRUE(tool.isTrained());
}

TEST(GridCorresponderTraining, TrainsAnewOnItsOwnPattern) {
    Tool tool = trained(kFiveWithHole, Defs::eAllPoints);
    tool.train(tool.pattern(), Params(false, Defs::eBorderPoints));
    EXPECT_EQ(tool.probes(), trained(kFiveWithHole, Defs::eBorderPoints).probes());
}

TEST(GridCorresponderTraining, PositionsTooFarApartAreRefused) {
    Tool tool = trained(kFive, Defs::eBorderPoints);
    const long most = 2147483647;
    const long least = -most - 1;
    for (const Positions& positions :
         {Positions{{0, 0}, {1000000000, 1}}, Positions{{0, 0}, {16384, 16384}},
          Positions{{least, least}, {most, most}}, Positions{{0, least}, {0, most}}}) {
        try {
            tool.train(positions, Params(true), rxXform<2>());
            ADD_FAILURE() << "was trained";
        } catch (const Defs::InsufficientMemory& error) {
            EXPECT_EQ(error.message(), "");
        }
        EXPECT_EQ(tool.probes().size(), 16U);
        EXPECT_EQ(tool.pattern().size(), rxPair<long>(5, 5));
        EXPECT_TRUE(tool.trainParams().staggered());
    }
}

TEST(GridCorresponderTraining, ExtremePositionsCloseTogetherAreFine) {
    const long most = 2147483647;
    const long least = -most - 1;
    Tool tool;
    tool.train({{most, least}, {most - 2, least + 1}}, Params(), rxXform<2>());
    EXPECT_EQ(tool.pattern().offset(), rxPair<long>(most - 2, least));
    EXPECT_EQ(pixelsOf(tool.pattern()), Rows({"001", "100"}));
}

TEST(GridCorresponderTraining, PositionsBeyond32BitsAreRefused) {
    Tool tool = trained(kFive, Defs::eBorderPoints);
    const long beyond = 2147483648;
    for (const rxPair<long>& position :
         {rxPair<long>(beyond, 0), rxPair<long>(0, beyond), rxPair<long>(-beyond - 1, 0),
          rxPair<long>(0, INT64_MIN), rxPair<long>(INT64_MAX, 0)}) {
        EXPECT_THROW(tool.train({{0, 0}, position}, Params(), rxXform<2>()), rx_PelBuffer::Errors);
        EXPECT_EQ(tool.probes().size(), 16U);
    }
    rxPelBuffer<unsigned char> image = imageOf({"#..", "#..", "#.."}, {beyond - 1, 0});
    tool.train(image, Params());
    EXPECT_EQ(tool.pattern().offset(), rxPair<long>(beyond - 1, 0));
    EXPECT_THROW(tool.train(imageOf({"#.#", "#.."}, {beyond - 1, 0}), Params()),
                 rx_PelBuffer::Errors);
    EXPECT_EQ(tool.pattern().size(), rxPair<long>(1, 3));
}

TEST(GridCorresponder, CopiesOwnTheirPixels) {
    Tool original = trained(kFiveWithHole, Defs::eWideBorderPoints, true);
    const Tool copy(original);
    Tool assigned = trained(kFive, Defs::eAllPoints);
    assigned = original;
    for (const Tool* tool : {&copy, &static_cast<const Tool&>(assigned)}) {
        EXPECT_EQ(tool->probes(), original.probes());
        EXPECT_EQ(pixelsOf(tool->pattern()), pixelsOf(original.pattern()));
        EXPECT_EQ(tool->trainParams().featureType(), Defs::eWideBorderPoints);
        EXPECT_TRUE(tool->trainParams().staggered());
        EXPECT_FALSE(tool->pattern().sharesPixelsWith(original.pattern()));
    }

    rxPelBuffer<unsigned char> view = original.pattern();
    view.put(0, 0, 9);
    EXPECT_EQ(original.pattern().get(0, 0), 9);
    EXPECT_EQ(copy.pattern().get(0, 0), 1);
    EXPECT_EQ(assigned.pattern().get(0, 0), 1);
    original.untrain();
    EXPECT_TRUE(copy.isTrained());
}

TEST(GridCorresponder, AssignmentToItselfKeepsEverything) {
    Tool tool = trained(kFive, Defs::eBorderPoints);
    const Tool& same = tool;
    tool = same;
    EXPECT_EQ(tool.probes().size(), 16U);
    EXPECT_EQ(pixelsOf(tool.pattern()), Rows(5, "11111"));
}

TEST(GridCorresponder, DefaultIsUntrainedAndEmpty) {
    const Tool tool;
    EXPECT_FALSE(tool.isTrained());
    EXPECT_EQ(tool.pattern().size(), rxPair<long>(0, 0));
    EXPECT_FALSE(tool.trainParams().staggered());
    EXPECT_EQ(tool.trainParams().featureType(), Defs::eBorderPoints);
    EXPECT_EQ(Tool(tool).pattern().size(), rxPair<long>(0, 0));
}

}  // namespace
