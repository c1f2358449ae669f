// Four flanges in a tray: the four best results are not the four flanges.
#include <ptmatch/distinct_instances.h>
#include <ptmatch/ppmatch.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "tray.h"

namespace {

void print(const rxPointMatcherResult& result) {
    const auto matched =
        std::ranges::count_if(result.modelToDataMap(), [](long k) { return k >= 0; });
    const rxVector<2> middle = result.modelToDataXform().trans();
    std::printf("  at (%3.0f, %3.0f), %td of 9 holes\n", middle.x(), middle.y(), matched);
}

}  // namespace

int main() {
    rxPointMatcher matcher;
    matcher.train(tray::flange(), rxPointMatcherDefs::eAutoDetect);
    const std::vector<rxVector<2>> data = tray::dots();

    // [four]
    rxPointMatcherRunParams params(0.6);
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.maxNumResults(4);
    rxPointMatcherResultSet found;
    matcher.run(data, params, found);
    // [four]
    std::printf("the four best results:\n");
    for (const rxPointMatcherResult& result : found.results()) print(result);
    const std::size_t numOfFour = rfDistinctInstances(matcher, found).size();

    // [copies]
    params.maxNumResults(50);  // room for the doubles of each copy
    matcher.run(data, params, found);
    const std::vector<std::size_t> copies = rfDistinctInstances(matcher, found);
    // [copies]
    std::printf("the copies among the 50 best results:\n");
    for (const std::size_t i : copies) print(found.results()[i]);

    rxPointMatcherRunParams third = params;
    third.rotationUncertainty(rxAngleRange(rxDegree(-60), rxDegree(60), false));
    third.maxNumResults(4);
    rxPointMatcherResultSet turnedByAThird;
    matcher.run(data, third, turnedByAThird);
    const std::size_t numOfThird = rfDistinctInstances(matcher, turnedByAThird).size();
    std::printf("60 degrees either way: %zu copies among the four best\n", numOfThird);

    // Each flange once, and the best results are views of fewer.
    bool isAsTold = numOfFour < 4 && numOfThird == 4 && copies.size() == tray::copies().size();
    for (const tray::Copy& copy : tray::copies()) {
        isAsTold = isAsTold && std::ranges::count_if(copies, [&](std::size_t i) {
                                   const rxXform<2>& pose = found.results()[i].modelToDataXform();
                                   return (pose.trans() - copy.pose.trans()).len() < 1.0;
                               }) == 1;
    }
    return isAsTold ? 0 : 1;
}
