#include "ptmatch/refit.h"

#include "ptmatch/matched_pairs.h"
#include "ptmatch/perspective_fit.h"

namespace {

rx2PTm fitted(const rxMatchedPairs& pairs, rxRefitDefs::Model model) {
    switch (model) {
        case rxRefitDefs::eRigid:
        case rxRefitDefs::eSimilarity:
        case rxRefitDefs::eAffine: {
            const rxXform<2> x =
                rxLSPointToPointFitter(pairs.data, pairs.model).fit(static_cast<int>(model));
            const rxMatrix<2>& m = x.matrix();
            return rfExactPerspective({m.element(0, 0), m.element(0, 1), x.trans().x(),
                                       m.element(1, 0), m.element(1, 1), x.trans().y(), 0.0, 0.0});
        }
        case rxRefitDefs::ePerspective:
            return rfFitPerspectiveNormalized(pairs.model, pairs.data);
    }
    throw rxPointMatcherDefs::BadParams("the model of a refit must be one of rxRefitDefs\n");
}

}  // namespace

rxXform<2> rxRefit::dataFromModelXform() const {
    if (model == rxRefitDefs::ePerspective) {
        throw rxPointMatcherDefs::BadParams("a perspective refit is not an affine transform\n");
    }
    const rx2PTm::Params& p = dataFromModel.a2bParams();
    return {rxMatrix<2>(p[0], p[1], p[3], p[4]), rxVector<2>(p[2], p[5])};
}

rxRefit rfRefit(const rxPointMatcher& matcher, const std::vector<rxVector<2>>& data,
                const rxPointMatcherResult& result, rxRefitDefs::Model model) {
    const rxMatchedPairs pairs = rfMatchedPairs(matcher, data, result);
    rxRefit refit;
    refit.model = model;
    refit.dataFromModel = fitted(pairs, model);
    refit.residual = rfFitResidual(refit.dataFromModel, pairs.model, pairs.data);
    refit.numPairs = pairs.model.size();
    return refit;
}
