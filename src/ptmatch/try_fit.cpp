#include "ptmatch/try_fit.h"

#include "foundation/exception.h"

namespace ptmatch::detail {

namespace {

std::optional<rxXform<2>> determinedFit(const rxLSPointToPointFitter& fitter, int dof) {
    try {
        return fitter.fit(dof);
    } catch (const rxLSPointToPointFitter::Errors&) {
        return std::nullopt;
    } catch (const rxMathError&) {
        return std::nullopt;
    }
}

}  // namespace

std::optional<rxXform<2>> tryFit(const rxLSPointToPointFitter& fitter, int dof) {
    const std::optional<rxXform<2>> fitted = determinedFit(fitter, dof);
    if (fitted && fitted->isSingular()) return std::nullopt;
    return fitted;
}

rxXform<2> fitOrIdentity(const rxLSPointToPointFitter& fitter, int dof) {
    return determinedFit(fitter, dof).value_or(rxXform<2>::I);
}

std::optional<rxXform<2>> tryInverse(const rxXform<2>& xform) {
    try {
        return xform.inverse();
    } catch (const rxMathError&) {
        return std::nullopt;
    }
}

}  // namespace ptmatch::detail
