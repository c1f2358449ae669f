#pragma once

#include "grid_options.h"
#include "json_parts.h"

// What the JSON texts of the grid commands have in common.
namespace ptmatch::tool {

/// {"xv": [x, y], "yv": [x, y], "proposed": false}; a proposal adds how many points bear it out.
Json stepsJson(const StepChoice& choice);

/// [low, high], or "full"
Json intervalJson(const Interval& interval);

/// A number, or "auto".
Json orAutoJson(const std::optional<double>& value);

/// [i, j]
Json positionJson(const rxPair<long>& position);

/// The object or number, or null.
template <typename Value, typename Write>
Json orNullJson(const std::optional<Value>& value, Write write) {
    return value ? Json(write(*value)) : Json();
}

}  // namespace ptmatch::tool
