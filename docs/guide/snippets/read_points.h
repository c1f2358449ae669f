#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/vector.h"

/// The columns x and y of a table of points that begins with them; for the programs of the guide.
inline std::vector<rxVector<2>> readPoints(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error("cannot open " + path);
    std::string line;
    std::getline(file, line);  // the header
    std::vector<rxVector<2>> points;
    while (std::getline(file, line)) {
        std::istringstream fields(line);
        double x = 0.0;
        double y = 0.0;
        char comma = ' ';
        if (!(fields >> x >> comma >> y)) throw std::runtime_error(path + ": " + line);
        points.emplace_back(x, y);
    }
    return points;
}
