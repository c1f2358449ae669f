// The library with its default parameters: only the ranges and the coverage are set.
#include <vector>

#include "contender.h"
#include "foundation/angle.h"
#include "foundation/range.h"
#include "foundation/vector.h"
#include "ptmatch/ppmatch.h"

namespace ptmatch::bench::peers {
namespace {

std::vector<rxVector<2>> vectorsOf(const Points& points) {
    std::vector<rxVector<2>> vectors;
    vectors.reserve(points.size());
    for (const Point& p : points) vectors.emplace_back(p.x, p.y);
    return vectors;
}

class Ptmatch : public Contender {
  public:
    std::string name() const override { return "ptmatch"; }
    bool isForeign() const override { return false; }

    void train(const Points& model, const SceneKind& kind) override {
        matcher_.train(vectorsOf(model), rxPointMatcherDefs::eAutoDetect);
        params_ = rxPointMatcherRunParams();
        params_.minCoverage(kind.minCoverage());
        if (kind.isFullTurn) params_.rotationUncertainty(rxAngleRange::FullRange());
        params_.scaleUncertainty(rxRange(-kind.scaleTolerance(), kind.scaleTolerance()));
    }

    std::optional<Similarity> find(const Points& data) override {
        matcher_.run(vectorsOf(data), params_, found_);
        if (found_.results().empty()) return std::nullopt;
        const rxXform<2>& pose = found_.results().front().modelToDataXform();
        const rxVector<2> origin = pose * rxVector<2>(0.0, 0.0);
        const rxVector<2> axis = pose * rxVector<2>(1.0, 0.0) - origin;
        return Similarity{axis.x(), axis.y(), origin.x(), origin.y()};
    }

  private:
    rxPointMatcher matcher_;
    rxPointMatcherRunParams params_;
    rxPointMatcherResultSet found_;
};

}  // namespace

std::unique_ptr<Contender> makePtmatch() {
    return std::make_unique<Ptmatch>();
}

}  // namespace ptmatch::bench::peers
