#include "tables.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace picture_to_pose {
namespace {

std::ifstream opened(const std::string& file) {
    std::ifstream stream(file);
    if (!stream) throw std::runtime_error(file + ": cannot be opened");
    return stream;
}

std::vector<double> numbersOf(std::string line, std::size_t columns) {
    for (char& c : line) {
        if (c == ',') c = ' ';
    }
    std::istringstream words(line);
    std::vector<double> numbers;
    for (double number = 0.0; numbers.size() < columns && words >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}

}  // namespace

std::vector<std::vector<double>> readTable(const std::string& file, std::size_t columns) {
    std::ifstream stream = opened(file);
    std::vector<std::vector<double>> rows;
    std::string line;
    std::getline(stream, line);  // headings
    for (int number = 2; std::getline(stream, line); ++number) {
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        rows.push_back(numbersOf(line, columns));
        if (rows.back().size() < columns) {
            throw std::runtime_error(file + ", line " + std::to_string(number) + ": expected " +
                                     std::to_string(columns) + " numbers");
        }
    }
    return rows;
}

std::vector<rxVector<2>> readPoints(const std::string& file) {
    std::vector<rxVector<2>> points;
    for (const std::vector<double>& row : readTable(file, 2)) points.emplace_back(row[0], row[1]);
    return points;
}

std::vector<rxPair<long>> readPattern(const std::string& file) {
    std::ifstream stream = opened(file);
    std::vector<rxPair<long>> dots;
    long row = 0;
    for (std::string line; std::getline(stream, line); ++row) {
        for (std::size_t column = 0; column < line.size(); ++column) {
            const char c = line[column];
            if (c == 'x') dots.emplace_back(static_cast<long>(column), row);
            if (c != 'x' && c != '.' && c != '\r') {
                throw std::runtime_error(file + ": a pattern is drawn with x and . only");
            }
        }
    }
    if (dots.empty()) throw std::runtime_error(file + ": a pattern without a dot");
    return dots;
}

}  // namespace picture_to_pose
