#include "reference/reference_corresponder.h"

#include <algorithm>
#include <cmath>

namespace ptmatch::reference {
namespace {

constexpr int kPositive = 3;
constexpr int kNegative = 2;
constexpr long kBorder = 2;

const Positions kBeside{{0, -1}, {0, 1}, {-1, 0}, {1, 0}};
const Positions kDiagonal{{-1, -1}, {-1, 1}, {1, -1}, {1, 1}};

template <typename Test>
bool anyNeighbour(const Image<int>& image, const rxPair<long>& place, const Positions& steps,
                  Test test) {
    return std::any_of(steps.begin(), steps.end(), [&](const rxPair<long>& step) {
        const rxPair<long> at = place + step;
        return image.contains(at.x(), at.y()) && test(image.at(at.x(), at.y()));
    });
}

template <typename Visit>
void forEachPixel(const Image<int>& image, Visit visit) {
    for (long y = 0; y < image.height; ++y) {
        for (long x = 0; x < image.width; ++x) visit(rxPair<long>(x, y));
    }
}

/// Of the pixels beside the place, turns those of one value into another.
void spread(Image<int>& image, const rxPair<long>& place, int from, int to) {
    for (const rxPair<long>& step : kBeside) {
        const rxPair<long> at = place + step;
        if (!image.contains(at.x(), at.y())) continue;
        int& pixel = image.at(at.x(), at.y());
        if (pixel == from) pixel = to;
    }
}

bool isOnBorder(const Image<int>& image, const rxPair<long>& place) {
    return place.x() == 0 || place.y() == 0 || place.x() == image.width - 1 ||
           place.y() == image.height - 1;
}

/// Marks what is probed in an image of the pattern, in place: marks made on the way count in what
/// follows.
void markProbes(Image<int>& image, const Positions& neighbours, bool isWide) {
    forEachPixel(image, [&](const rxPair<long>& p) {
        if (image.at(p.x(), p.y()) == 0) return;
        const bool isEdge = isOnBorder(image, p) ||
                            anyNeighbour(image, p, neighbours, [](int v) { return v == 0; });
        if (!isEdge) return;
        image.at(p.x(), p.y()) = kPositive;
        if (isWide) spread(image, p, 1, kPositive);
    });
    forEachPixel(image, [&](const rxPair<long>& p) {
        if (image.at(p.x(), p.y()) != 0) return;
        if (!anyNeighbour(image, p, neighbours, [](int v) { return v == kPositive; })) return;
        image.at(p.x(), p.y()) = kNegative;
        if (isWide) spread(image, p, 0, kNegative);
    });
}

/// What a translation is looked up in, and where it lies among the positions of the data.
struct SearchImage {
    rxPair<long> corner;  ///< The position of pixel (border, border).
    Image<int> pixels;
};

long scoreAt(const SearchImage& search, const Pattern& pattern, const rxPair<long>& shift,
             long minScore) {
    const auto agrees = [&](const Probe& probe) {
        const rxPair<long> at = shift + probe.place;
        return search.pixels.at(at.x(), at.y()) == (probe.expected ? 1 : 0);
    };
    const long total = static_cast<long>(pattern.probes.size());
    const long first = std::max(total - minScore, 1L);
    const auto middle = pattern.probes.begin() + first;
    const auto early = std::count_if(pattern.probes.begin(), middle, agrees);
    if (early == 0) return 0;
    return early + std::count_if(middle, pattern.probes.end(), agrees);
}

/// Every translation that scores enough, in raster order.
std::vector<ScoredPosition> acceptable(const SearchImage& search, const Pattern& pattern,
                                       long minScore) {
    std::vector<ScoredPosition> all;
    for (long y = 0; y + pattern.marks.height <= search.pixels.height; ++y) {
        for (long x = 0; x + pattern.marks.width <= search.pixels.width; ++x) {
            const rxPair<long> shift(x, y);
            const long score = scoreAt(search, pattern, shift, minScore);
            if (score >= minScore) all.push_back({score, shift});
        }
    }
    return all;
}

/// The one with the highest score, the earliest of several.
std::vector<ScoredPosition> keepFirstMaximum(const std::vector<ScoredPosition>& offered) {
    std::vector<ScoredPosition> best;
    for (const ScoredPosition& candidate : offered) {
        if (best.empty() || candidate.score > best[0].score) best.assign(1, candidate);
    }
    return best;
}

/// How many probes have to agree; 0 when that cannot be asked for.
long leastScore(const Pattern& pattern, double accept) {
    const double total = static_cast<double>(pattern.probes.size());
    const double least = accept * total;
    // A sum beyond the number of probes is never reached; also not a number ends here.
    if (!(least >= 1.0) || std::trunc(least) > total) return 0;
    return static_cast<long>(least);
}

std::vector<Placement> placeIn(const SearchImage& search, const Pattern& pattern,
                               const rx_PointToGridCorresponderRunParams& params) {
    const long minScore = leastScore(pattern, params.accept());
    if (minScore < 1 || params.maxNumResults() < 1) return {};
    const auto offered = acceptable(search, pattern, minScore);
    const auto kept = params.maxNumResults() == 1 ? keepFirstMaximum(offered)
                                                  : keepBest(offered, params.maxNumResults());
    const rxPair<long> shift = search.corner - rxPair<long>(kBorder, kBorder) - pattern.corner;
    std::vector<Placement> placements;
    placements.reserve(kept.size());
    for (const ScoredPosition& candidate : kept) {
        placements.push_back(
            {static_cast<double>(candidate.score) / static_cast<double>(pattern.probes.size()),
             candidate.position + shift});
    }
    return placements;
}

/// @param width, height  one less than the number of columns and rows of the data.
bool isLargeEnough(const Pattern& pattern, long width, long height) {
    if (width == 0 && height == 0) return false;
    return width + 5 > pattern.marks.width - 1 && height + 5 > pattern.marks.height - 1;
}

struct Bounds {
    rxPair<long> low;
    rxPair<long> high;

