// A plate and its mirror image, which differ in one hole, told apart by weights.
#include <ptmatch/ppmatch.h>

#include <cmath>
#include <cstdio>
#include <vector>

#include "plate.h"

namespace {

using Points = std::vector<rxVector<2>>;

// [find]
/// What is found, or a coverage of 0.
struct Found {
    double coverage = 0.0;
    double degrees = 0.0;
    bool isAmbiguous = false;  // another pose fits as many points
};

Found find(const rxPointMatcher& matcher, const Points& data) {
    rxPointMatcherRunParams params(0.7);
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.maxNumResults(2);
    rxPointMatcherResultSet found;
    matcher.run(data, params, found);
    const std::vector<rxPointMatcherResult>& results = found.results();
    if (results.empty()) return {};
    return {results[0].coverage(), rxDegree(results[0].modelToDataXform().rotation()).toDouble(),
            results.size() > 1 && results[1].coverage() == results[0].coverage()};
}
// [find]

void print(const Found& found) {
    if (found.coverage == 0.0) {
        std::printf("%15s", "nothing");
    } else if (found.isAmbiguous) {
        std::printf("  %4.2f two ways", found.coverage);
    } else {
        std::printf("  %4.2f at %5.0f", found.coverage, found.degrees);
    }
}

}  // namespace

int main() {
    // [train]
    Points model = plate::holes();   // eight holes, the same from all sides
    model.push_back(plate::mark());  // a ninth, the mark, which is not
    rxPointMatcher plain;
    plain.train(model, rxPointMatcherDefs::eAutoDetect);

    std::vector<long> weights(8, 1);
    weights.push_back(4);  // the mark counts as much as half of the holes
    rxPointMatcher heavyMark;
    heavyMark.train(model, weights, rxPointMatcherDefs::eAutoDetect);

    weights.back() = 1;
    for (const rxVector<2>& place : plate::marksOfLookAlikes()) {
        model.push_back(place);  // here must be nothing:
        weights.push_back(-4);   // a point here counts against the pose
    }
    rxPointMatcher guarded;
    guarded.train(model, weights, rxPointMatcherDefs::eAutoDetect);
    // [train]

    std::printf("%-21s%15s%15s%15s\n", "", "plain", "heavy mark", "guarded");
    std::vector<Found> all;
    for (const plate::View& view : plate::views()) {
        std::printf("%-21s", view.name.c_str());
        for (const rxPointMatcher* matcher : {&plain, &heavyMark, &guarded}) {
            all.push_back(find(*matcher, view.data));
            print(all.back());
        }
        std::printf("\n");
    }

    // All know the plate and how it lies.
    bool isAsTold = true;
    for (std::size_t i = 0; i < 6; ++i) {
        const double expected = i < 3 ? 7.0 : -173.0;
        isAsTold = isAsTold && all[i].coverage == 1.0 && !all[i].isAmbiguous &&
                   std::abs(all[i].degrees - expected) < 1.0;
    }
    // Without its mark 8 of 9, 8 of 12, 8 of 9; turned over 8 of 9, 8 of 12, 8 - 4 of 9.
    for (const std::size_t i : {6U, 8U, 9U}) {
        isAsTold = isAsTold && all[i].coverage > 0.8 && all[i].isAmbiguous;
    }
    for (const std::size_t i : {7U, 10U, 11U}) isAsTold = isAsTold && all[i].coverage == 0.0;
    return isAsTold ? 0 : 1;
}
