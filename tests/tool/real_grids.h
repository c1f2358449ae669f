#pragma once

#include <optional>
#include <string>
#include <vector>

#include "foundation/vector.h"

/// A photographed plate of dots whose nodes are known: data/SET or one of the larger collection.
struct RealGrid {
    std::string name;
    std::vector<rxVector<2>> points;
    bool staggered = false;
    rxVector<2> xv;  // the steps near the middle of the plate
    rxVector<2> yv;
    /// For each point its position, up to a symmetry of the lattice; nothing for clutter.
    std::vector<std::optional<rxPair<long>>> truth;
    std::size_t nodes() const;
};

/// The plate in `folder`, which holds a table of points and truth.json.
RealGrid readRealGrid(const std::string& folder, const std::string& table);

/// The plates that the project carries itself.
std::vector<RealGrid> carriedGrids();

/// The plates of the larger collection beside the checkout, in the order of their names; none when
/// it is absent.
std::vector<RealGrid> sharedGrids();
