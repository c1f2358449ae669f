#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/vector.h"

/// The first two columns of a table with a header, "data/demo_pick/model.csv".
inline std::vector<rxVector<2>> pointsOf(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    std::vector<rxVector<2>> points;
    while (std::getline(file, line)) {
        std::istringstream fields(line);
        double x = 0.0;
        double y = 0.0;
        char comma = '\0';
        if (!(fields >> x >> comma >> y)) throw std::runtime_error(path + ": " + line);
        points.emplace_back(x, y);
    }
    if (points.empty()) throw std::runtime_error(path + " cannot be read");
    return points;
}
