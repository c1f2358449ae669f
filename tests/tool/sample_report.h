#pragma once

#include "match_report.h"

// A small match worked out by hand: a triangle and a stray fourth point, turned by 90 degrees,
// doubled, moved by (10, 20); the fourth point has no partner, one data point is clutter.
inline ptmatch::tool::MatchReport sampleReport() {
    ptmatch::tool::MatchReport report;
    report.modelFile = "parts/model.csv";
    report.dataFile = "parts/data.csv";
    report.model.points = {{0, 0}, {1, 0}, {0, 1}, {5, 5}};
    report.data.points = {{8, 20}, {40, 40}, {10, 20.5}, {10, 22}};
    report.seconds = 0.0125;
    ptmatch::tool::FoundPose pose;
    pose.dataFromModel = rxXform<2>({10, 20}, rxDegree(90), rxDegree(90), 2, 2);
    pose.map = {2, 3, 0, -1};
    pose.coverage = 0.75;
    pose.fitError = 0.2886751345948129;  // sqrt(0.25 / 3)
    report.poses = {pose};
    return report;
}
