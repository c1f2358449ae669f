#pragma once

#include <iomanip>
#include <sstream>
#include <string>

#include "foundation/vector.h"

namespace picture_to_pose {

inline std::string fixedText(double value, int digits) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << value;
    return text.str();
}

inline std::string pairText(const rxVector<2>& v, int digits) {
    return "(" + fixedText(v.x(), digits) + ", " + fixedText(v.y(), digits) + ")";
}

}  // namespace picture_to_pose
