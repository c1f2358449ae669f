#include "foundation/xform.h"

#include <cmath>

rxXform<2>::rxXform(const rxVector<2>& trans, rxRadian xRot, rxRadian yRot, double xScale,
                    double yScale)
    : matrix_(xScale * std::cos(xRot.toDouble()), -yScale * std::sin(yRot.toDouble()),
              xScale * std::sin(xRot.toDouble()), yScale * std::cos(yRot.toDouble())),
      trans_(trans) {}

double rxXform<2>::xScale() const {
    return rxVector<2>(matrix_.element(0, 0), matrix_.element(1, 0)).len();
}

rxRadian rxXform<2>::xRot() const {
    return rxVector<2>(matrix_.element(0, 0), matrix_.element(1, 0)).angle();
}
