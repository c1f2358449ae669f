#pragma once

#include <array>
#include <vector>

#include "foundation/angle.h"
#include "foundation/vector.h"
#include "reference/reference_accumulator.h"

namespace ptmatch::reference {

/// The fitted affine transform of space, with all it holds in the open.
struct SpaceTransform {
    using Points = std::vector<rxVector<3>>;
    /// The rows of the matrix, each followed by its element of the translation.
    using Params = std::array<double, 12>;

    static constexpr Params kIdentity{1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0};

    Accumulator solverX{4};
    Accumulator solverY{4};
    Accumulator solverZ{4};
    Params a2bParams = kIdentity;
    Params b2aParams = kIdentity;

    SpaceTransform() = default;
    SpaceTransform(const Points& a, const Points& b);

    void update(const rxVector<3>& a, const rxVector<3>& b);
    void update(const Points& a, const Points& b);
    void fit();
    void fit(const Points& a, const Points& b);
    void identity();

    void translate(const rxVector<3>& v);
    void rotateOnX(rxRadian angle);
    void rotateOnY(rxRadian angle);
    void rotateOnZ(rxRadian angle);
    void scale(const rxVector<3>& factors);

    [[nodiscard]] rxVector<3> a2b(const rxVector<3>& p) const;
    [[nodiscard]] rxVector<3> b2a(const rxVector<3>& p) const;

  private:
    /// Takes the parameters, and their inverse when there is one.
    /// @throws SingularMatrix: there is none; the parameters are taken all the same.
    void adopt(const Params& a2b);
};

}  // namespace ptmatch::reference
