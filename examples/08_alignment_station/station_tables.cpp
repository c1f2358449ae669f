#include "station_tables.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <locale>
#include <sstream>

namespace station {
namespace {

std::string placeOf(const std::string& path, long line) {
    return path + ":" + std::to_string(line) + ": ";
}

/// The numbers of all lines, as many to a line as the header has names.
std::vector<std::vector<double>> readTable(const std::string& path, const std::string& header) {
    std::ifstream file(path);
    if (!file) throw BadTable(path + ": cannot be opened");
    std::string line;
    std::getline(file, line);
    if (line != header) throw BadTable(path + ":1: the header is to be " + header);
    const auto numColumns = 1 + std::count(header.begin(), header.end(), ',');

    std::vector<std::vector<double>> rows;
    for (long number = 2; std::getline(file, line); ++number) {
        std::istringstream fields(line);
        fields.imbue(std::locale::classic());
        std::vector<double> row;
        double value = 0.0;
        bool isNumber = false;
        do {
            isNumber = static_cast<bool>(fields >> value);
            row.push_back(value);
        } while (isNumber && fields.get() == ',');
        const bool isComplete = isNumber && fields.eof() && std::ssize(row) == numColumns;
        if (!isComplete) throw BadTable(placeOf(path, number) + line);
        rows.push_back(std::move(row));
    }
    if (rows.empty()) throw BadTable(path + ": has no line");
    return rows;
}

}  // namespace

Points readPart(const std::string& path) {
    Points points;
    for (const auto& row : readTable(path, "x,y")) points.emplace_back(row[0], row[1]);
    return points;
}

std::vector<Frame> readFrames(const std::string& path) {
    std::vector<Frame> frames;
    for (const auto& row : readTable(path, "frame,x,y")) {
        if (!(std::abs(row[0]) <= 1e9) || row[0] != std::floor(row[0])) {
            throw BadTable(path + ": a frame has a whole number");
        }
        const long number = static_cast<long>(row[0]);
        if (frames.empty() || frames.back().number != number) frames.push_back({number, {}});
        frames.back().points.emplace_back(row[1], row[2]);
    }
    return frames;
}

CalibrationMarks readCalibration(const std::string& path) {
    CalibrationMarks marks;
    for (const auto& row : readTable(path, "camera_x,camera_y,robot_x,robot_y")) {
        marks.camera.emplace_back(row[0], row[1]);
        marks.robot.emplace_back(row[2], row[3]);
    }
    return marks;
}

}  // namespace station
