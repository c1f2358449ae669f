// What a search has to go through, for several ranges of poses; and a narrow search that succeeds.
#include <ptmatch/ppmatch.h>
#include <ptmatch/run_cost.h>

#include <cstdio>
#include <vector>

#include "read_points.h"

namespace {

using Points = std::vector<rxVector<2>>;

void print(const char* what, const rxPointMatcher& matcher, const Points& data,
           const rxPointMatcherRunParams& params) {
    const rxRunCost cost = rfRunCost(matcher, data, params);
    std::printf("%-30s %6lld x %5lld\n", what, static_cast<long long>(cost.numLatticePoints),
                static_cast<long long>(cost.numTranslations));
}

}  // namespace

int main() {
    rxPointMatcher matcher;
    matcher.train(readPoints("data/demo_pick/model.csv"), rxPointMatcherDefs::eAutoDetect);
    const Points data = readPoints("data/demo_pick/data.csv");

    rxPointMatcherRunParams params;
    print("15 degrees either way", matcher, data, params);
    params.rotationUncertainty(rxAngleRange::FullRange());
    print("full turn", matcher, data, params);
    params.scaleUncertainty(rxRange(-0.3, 0.3));
    print("full turn, scale 0.7 to 1.3", matcher, data, params);

    // [narrow]
    // The card lies near (540, 340), turned by -5 degrees or so, and is about as large as the
    // model.
    rxPointMatcherRunParams narrow;
    narrow.startPose(rxXform<2>(rxVector<2>(540, 340), rxDegree(-5), rxDegree(-5), 1.0, 1.0));
    narrow.rotationUncertainty(rxAngleRange(rxDegree(-3), rxDegree(3), false));
    narrow.scaleUncertainty(rxRange(-0.05, 0.05));
    narrow.xTranslationUncertainty(rxRange(-30, 30));
    narrow.yTranslationUncertainty(rxRange(-30, 30));
    // [narrow]
    print("3 degrees, 5 %, 30 px", matcher, data, narrow);

    rxPointMatcherResultSet found;
    matcher.run(data, narrow, found);
    return found.results().size() == 1 && found.results().front().coverage() == 1.0 ? 0 : 1;
}
