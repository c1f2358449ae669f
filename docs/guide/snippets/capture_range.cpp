// A card of which six dots are hidden, searched with several capture ranges.
#include <ptmatch/ppmatch.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "read_points.h"

namespace {

using Points = std::vector<rxVector<2>>;

/// Where the model really lies, and the data without each fifth of its points.
struct HiddenDots {
    rxXform<2> pose;
    Points data;
};

HiddenDots hiddenDots(const rxPointMatcher& matcher, const Points& all) {
    rxPointMatcherResultSet found;
    matcher.run(all, {}, found);
    HiddenDots scene;
    scene.pose = found.results().front().modelToDataXform();
    const std::vector<long>& map = found.results().front().modelToDataMap();
    for (std::size_t k = 0; k < all.size(); ++k) {
        const auto place = std::ranges::find(map, static_cast<long>(k)) - map.begin();
        if (place == std::ssize(map) || place % 5 != 0) scene.data.push_back(all[k]);
    }
    return scene;
}

/// Prints a line of the table; whether the model was found where it lies.
bool report(const HiddenDots& scene, const Points& model, double range,
            const rxPointMatcherResult& best) {
    double off = 0.0;
    for (const rxVector<2>& m : model) {
        off = std::max(off, (best.modelToDataXform() * m - scene.pose * m).len());
    }
    const auto matched =
        std::ranges::count_if(best.modelToDataMap(), [](long k) { return k >= 0; });
    std::printf("%13.1f  %7td  %9.2f  %s\n", range, matched, best.fitError(),
                off < 2.0 ? "right" : "wrong");
    return off < 2.0;
}

}  // namespace

int main() {
    rxPointMatcher matcher;
    const Points model = readPoints("data/demo_pick/model.csv");
    matcher.train(model, rxPointMatcherDefs::eAutoDetect);
    const HiddenDots scene = hiddenDots(matcher, readPoints("data/demo_pick/data.csv"));

    bool isAsTold = true;
    std::printf("capture range  matched  fit error  place\n");
    // [run]
    rxPointMatcherRunParams params;
    params.minCoverage(0.2);
    params.autoCaptureRange(false);
    for (const double range : {1.6, 2.5, 3.2, 5.0, 6.4, 12.8, 18.0, 25.6}) {
        params.captureRange(range);  // data units
        rxPointMatcherResultSet found;
        matcher.run(scene.data, params, found);
        const bool isRight = report(scene, model, range, found.results().at(0));
        isAsTold = isAsTold && isRight == (range < 15.0);
    }
    // [run]
    return isAsTold ? 0 : 1;
}
