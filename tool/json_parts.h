#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "foundation/angle.h"
#include "foundation/range.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

// The values that the JSON texts of all commands have in common, written in one way.
namespace ptmatch::tool {

using Json = nlohmann::ordered_json;

/// [x, y]
Json vectorJson(const rxVector<2>& vector);
/// [m00, m01, m10, m11, tx, ty]
Json xformJson(const rxXform<2>& xform);
/// [low, high], or "full"
Json rangeJson(const rxRange& range);
/// The same in degrees.
Json rangeJson(const rxAngleRange& range);
/// The object as text, indented, ended by a line break. Bytes that are no UTF-8 are replaced.
std::string jsonText(const Json& json);

}  // namespace ptmatch::tool
