#include "json_parts.h"

namespace ptmatch::tool {
namespace {

double degrees(const rxRadian& angle) {
    return rxDegree(angle).toDouble();
}

}  // namespace

Json vectorJson(const rxVector<2>& vector) {
    return {vector.x(), vector.y()};
}

Json xformJson(const rxXform<2>& xform) {
    const rxMatrix<2> m = xform.matrix();
    return {m.element(0, 0), m.element(0, 1),   m.element(1, 0),
            m.element(1, 1), xform.trans().x(), xform.trans().y()};
}

Json rangeJson(const rxRange& range) {
    if (range.range() == rxRangeDefs::Full) return "full";
    if (range.range() == rxRangeDefs::Empty) return "empty";
    return {range.start(), range.end()};
}

Json rangeJson(const rxAngleRange& range) {
    if (range.range() == rxRangeDefs::Full) return "full";
    if (range.range() == rxRangeDefs::Empty) return "empty";
    return {degrees(range.start()), degrees(range.end())};
}

std::string jsonText(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace ptmatch::tool
