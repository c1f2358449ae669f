#include "ptmatch/gridcorr/axis_closing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include "ptmatch/gridcorr/occupied_coordinates.h"

namespace {

using ptmatch::detail::AxisClosing;
using ptmatch::detail::OccupiedCoordinates;
using Coordinates = std::vector<std::int64_t>;

TEST(AxisClosing, OfALengthAloneClosesNothing) {
    const AxisClosing axis(100);
    EXPECT_EQ(axis.length(), 100);
    EXPECT_EQ(axis.closed(99), 99);
    EXPECT_EQ(axis.opened(99), 99);
}

TEST(AxisClosing, KeepsStretchesThatTheWindowDoesNotFitIn) {
    // 3 empty coordinates at most, and a window of 4.
    const AxisClosing axis({0, 4, 5, 9}, 13, 4);
    EXPECT_EQ(axis.length(), 13);
    for (std::int64_t t = 0; t < 10; ++t) EXPECT_EQ(axis.opened(t), t);
    EXPECT_EQ(axis.closed(9), 9);
}

TEST(AxisClosing, CutsAStretchDownToOneLessThanTheWindow) {
    const AxisClosing axis({0, 1000000000}, 1000000001, 4);
    EXPECT_EQ(axis.length(), 5);
    EXPECT_EQ(axis.closed(0), 0);
    EXPECT_EQ(axis.closed(1000000000), 4);
    EXPECT_EQ(axis.opened(0), 0);
    EXPECT_EQ(axis.opened(1), 1000000000 - 3);  // the first window that holds the far one
}

TEST(AxisClosing, CutsTheEndsAsWell) {
    const AxisClosing axis({100}, 500, 4);
    EXPECT_EQ(axis.length(), 7);
    EXPECT_EQ(axis.closed(100), 3);
    EXPECT_EQ(axis.opened(0), 97);
    EXPECT_EQ(axis.opened(3), 100);
}

TEST(AxisClosing, LeavesNoTranslationOfAnAxisWithoutData) {
    const AxisClosing axis({}, 1000000000, 4);
    EXPECT_EQ(axis.length(), 3);
}

/// What a window of the axis sees: the index of the occupied coordinate, or none, at each place.
using View = std::vector<std::optional<std::size_t>>;

View viewFrom(std::int64_t translation, std::int64_t window, const Coordinates& occupied) {
    View view(static_cast<std::size_t>(window));
    for (std::size_t i = 0; i < occupied.size(); ++i) {
        const std::int64_t place = occupied[i] - translation;
        if (place >= 0 && place < window) view[static_cast<std::size_t>(place)] = i;
    }
    return view;
}

/// The translations with any data in their window, in order, and what they see.
std::vector<std::pair<std::int64_t, View>> viewsOf(std::int64_t length, std::int64_t window,
                                                   const Coordinates& occupied) {
    std::vector<std::pair<std::int64_t, View>> views;
    for (std::int64_t t = 0; t <= length - window; ++t) {
        View view = viewFrom(t, window, occupied);
        if (view != View(static_cast<std::size_t>(window))) views.emplace_back(t, std::move(view));
    }
    return views;
}

TEST(AxisClosing, KeepsEveryViewOfTheDataInItsOrder) {
    std::mt19937 random(5);
    std::size_t closings = 0;
    for (int round = 0; round < 3000; ++round) {
        const std::int64_t length = 1 + static_cast<std::int64_t>(random() % 60);
        const std::int64_t window = 1 + static_cast<std::int64_t>(random()) % length;
        Coordinates occupied;
        for (std::int64_t c = 0; c < length; ++c) {
            if (random() % 12 == 0) occupied.push_back(c);
        }
        const AxisClosing axis(occupied, length, window);
        closings += axis.length() < length ? 1 : 0;
        Coordinates moved;
        for (const std::int64_t c : occupied) moved.push_back(axis.closed(c));
        ASSERT_TRUE(std::is_sorted(moved.begin(), moved.end()));

        auto views = viewsOf(axis.length(), window, moved);
        for (auto& [translation, view] : views) translation = axis.opened(translation);
        ASSERT_EQ(views, viewsOf(length, window, occupied)) << "round " << round;
    }
    EXPECT_GT(closings, 1000U);
}

TEST(OccupiedCoordinates, AreSortedAndUnique) {
    OccupiedCoordinates coordinates;
    for (const std::int64_t c : {7, 3, 7, 4099, 3, 4102, 4098, 2, 7, 3}) coordinates.add(c);
    EXPECT_EQ(coordinates.sorted(), Coordinates({2, 3, 7, 4098, 4099, 4102}));
    EXPECT_EQ(OccupiedCoordinates().sorted(), Coordinates());
}

}  // namespace
