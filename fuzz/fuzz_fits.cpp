// Promise: transforms of the plane, of perspective and of space that are built up from any pairs
// and moved in any way end as those of the plain reference do, and take a point there and back as
// they do, to the last bit. Fits that say that they are finite (of points to points, normalised, of
// space) are finite or refused with a documented exception; whatever else is told of a fit
// (residuals, variances, conditioning, an affine approximation) is told or refused.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "foundation/fitter.h"
#include "fuzz_input.h"
#include "fuzzers.h"
#include "promise.h"
#include "ptmatch/affine_approximation.h"
#include "ptmatch/fit_residual.h"
#include "ptmatch/perspective_fit.h"
#include "ptmatch/pose_covariance.h"
#include "ptmatch/space_fit.h"
#include "ptmatch/tm.h"
#include "reference/reference_perspective.h"
#include "reference/reference_planar.h"
#include "reference/reference_space.h"
#include "refusals.h"

namespace ptmatch::fuzz::fits {
namespace {

constexpr rxVector<2> kProbe{3.0, 4.0};

/// Whether a call ends without a documented exception of the library or of the reference.
constexpr Refusals<rxException, rxMatrixExt::SingularMatrix, reference::SingularMatrix,
                   rx2PtMatchTm::BadArgs, rx2PTm::BadArgs, rx3PtMatchTm::BadArgs,
                   reference::UnequalLists>
    succeeds;

using fuzz::isSamePoint;

bool isSamePoint(const rxVector<3>& a, const rxVector<3>& b) {
    return isSame(a.x(), b.x()) && isSame(a.y(), b.y()) && isSame(a.z(), b.z());
}

/// The same call on both, which have to end alike and to map alike afterwards.
template <class Tm, class Reference, class Probe, class Call>
void both(Tm& tm, Reference& reference, const Probe& probe, const Call& call) {
    const bool isDone = succeeds([&] { call(tm); });
    promise(isDone == succeeds([&] { call(reference); }), "ends as the reference");
    promise(isSamePoint(tm.a2b(probe), reference.a2b(probe)), "maps as the reference");
    promise(isSamePoint(tm.b2a(probe), reference.b2a(probe)), "maps back as the reference");
}

void planar(FuzzInput& input) {
    rx2PtMatchTm tm;
    reference::PlanarTransform reference;
    for (long n = input.integer(1, 12); n > 0; --n) {
        const std::uint8_t what = input.byte() % 8;
        const rxVector<2> a = input.point();
        const rxVector<2> b = input.point();
        const int dof = static_cast<int>(input.integer(-1, 7));
        both(tm, reference, kProbe, [&](auto& t) {
            switch (what) {
                case 0:
                    t.fit(dof);
                    break;
                case 1:
                    t.translate(a);
                    break;
                case 2:
                    t.rotate(rxRadian(a.x()));
                    break;
                case 3:
                    t.scale(a);
                    break;
                case 4:
                    t.reset();
                    break;
                default:
                    t.update(a, b);
                    break;
            }
        });
    }
}

void perspective(FuzzInput& input) {
    rx2PTm tm;
    reference::Perspective reference;
    for (long n = input.integer(1, 14); n > 0; --n) {
        const std::uint8_t what = input.byte() % 8;
        const rxVector<2> a = input.point();
        const rxVector<2> b = input.point();
        both(tm, reference, kProbe, [&](auto& t) {
            switch (what) {
                case 0:
                    t.fit();
                    break;
                case 1:
                    t.translate(a);
                    break;
                case 2:
                    t.rotate(rxRadian(a.x()));
                    break;
                case 3:
                    t.scale(a);
                    break;
                default:
                    t.update(a, b);
                    break;
            }
        });
    }
    succeeds([&] { (void)tm.a2bXform(); });
    succeeds([&] { (void)tm.a2bTm(); });
    const rx2PTm copy(tm);
    for (std::size_t i = 0; i < tm.a2bParams().size(); ++i) {
        promise(isSame(copy.a2bParams()[i], tm.a2bParams()[i]), "a copy maps alike");
        promise(isSame(copy.b2aParams()[i], tm.b2aParams()[i]), "a copy maps back alike");
    }
    const bool hasNan = std::ranges::any_of(tm.a2bParams(), [](double p) { return std::isnan(p); });
    promise((copy == tm) == !hasNan, "equal to its copy");
    tm.identity();
    promise(isSamePoint(tm.a2b(kProbe), kProbe), "the identity");
}

rxVector<3> spacePoint(FuzzInput& input) {
    const double x = input.number();
    const double y = input.number();
    return {x, y, input.number()};
}

void space(FuzzInput& input) {
    rx3PtMatchTm tm;
    reference::SpaceTransform reference;
    const rxVector<3> probe(3.0, 4.0, 5.0);
    for (long n = input.integer(1, 12); n > 0; --n) {
        const std::uint8_t what = input.byte() % 8;
        const rxVector<3> a = spacePoint(input);
        const rxVector<3> b = spacePoint(input);
        both(tm, reference, probe, [&](auto& t) {
            switch (what) {
                case 0:
                    t.fit();
                    break;
                case 1:
                    t.translate(a);
                    break;
                case 2:
                    t.rotateOnZ(rxRadian(a.x()));
                    break;
                case 3:
                    t.rotateOnX(rxRadian(a.x()));
                    break;
                case 4:
                    t.rotateOnY(rxRadian(a.x()));
                    break;
                case 5:
                    t.scale(a);
                    break;
                default:
                    t.update(a, b);
                    break;
            }
        });
    }
}

void fitter(FuzzInput& input) {
    const std::vector<rxVector<2>> p = input.points(10);
    std::vector<rxVector<2>> q = input.points(10);
    if (input.byte() >= 16) q.resize(p.size());
    succeeds([&] {
        const rxLSPointToPointFitter fitter(p, q);
        for (int dof = 2; dof <= 7; ++dof) {
            succeeds([&] { promise(fitter.fit(dof).isFinite(), "a finite fit"); });
        }
    });
}

/// A perspective image of them, nearly.
std::vector<rxVector<2>> imagesOf(FuzzInput& input, const std::vector<rxVector<2>>& a) {
    const double turn = input.moderate(2.0);
    const double tilt = 0.001 * input.moderate(1.0);
    const rxVector<2> shift = input.moderatePoint(1000.0);
    std::vector<rxVector<2>> b;
    for (const auto& p : a) {
        const double w = 1.0 + tilt * p.x() - 0.5 * tilt * p.y();
        b.emplace_back((p.x() + turn * p.y() + shift.x()) / w + 0.001 * input.byte(),
                       (p.y() - turn * p.x() + shift.y()) / w);
    }
    return b;
}

void fitsOfPixels(FuzzInput& input) {
    const bool isFittable = input.byte() < 160;
    const std::vector<rxVector<2>> a =
        isFittable ? input.cloud(input.integer(3, 9), 50.0) : input.points(8);
    std::vector<rxVector<2>> b = isFittable ? imagesOf(input, a) : input.points(8);
    if (input.byte() >= 16) b.resize(a.size());
    for (const int dof : {3, 4, 6, input.byte() % 8}) {
        succeeds([&] {
            const rxLSPointToPointFitter fitter(b, a);
            const rxXform<2> pose = fitter.fit(dof == 3 || dof == 4 ? dof : 6);
            const rxPoseCovariance known =
                rfPoseCovariance(pose, a, b, dof, input.flag() ? 0.0 : input.moderate(10.0));
            promise(known.centreVariance >= 0.0, "a variance");
            (void)known.positionAt(kProbe).rms();
        });
    }
    succeeds([&] {
        rx2PtMatchTm planar(a, b, 6);
        (void)rfFitResidual(planar, a, b);
        const rx2PTm same(planar);
        promise(same.a2bParams()[6] == 0.0, "no perspective");
        planar.concat(planar);
        planar.append(rx2PtMatchTm(planar.a2bXform()));
        (void)planar.a2b(rxRadian(0.5));
        (void)planar.b2a(rxRadian(0.5));
        planar.scale(input.number());
        planar.reset();
        planar.identity();
    });
    succeeds([&] { (void)rx2PTm(a, b).a2bParams(); });
    succeeds([&] { (void)rfPerspectiveConditioning(a, b); });
    succeeds([&] {
        const rx2PTm tm = rfFitPerspectiveNormalized(a, b);
        for (const double value : tm.a2bParams())
            promise(std::isfinite(value), "finite parameters");
        for (const double value : tm.b2aParams()) promise(std::isfinite(value), "a finite inverse");
        (void)rfFitResidual(tm, a, b);
        succeeds([&] { (void)rfConcatPerspective(tm, tm); });
        succeeds([&] { (void)rfAffineApproximation(tm, {0.0, 0.0, 10.0, 10.0}); });
    });
}

void fitsOfSpace(FuzzInput& input) {
    std::vector<rxVector<3>> a(static_cast<std::size_t>(input.integer(0, 8)));
    std::vector<rxVector<3>> b(input.byte() < 16 ? 3 : a.size());
    for (auto& p : a) p = spacePoint(input);
    const std::uint8_t how = input.byte();
    const double factor = how < 100 ? 1.0 : 1.5;
    for (std::size_t i = 0; i < b.size(); ++i) {
        // Turned by a quarter, and mirrored at times.
        if (how < 200 && i < a.size()) {
            const double z = factor * (how % 2 == 0 ? a[i].z() : -a[i].z());
            b[i] = {3.0 - factor * a[i].y(), factor * a[i].x() + 1.0, z + 0.01 * input.byte()};
        } else {
            b[i] = spacePoint(input);
        }
    }
    for (const auto fit : {rfFitRigid3D, rfFitSimilarity3D, rfFitAffine3D}) {
        succeeds([&] {
            const rx3PtMatchTm tm = fit(a, b);
            for (const double value : tm.a2bParams()) {
                promise(std::isfinite(value), "finite parameters");
            }
            (void)rfFitResidual(tm, a, b);
        });
    }
}

}  // namespace

void run(std::span<const std::uint8_t> bytes) {
    FuzzInput input(bytes);
    constexpr void (*kWays[])(FuzzInput&) = {planar, perspective,  space,
                                             fitter, fitsOfPixels, fitsOfSpace};
    kWays[input.byte() % std::size(kWays)](input);
}

}  // namespace ptmatch::fuzz::fits
