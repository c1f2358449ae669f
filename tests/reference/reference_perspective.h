#pragma once

#include <array>
#include <vector>

#include "foundation/angle.h"
#include "foundation/vector.h"
#include "reference/reference_accumulator.h"
#include "reference/reference_planar.h"

namespace ptmatch::reference {

/// The fitted perspective transform of the plane, with all it holds in the open.
struct Perspective {
    using Points = std::vector<rxVector<2>>;
    using Params = std::array<double, 8>;

    static constexpr Params kIdentity{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0};

    Params a2bParams = kIdentity;
    Params b2aParams = kIdentity;
    Accumulator solver{8};

    Perspective() = default;
    Perspective(const Points& a, const Points& b);
    explicit Perspective(const PlanarTransform& t);

    void update(const rxVector<2>& a, const rxVector<2>& b);
    void update(const Points& a, const Points& b);
    void fit();
    void fit(const Points& a, const Points& b);
    void identity();

    void rotate(rxRadian angle);
    void translate(const rxVector<2>& v);
    void scale(const rxVector<2>& factors);

    [[nodiscard]] rxVector<2> a2b(const rxVector<2>& p) const;
    [[nodiscard]] rxVector<2> b2a(const rxVector<2>& p) const;

    /// The affine approximation, with the pairs it was fitted to.
    [[nodiscard]] PlanarTransform a2bTm() const;

  private:
    /// Takes the parameters when the inverse can be fitted to them.
    void adopt(const Params& a2b);
    /// Applies the change in plane a, before the transform, by a fit to a small square.
    void changeBy(const PlanarTransform& change);
};

}  // namespace ptmatch::reference
