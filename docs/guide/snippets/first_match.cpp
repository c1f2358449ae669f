// A first match: five holes of a part among six points that were measured.
// [program]
#include <ptmatch/ppmatch.h>

#include <iostream>

int main() {
    rxPointMatcher matcher;
    matcher.train({{0, 0}, {40, 0}, {40, 25}, {10, 30}, {0, 15}}, rxPointMatcherDefs::eAutoDetect);

    rxPointMatcherResultSet found;
    matcher.run({{15, 88}, {62, 12}, {98, 43}, {60, 27}, {101, 18}, {67, 43}}, {}, found);
    if (found.results().empty()) return 1;

    const rxPointMatcherResult& best = found.results().front();
    std::cout << "coverage " << best.coverage() << ", turned by "
              << rxDegree(best.modelToDataXform().rotation()).toDouble() << " degrees\n";
    for (const long k : best.modelToDataMap()) std::cout << "data point " << k << '\n';
}
// [program]
