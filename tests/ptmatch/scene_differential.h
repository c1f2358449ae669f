#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string>
#include <typeinfo>

#include "foundation/exception.h"
#include "reference/random_grid_scenes.h"

// What the comparisons of the library with the plain reference on random grid scenes have in
// common. PTMATCH_DIFFERENTIAL_CASES sets the number of scenes of each kind.

constexpr std::uint64_t kFirstSceneSeed = 9'000'000;

inline long scenesOfAKind(long unlessAsked) {
    const char* asked = std::getenv("PTMATCH_DIFFERENTIAL_CASES");
    return asked == nullptr ? unlessAsked : std::max(1L, std::atol(asked));
}

/// Holds one comparison after another against scenes of a kind, up to the first that fails, and
/// the number that found something against what the kind is made for.
/// @param compare  takes a scene and says whether something was found in it.
template <typename Scene, typename Compare>
void compareScenes(const ptmatch::reference::SceneKind<Scene>& kind, long count, Compare compare) {
    using ptmatch::reference::Outcome;
    long found = 0;
    for (long i = 0; i < count; ++i) {
        const std::uint64_t seed = kFirstSceneSeed + static_cast<std::uint64_t>(i);
        SCOPED_TRACE(testing::Message() << kind.name << ", seed " << seed);
        ptmatch::reference::Random random(seed);
        found += compare(kind.make(random)) ? 1 : 0;
        if (testing::Test::HasFailure()) return;
    }
    EXPECT_EQ(found == 0, kind.outcome == Outcome::eNothing) << found << " of " << count;
    EXPECT_TRUE(kind.outcome != Outcome::eMostFind || 2 * found > count)
        << found << " of " << count;
}

template <typename Scene>
std::string nameOfKind(const testing::TestParamInfo<ptmatch::reference::SceneKind<Scene>>& info) {
    return info.param.name;
}

/// The type of what the call throws; empty for one that does not.
template <typename Call>
std::string thrownBy(Call call) {
    try {
        call();
        return "";
    } catch (const rxException& error) {
        return typeid(error).name();
    }
}
