#include <optional>

#include "contender.h"
#include "pair_alignment.h"

namespace ptmatch::bench::peers {
namespace {

class Pairs : public Contender {
  public:
    explicit Pairs(bool knowsJitter) : knowsJitter_(knowsJitter) {}

    std::string name() const override { return knowsJitter_ ? "pairs" : "pairs-untold"; }
    bool isForeign() const override { return false; }

    void train(const Points& model, const SceneKind& kind) override {
        PairAlignmentLimits limits;
        limits.maxRotationRad = kind.maxRotationRad();
        limits.scaleTolerance = kind.scaleTolerance();
        limits.minCoverage = kind.minCoverage();
        limits.inlierDistance =
            knowsJitter_ ? 3.0 * kind.jitter : 0.25 * leastDistance(kind.numModel);
        alignment_.emplace(model, limits);
    }

    std::optional<Similarity> find(const Points& data) override { return alignment_->find(data); }

  private:
    bool knowsJitter_;
    std::optional<PairAlignment> alignment_;
};

}  // namespace

std::unique_ptr<Contender> makePairs(bool knowsJitter) {
    return std::make_unique<Pairs>(knowsJitter);
}

}  // namespace ptmatch::bench::peers
