#include "same_results.h"

#include <algorithm>

namespace ptmatch::bench {

bool areSame(const rxPointMatcherResultSet& found, const reference::RunReport& expected) {
    return std::ranges::equal(found.results(), expected.results,
                              [](const rxPointMatcherResult& a, const reference::Result& b) {
                                  return a.modelToDataMap() == b.modelToDataMap &&
                                         a.coverage() == b.coverage && a.fitError() == b.fitError &&
                                         a.modelToDataXform() == b.modelToDataXform;
                              });
}

}  // namespace ptmatch::bench
