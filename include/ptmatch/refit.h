#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/export.h"
#include "foundation/vector.h"
#include "ptmatch/fit_residual.h"
#include "ptmatch/perspective_tm.h"
#include "ptmatch/ppmatch.h"
#include "ptmatch/tm.h"

/// Scope of the names of `rfRefit`.
class PTMATCH_EXPORT rxRefitDefs {
  public:
    /// The models that matched points can be fitted with.
    enum Model : std::int32_t {
        eRigid = 3,        ///< rotation and translation
        eSimilarity = 4,   ///< the same with one scale
        eAffine = 6,       ///< any matrix and translation
        ePerspective = 8,  ///< eight parameters
    };
};

/// The transform of a result's matched points under another model.
struct PTMATCH_EXPORT rxRefit {
    /// The one that was asked for.
    rxRefitDefs::Model model = rxRefitDefs::eSimilarity;
    /// From model coordinates to data, with its inverse. Holds every model; those that are not
    /// perspective have p6 = p7 = 0.
    rx2PTm dataFromModel;
    /// Of the matched points, in data units.
    rxFitResidual residual;
    /// The matched points that were fitted.
    std::size_t numPairs = 0;

    /// The same for a model that is not perspective.
    /// @throws rxPointMatcherDefs::BadParams  the model is `ePerspective`; `rfAffineApproximation`
    ///         gives an approximation over a part of the plane.
    rxXform<2> dataFromModelXform() const;
};

/// Fits the matched points of a result with a model of your choice. Runs fit similarities
/// throughout, also where the scale is known to be 1, the axes differ in scale, or the camera looks
/// at the plane from the side.
///
/// An addition beside the matcher, made of a result alone: the result and its map stay as they are,
/// no run depends on it.
///
///     const rxRefit refit = rfRefit(matcher, data, result, rxRefitDefs::ePerspective);
///     if (refit.residual.rms < 0.5 * result.fitError()) use(refit.dataFromModel.a2b(hole));
///
/// More parameters fit any pairs better. What a model leaves over is comparable only when divided
/// by the root of the degrees of freedom that it leaves, 2 pairs less its parameters.
///
/// Rigid, similarity and affine are `rxLSPointToPointFitter`'s least squares in data units;
/// perspective is `rfFitPerspectiveNormalized`, which weighs each pair by its w. Weights of the
/// model play no part.
///
/// @param matcher, data  those of the run, as for `rfMatchedPairs`.
/// @param result         the one whose matched points are fitted.
/// @param model          what to fit them with.
/// @throws rxPointMatcherDefs::NotTrained, BadParams  as `rfMatchedPairs`; BadParams also for a
///         model that is none of these.
/// @throws rxLSPointToPointFitter::Errors, rxMathError  the pairs do not determine the model: fewer
///         than 2 for rigid and similarity, 3 for affine, 4 for perspective, or on one line for the
///         last two; or the fitted transform has no inverse.
/// Law: pairs (p, T(p)) of a T of the model give T back, to the rounding of the pairs.
/// Cost linear in the model.
PTMATCH_EXPORT rxRefit rfRefit(const rxPointMatcher& matcher, const std::vector<rxVector<2>>& data,
                               const rxPointMatcherResult& result, rxRefitDefs::Model model);
