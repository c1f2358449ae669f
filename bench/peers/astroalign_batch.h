#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "isolated_run.h"
#include "scene.h"

namespace ptmatch::bench::peers {

/// Runs the Python package astroalign on scenes: one interpreter for all scenes of a row, because
/// its start takes longer than most searches.
class AstroalignBatch {
  public:
    /// @param python  an interpreter that sees the package.
    /// @param script  astroalign_scenes.py.
    AstroalignBatch(std::string python, std::string script);

    [[nodiscard]] bool isAvailable() const;

    /// Outcomes of the scenes, in their order; fewer when the first scenesToGiveUp had no right
    /// one.
    [[nodiscard]] std::vector<Outcome> run(const std::vector<Scene>& scenes, long maxSeconds,
                                           std::size_t scenesToGiveUp, const SceneKind& kind) const;

  private:
    std::string python_;
    std::string script_;
};

}  // namespace ptmatch::bench::peers
