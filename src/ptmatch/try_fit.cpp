#include "ptmatch/try_fit.h"

#include "foundation/exception.h"

namespace ptmatch::detail {

std::optional<rxXform<2>> tryFit(const rxLSPointToPointFitter& fitter, int dof) {
    try {
        const rxXform<2> fitted = fitter.fit(dof);
        if (fitted.isSingular()) return std::nullopt;
        return fitted;
    } catch (const rxLSPointToPointFitter::Errors&) {
        return std::nullopt;
    } catch (const rxMathError&) {
        return std::nullopt;
    }
}

std::optional<rxXform<2>> tryInverse(const rxXform<2>& xform) {
    try {
        return xform.inverse();
    } catch (const rxMathError&) {
        return std::nullopt;
    }
}

}  // namespace ptmatch::detail
