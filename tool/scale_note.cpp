#include "scale_note.h"

#include <ostream>

#include "number_text.h"

namespace ptmatch::tool {

void noteScaleElsewhere(const Interval& scale, std::ostream& notes) {
    if (scale.isFull || (scale.low <= 0.0 && scale.high >= 0.0)) return;
    notes << "ptmatch: note: --scale " << shortText(scale.low) << "," << shortText(scale.high)
          << " tries scales " << shortText(1.0 + scale.low) << " to " << shortText(1.0 + scale.high)
          << " times the expected one, for LO and HI are changes of it; -0.1,0.1 tries 0.9 to 1.1"
          << std::endl;
}

}  // namespace ptmatch::tool
