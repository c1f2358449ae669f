// The rule of thumb for the grid size, for the models of the project.
#include <ptmatch/ppmatch.h>
#include <ptmatch/run_cost.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "read_points.h"

namespace {

// [usual]
/// The distances of the points from their nearest neighbours, ascending. The first is the smallest,
/// the one in the middle the usual one.
std::vector<double> neighbourDistances(const std::vector<rxVector<2>>& points) {
    std::vector<double> nearest(points.size(), std::numeric_limits<double>::infinity());
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (std::size_t k = 0; k < points.size(); ++k) {
            if (k != i) nearest[i] = std::min(nearest[i], (points[k] - points[i]).len());
        }
    }
    std::sort(nearest.begin(), nearest.end());
    return nearest;
}
// [usual]

}  // namespace

int main() {
    bool isAsTold = true;
    std::printf("%-12s smallest  usual  automatic  rule of thumb\n", "");
    for (const std::string name : {"demo_pick", "beehive", "versa64"}) {
        const std::vector<rxVector<2>> model = readPoints("data/" + name + "/model.csv");
        rxPointMatcher matcher;
        matcher.train(model, rxPointMatcherDefs::eAutoDetect);
        const double automatic = rfRunCost(matcher, model, rxPointMatcherRunParams()).gridSize;
        const std::vector<double> distances = neighbourDistances(model);
        const double usual = distances[distances.size() / 2];
        std::printf("%-12s %8.2f  %5.2f  %9.2f  %13.2f\n", name.c_str(), distances.front(), usual,
                    automatic, usual / 4.0);
        isAsTold = isAsTold && automatic == distances.front() / 4.0;
    }
    return isAsTold ? 0 : 1;
}
