#include "ptmatch/collinearity.h"

namespace ptmatch::detail {

void Collinearity::add(const rxVector<2>& position) {
    switch (known_) {
        case Known::kNothing:
            first_ = position;
            known_ = Known::kPoint;
            return;
        case Known::kPoint:
            if (position == first_) return;
            line_ = rxLine(position - first_, first_);
            known_ = Known::kLine;
            return;
        case Known::kLine:
            if (line_.distToPoint(position) >= kOffLine) holds_ = false;
            return;
    }
}

}  // namespace ptmatch::detail
