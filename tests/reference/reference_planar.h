#pragma once

#include <vector>

#include "foundation/angle.h"
#include "foundation/fitter.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

namespace ptmatch::reference {

/// Two lists of points differ in length.
struct UnequalLists {};

/// The fitted transform of the plane. Fits and inverses are the foundation's.
struct PlanarTransform {
    using Points = std::vector<rxVector<2>>;

    rxLSPointToPointFitter fitter;
    rxXform<2> a2bXform;
    rxXform<2> b2aXform;

    PlanarTransform() = default;
    PlanarTransform(const Points& a, const Points& b, int dof);
    explicit PlanarTransform(const rxXform<2>& a2b);

    void update(const rxVector<2>& a, const rxVector<2>& b);
    void update(const Points& a, const Points& b);
    void fit(int dof);
    void fit(const Points& a, const Points& b, int dof);
    void reset();
    void identity();

    void translate(const rxVector<2>& v);
    void rotate(rxRadian angle);
    void scale(const rxVector<2>& factors);
    void append(const PlanarTransform& t);
    void concat(const PlanarTransform& t);

    [[nodiscard]] rxVector<2> a2b(const rxVector<2>& p) const;
    [[nodiscard]] rxVector<2> b2a(const rxVector<2>& p) const;
    [[nodiscard]] rxRadian a2b(rxRadian angle) const;
    [[nodiscard]] rxRadian b2a(rxRadian angle) const;

  private:
    /// Takes the transform when it has an inverse.
    void adopt(const rxXform<2>& a2b);
};

}  // namespace ptmatch::reference
