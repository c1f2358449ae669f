#include "fitted_transform.h"

#include <cstddef>
#include <span>

#include "ptmatch/perspective_fit.h"
#include "ptmatch/space_fit.h"
#include "ptmatch/tm.h"

namespace ptmatch::tool {
namespace {

using PlanePoints = std::vector<rxVector<2>>;
using SpacePoints = std::vector<rxVector<3>>;

PlanePoints inPlane(const std::vector<Coordinates>& points) {
    PlanePoints result;
    result.reserve(points.size());
    for (const Coordinates& p : points) result.emplace_back(p[0], p[1]);
    return result;
}

SpacePoints inSpace(const std::vector<Coordinates>& points) {
    SpacePoints result;
    result.reserve(points.size());
    for (const Coordinates& p : points) result.emplace_back(p[0], p[1], p[2]);
    return result;
}

Coordinates coordinatesOf(const rxVector<2>& p) {
    return {p.x(), p.y(), 0.0};
}
Coordinates coordinatesOf(const rxVector<3>& p) {
    return {p.x(), p.y(), p.z()};
}

HomogeneousMatrix matrixOf(const rxXform<2>& xform) {
    const rxMatrix<2> m = xform.matrix();
    return {{m.element(0, 0), m.element(0, 1), xform.trans().x()},
            {m.element(1, 0), m.element(1, 1), xform.trans().y()},
            {0.0, 0.0, 1.0}};
}

HomogeneousMatrix matrixOf(const rx2PTm::Params& p) {
    return {{p[0], p[1], p[2]}, {p[3], p[4], p[5]}, {p[6], p[7], 1.0}};
}

HomogeneousMatrix matrixOf(const rx3PtMatchTm::Params& p) {
    return {{p[0], p[1], p[2], p[3]},
            {p[4], p[5], p[6], p[7]},
            {p[8], p[9], p[10], p[11]},
            {0.0, 0.0, 0.0, 1.0}};
}

template <class Tm, class Points>
void measure(const Tm& tm, const Points& a, const Points& b, FittedTransform& fitted) {
    fitted.images.reserve(a.size());
    for (const auto& p : a) fitted.images.push_back(coordinatesOf(tm.a2b(p)));
    fitted.residual = rfFitResidual(tm, a, b);
}

FittedTransform fitLinear(const PlanePoints& a, const PlanePoints& b, int dof) {
    const rx2PtMatchTm tm(a, b, dof);
    FittedTransform fitted{matrixOf(tm.a2bXform()), matrixOf(tm.b2aXform()), {}, {}};
    measure(tm, a, b, fitted);
    return fitted;
}

FittedTransform fitPerspective(const PlanePoints& a, const PlanePoints& b) {
    const rx2PTm tm = rfFitPerspectiveNormalized(a, b);
    FittedTransform fitted{matrixOf(tm.a2bParams()), matrixOf(tm.b2aParams()), {}, {}};
    measure(tm, a, b, fitted);
    return fitted;
}

FittedTransform fitInSpace(const SpacePoints& a, const SpacePoints& b, FitModel model) {
    const rx3PtMatchTm tm = model == FitModel::kRigid3D        ? rfFitRigid3D(a, b)
                            : model == FitModel::kSimilarity3D ? rfFitSimilarity3D(a, b)
                                                               : rfFitAffine3D(a, b);
    FittedTransform fitted{matrixOf(tm.a2bParams()), matrixOf(tm.b2aParams()), {}, {}};
    measure(tm, a, b, fitted);
    return fitted;
}

}  // namespace

FittedTransform fitTransform(FitModel model, const PairTable& pairs) {
    switch (model) {
        case FitModel::kRigid:
            return fitLinear(inPlane(pairs.a), inPlane(pairs.b), 3);
        case FitModel::kSimilarity:
            return fitLinear(inPlane(pairs.a), inPlane(pairs.b), 4);
        case FitModel::kAffine:
            return fitLinear(inPlane(pairs.a), inPlane(pairs.b), 6);
        case FitModel::kPerspective:
            return fitPerspective(inPlane(pairs.a), inPlane(pairs.b));
        default:
            return fitInSpace(inSpace(pairs.a), inSpace(pairs.b), model);
    }
}

double denominatorAt(const HomogeneousMatrix& matrix, const Coordinates& point) {
    const std::vector<double>& row = matrix.back();
    double sum = row.back();
    for (std::size_t k = 0; k + 1 < row.size(); ++k) sum += row[k] * point[k];
    return sum;
}

Coordinates mapped(const HomogeneousMatrix& matrix, const Coordinates& point) {
    const std::size_t dimensions = matrix.size() - 1;
    const double denominator = denominatorAt(matrix, point);
    Coordinates image{};
    for (std::size_t r = 0; r < dimensions; ++r) {
        double sum = matrix[r][dimensions];
        for (std::size_t k = 0; k < dimensions; ++k) sum += matrix[r][k] * point[k];
        image[r] = sum / denominator;
    }
    return image;
}

}  // namespace ptmatch::tool
