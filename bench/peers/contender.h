#pragma once

#include <memory>
#include <optional>
#include <string>

#include "scene.h"

namespace ptmatch::bench::peers {

/// One side of the comparison: learns a model, then finds it in data.
class Contender {
  public:
    Contender() = default;
    Contender(const Contender&) = delete;
    Contender& operator=(const Contender&) = delete;
    virtual ~Contender() = default;

    /// Column of the table, and the word for `--only`.
    [[nodiscard]] virtual std::string name() const = 0;

    /// False for one that knows rigid poses only; it sits out the rows with a scale.
    [[nodiscard]] virtual bool findsScale() const { return true; }

    /// True for a package that may run away or fail: it works in a process of its own, with limits,
    /// and its pose is polished before it is judged.
    [[nodiscard]] virtual bool isForeign() const { return true; }

    /// What depends on the model alone; not counted.
    virtual void train(const Points& model, const SceneKind& kind) = 0;

    /// The pose, or nothing. Counted.
    [[nodiscard]] virtual std::optional<Similarity> find(const Points& data) = 0;
};

[[nodiscard]] std::unique_ptr<Contender> makePtmatch();
/// The pair alignment that is told the jitter, or one that knows what the library knows and takes
/// the library's own reach, a quarter of the least distance of two model points.
[[nodiscard]] std::unique_ptr<Contender> makePairs(bool knowsJitter);
// Only those are defined whose package was found when this was configured.
[[nodiscard]] std::unique_ptr<Contender> makeFourPoints();
[[nodiscard]] std::unique_ptr<Contender> makeKeypointFourPoints();
[[nodiscard]] std::unique_ptr<Contender> makePrerejective();
[[nodiscard]] std::unique_ptr<Contender> makeBallard();
[[nodiscard]] std::unique_ptr<Contender> makeGuil();

}  // namespace ptmatch::bench::peers
