#include "foundation/xform.h"

#include <cmath>

#include "foundation/exception.h"

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

rxXform<2> rxXform<2>::inverse() const {
    if (isSingular()) throw rxMathError("a singular transform has no inverse\n");
    const double determinant = matrix_.determinant();
    const rxMatrix<2> inverted(
        matrix_.element(1, 1) / determinant, -matrix_.element(0, 1) / determinant,
        -matrix_.element(1, 0) / determinant, matrix_.element(0, 0) / determinant);
    const rxVector<2> moved = inverted * trans_;
    const rxXform result(inverted, rxVector<2>(-moved.x(), -moved.y()));
    if (!result.isFinite()) throw rxMathError("the inverse of a transform is not finite\n");
    return result;
}
