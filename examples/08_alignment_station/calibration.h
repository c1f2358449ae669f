#pragma once

#include "foundation/vector.h"
#include "ptmatch/fit_residual.h"
#include "ptmatch/perspective_tm.h"
#include "station_tables.h"

namespace station {

/// The way from the camera's pixels to the robot's millimetres, for points that lie on the table.
class Calibration {
  public:
    /// @throws rxMathError, rx2PTm::BadArgs  the marks do not determine a perspective transform.
    explicit Calibration(const CalibrationMarks& marks);

    /// How far the marks are off, in millimetres.
    const rxFitResidual& residual() const { return residual_; }

    Points toRobot(const Points& camera) const;

  private:
    rx2PTm robotFromCamera_;
    rxFitResidual residual_;
};

}  // namespace station