    explicit Bounds(const Positions& positions) : low(positions[0]), high(positions[0]) {
        for (const rxPair<long>& p : positions) {
            low = {std::min(low.x(), p.x()), std::min(low.y(), p.y())};
            high = {std::max(high.x(), p.x()), std::max(high.y(), p.y())};
        }
    }
    [[nodiscard]] long width() const { return high.x() - low.x(); }
    [[nodiscard]] long height() const { return high.y() - low.y(); }
};

}  // namespace

Pattern trainPattern(const Positions& positions,
                     const rx_PointToGridCorresponderTrainParams& params) {
    const Bounds bounds(positions);
    Pattern pattern;
    pattern.corner = bounds.low;
    pattern.marks = Image<int>(bounds.width() + 1, bounds.height() + 1);
    for (const rxPair<long>& p : positions) {
        pattern.marks.at(p.x() - bounds.low.x(), p.y() - bounds.low.y()) = 1;
    }
    const auto type = params.featureType();
    const bool isWide = type == rx_PointToGridCorresponderDefs::eWideBorderPoints;
    Image<int> work = pattern.marks;
    if (isWide || type == rx_PointToGridCorresponderDefs::eBorderPoints) {
        markProbes(work, params.staggered() ? kDiagonal : kBeside, isWide);
    } else {
        for (int& pixel : work.pixels) pixel = pixel == 0 ? 0 : kPositive;
    }
    forEachPixel(work, [&](const rxPair<long>& p) {
        const int mark = work.at(p.x(), p.y());
        if (mark == kPositive || mark == kNegative)
            pattern.probes.push_back({p, mark == kPositive});
    });
    return pattern;
}

Positions positionsOf(const rxPelBuffer_const<unsigned char>& image) {
    Positions positions;
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            const rxPair<long> position = rxPair<long>(x, y) + image.offset();
            if (image.get(position) != 0) positions.push_back(position);
        }
    }
    return positions;
}

std::vector<Placement> place(const Pattern& pattern, const Positions& data,
                             const rx_PointToGridCorresponderRunParams& params) {
    if (data.empty()) return {};
    const Bounds bounds(data);
    if (!isLargeEnough(pattern, bounds.width(), bounds.height())) return {};
    SearchImage search{bounds.low, Image<int>(bounds.width() + 5, bounds.height() + 5)};
    for (const rxPair<long>& p : data) {
        const rxPair<long> pixel = p - bounds.low + rxPair<long>(kBorder, kBorder);
        search.pixels.at(pixel.x(), pixel.y()) = 1;
    }
    return placeIn(search, pattern, params);
}

std::vector<Placement> place(const Pattern& pattern, const rxPelBuffer_const<unsigned char>& data,
                             const rx_PointToGridCorresponderRunParams& params) {
    const long width = data.width() - 1;
    const long height = data.height() - 1;
    if (width < 0 || height < 0 || !isLargeEnough(pattern, width, height)) return {};
    SearchImage search{data.offset(), Image<int>(width + 5, height + 5)};
    for (long y = 0; y <= height; ++y) {
        for (long x = 0; x <= width; ++x) {
            search.pixels.at(x + kBorder, y + kBorder) =
                data.get(rxPair<long>(x, y) + data.offset());
        }
    }
    return placeIn(search, pattern, params);
}

std::vector<ScoredPosition> keepBest(std::vector<ScoredPosition> offered, long capacity) {
    const auto isHigher = [](const ScoredPosition& a, const ScoredPosition& b) {
        return a.score > b.score;
    };
    std::stable_sort(offered.begin(), offered.end(), isHigher);
    if (static_cast<long>(offered.size()) > capacity) {
        offered.resize(static_cast<std::size_t>(capacity));
    }
    std::reverse(offered.begin(), offered.end());
    std::stable_sort(offered.begin(), offered.end(), isHigher);
    return offered;
}

}  // namespace ptmatch::reference
