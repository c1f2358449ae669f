#pragma once

#include "grid_match_report.h"

// A small match worked out by hand: a pattern of four positions around an empty one, with an empty
// margin of one column; placed 10 apart from (100, 50), the last position has no point, two data
// points are clutter.
inline ptmatch::tool::GridMatchReport sampleGridMatchReport() {
    ptmatch::tool::GridMatchReport report;
    report.patternFile = "plates/pattern.txt";
    report.dataFile = "plates/data.csv";
    report.pattern = ptmatch::tool::parsePattern(".xx\n.x.\n.xx", "pattern.txt");
    report.data.points = {{133, 44}, {120, 70}, {110, 50}, {120, 50}, {110, 60}, {1, 1}};
    report.choice.steps = {{10, 0}, {0, 9.5}};
    report.rotationDeg = {-20, 20};
    report.scale = {-0.2, 0.2};
    report.seconds = 0.0125;
    ptmatch::tool::GridPlacement placement;
    placement.map = {2, 3, 4, -1, 1};
    placement.coverage = 0.8;
    placement.reachesBeyond = 0;
    fitToMap(placement, report.pattern, report.data.points);
    report.placements = {placement};
    return report;
}
