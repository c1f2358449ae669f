#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "foundation/vector.h"

namespace station {

using Points = std::vector<rxVector<2>>;

/// A table that is not what it should be; the message names the file and the line.
class BadTable : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What the camera saw at once.
struct Frame {
    long number = 0;
    Points points;  // pixels
};

/// Where the camera and the robot see the same marks.
struct CalibrationMarks {
    Points camera;  // pixels
    Points robot;   // millimetres
};

/// Tables of numbers under a header line that has to be the one shown.
/// @throws BadTable  the file cannot be read, or a line is not as it should be.
Points readPart(const std::string& path);                   // x,y
std::vector<Frame> readFrames(const std::string& path);     // frame,x,y; lines of a frame together
CalibrationMarks readCalibration(const std::string& path);  // camera_x,camera_y,robot_x,robot_y

}  // namespace station
