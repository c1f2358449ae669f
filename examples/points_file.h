#pragma once

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/vector.h"

/// The points of a table with the columns x and y under a header line, such as those in data/.
/// @throws std::runtime_error  the file cannot be opened, or a line does not begin with two
/// numbers.
inline std::vector<rxVector<2>> readPoints(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error(path + ": cannot be opened");
    std::string line;
    std::getline(file, line);
    std::vector<rxVector<2>> points;
    while (std::getline(file, line)) {
        std::istringstream fields(line);
        double x = 0.0;
        double y = 0.0;
        char comma = ' ';
        if (!(fields >> x >> comma >> y) || comma != ',') {
            throw std::runtime_error(path + ": not a point: " + line);
        }
        points.emplace_back(x, y);
    }
    return points;
}
