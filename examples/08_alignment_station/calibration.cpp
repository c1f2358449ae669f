#include "calibration.h"

#include "ptmatch/perspective_fit.h"

namespace station {

// A camera that looks at a table from the side sees it in perspective. Of the two fits of such a
// transform this is the one for coordinates of any size, pixels among them.
Calibration::Calibration(const CalibrationMarks& marks)
    : robotFromCamera_(rfFitPerspectiveNormalized(marks.camera, marks.robot)),
      residual_(rfFitResidual(robotFromCamera_, marks.camera, marks.robot)) {}

Points Calibration::toRobot(const Points& camera) const {
    Points robot;
    robot.reserve(camera.size());
    for (const rxVector<2>& pixel : camera) robot.push_back(robotFromCamera_.a2b(pixel));
    return robot;
}

}  // namespace station
