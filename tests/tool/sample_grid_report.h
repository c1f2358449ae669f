#pragma once

#include "grid_map_report.h"

// A small mapping worked out by hand: 3 columns and 2 rows, 10 apart, from (100, 50); position
// (1, 1) has no point, (2, 0) has two, which both count, one point is clutter, (0, 1) is off by
// (0.3, 0.4).
inline ptmatch::tool::GridMapReport sampleGridReport() {
    ptmatch::tool::GridMapReport report;
    report.dataFile = "plates/data.csv";
    report.data.points = {{100, 50}, {110, 50}, {120, 50}, {100.3, 60.4},
                          {120, 60}, {133, 44}, {120, 50}};
    report.positions = {{{0, 0}}, {{1, 0}}, {{2, 0}}, {{0, 1}}, {{2, 1}}, {}, {{2, 0}}};
    report.dataFromGrid = rxXform<2>(rxMatrix<2>(10, 0, 0, 10), {100, 50});
    report.choice.steps = {{10, 0}, {0, 9.5}};
    report.sizeTolerance = {0.8, 1.2};
    report.angleToleranceDeg = {-20, 20};
    report.snap = 2.5;
    report.doubles = 1;
    report.keepsAll = true;
    report.seconds = 0.0125;
    return report;
}

inline ptmatch::tool::GridMapReport sampleEmptyGridReport() {
    ptmatch::tool::GridMapReport report = sampleGridReport();
    report.positions.assign(report.data.points.size(), std::nullopt);
    report.dataFromGrid.reset();
    report.doubles = 0;
    return report;
}
