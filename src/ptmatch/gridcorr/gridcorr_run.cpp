#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "foundation/timer.h"
#include "ptmatch/gridcorr.h"
#include "ptmatch/gridcorr/axis_closing.h"
#include "ptmatch/gridcorr/occupied_coordinates.h"
#include "ptmatch/gridcorr/placement_search.h"
#include "ptmatch/gridcorr/placement_store.h"
#include "ptmatch/gridcorr/position_bounds.h"
#include "ptmatch/gridcorr/search_image.h"

namespace {

namespace detail = ptmatch::detail;
using detail::Placement;
using ProbePt = rx_PointToGridCorresponder::ProbePt;

/// Empty pixels around the data on each side, so that a pattern may overhang them a little.
constexpr std::int64_t kBorder = 2;

/// Images of no more pixels than this, or this many for each position, are searched as they are:
/// to look for stretches to close would cost more than they do.
constexpr std::int64_t kCheapPixels = std::int64_t{1} << 20U;
constexpr std::int64_t kCheapPixelsPerPosition = 16;

/// The probes that have to agree, or 0: the run finds nothing.
std::size_t minScoreOf(std::size_t numProbes, const rx_PointToGridCorresponderRunParams& params) {
    const auto most = static_cast<double>(numProbes);
    const double wanted = std::trunc(params.accept() * most);
    // In this form a not-a-number finds nothing. More than all probes never agree.
    if (params.maxNumResults() < 1 || !(wanted >= 1.0 && wanted <= most)) return 0;
    return static_cast<std::size_t>(wanted);
}

/// Whether the pattern fits on the data and their border.
bool hasRoom(const rxPelRect& data, const rxPelRect& pattern) {
    if (data.width() == 0 && data.height() == 0) return false;
    return std::int64_t{data.width()} + 2 * kBorder + 1 > pattern.width() &&
           std::int64_t{data.height()} + 2 * kBorder + 1 > pattern.height();
}

/// The positions of a list, all of value 1.
class ListedData {
  public:
    explicit ListedData(std::span<const rxPair<long>> positions)
        : positions_(positions), rect_(detail::boundsOf(positions)) {}

    const rxPelRect& rect() const { return rect_; }
    std::int64_t count() const { return static_cast<std::int64_t>(positions_.size()); }
    bool hasOtherValues() const { return false; }

    /// Calls action(x, y, value) for each, with the place in the rectangle.
    template <class Action>
    void forEach(Action action) const {
        for (const rxPair<long>& p : positions_) {
            action(std::int64_t{p.x()} - rect_.x(), std::int64_t{p.y()} - rect_.y(), 1);
        }
    }

  private:
    std::span<const rxPair<long>> positions_;
    rxPelRect rect_;
};

/// The pixels of an image that are not 0.
class ImageData {
  public:
    explicit ImageData(const rxPelBuffer_const<unsigned char>& image)
        : image_(image),
          rect_(image.offset().x(), image.offset().y(), image.width() - 1, image.height() - 1) {
        forEach([this](std::int64_t, std::int64_t, unsigned char value) {
            ++count_;
            hasOtherValues_ = hasOtherValues_ || value != 1;
        });
    }

    const rxPelRect& rect() const { return rect_; }
    std::int64_t count() const { return count_; }
    bool hasOtherValues() const { return hasOtherValues_; }

    template <class Action>
    void forEach(Action action) const {
        for (long y = 0; y < image_.height(); ++y) {
            const unsigned char* row = image_.pointToRow(y);
            for (long x = 0; x < image_.width(); ++x) {
                if (row[x] != 0) action(x, y, row[x]);
            }
        }
    }

  private:
    const rxPelBuffer_const<unsigned char>& image_;
    rxPelRect rect_;
    std::int64_t count_ = 0;
    bool hasOtherValues_ = false;
};

/// Both axes of the search image, with the empty stretches closed that cannot matter.
struct Axes {
    detail::AxisClosing x;
    detail::AxisClosing y;
};

template <class Data>
Axes closedAxes(const Data& data, std::int64_t width, std::int64_t height,
                const rxPelRect& pattern) {
    detail::OccupiedCoordinates columns;
    detail::OccupiedCoordinates rows;
    data.forEach([&](std::int64_t x, std::int64_t y, unsigned char) {
        columns.add(x + kBorder);
        rows.add(y + kBorder);
    });
    return {detail::AxisClosing(columns.sorted(), width, pattern.width() + 1),
            detail::AxisClosing(rows.sorted(), height, pattern.height() + 1)};
}

/// Whether a translation with no data under the pattern can have enough probes that agree.
bool emptinessSuffices(std::span<const ProbePt> probes, std::size_t minScore) {
    const auto numUnexpected = std::count_if(probes.begin(), probes.end(),
                                             [](const ProbePt& probe) { return !probe.expected; });
    return std::cmp_greater_equal(numUnexpected, minScore);
}

template <class Data>
Axes axesOf(const Data& data, std::span<const ProbePt> probes, const rxPelRect& pattern,
            std::size_t minScore) {
    const std::int64_t width = std::int64_t{data.rect().width()} + 2 * kBorder + 1;
    const std::int64_t height = std::int64_t{data.rect().height()} + 2 * kBorder + 1;
    // In double, where no product overflows.
    const double pixels = static_cast<double>(width) * static_cast<double>(height);
    const std::int64_t cheap = kCheapPixels + kCheapPixelsPerPosition * data.count();
    if (pixels > static_cast<double>(cheap) && !emptinessSuffices(probes, minScore)) {
        return closedAxes(data, width, height, pattern);
    }
    return {detail::AxisClosing(width), detail::AxisClosing(height)};
}

template <class Data>
std::vector<Placement> placementsOn(const Data& data, std::span<const ProbePt> probes,
                                    const rxPelRect& pattern, std::size_t minScore,
                                    long maxResults) {
    if (!hasRoom(data.rect(), pattern)) return {};
    const Axes axes = axesOf(data, probes, pattern, minScore);
    detail::requireImageSize(axes.x.length(), axes.y.length());
    detail::SearchImage image(static_cast<std::size_t>(axes.x.length()),
                              static_cast<std::size_t>(axes.y.length()), data.hasOtherValues());
    data.forEach([&](std::int64_t x, std::int64_t y, unsigned char value) {
        image.put(static_cast<std::size_t>(axes.x.closed(x + kBorder)),
                  static_cast<std::size_t>(axes.y.closed(y + kBorder)), value);
    });

    detail::PlacementStore store(static_cast<long>(probes.size()), maxResults);
    detail::PlacementSearch search(image, probes, static_cast<std::size_t>(pattern.width()) + 1,
                                   static_cast<std::size_t>(pattern.height()) + 1, minScore);
    search.findAll(store);

    std::vector<Placement> placements = store.ranked();
    const rxPair<long> shift = data.rect().ul() - rxPair<long>(kBorder, kBorder) - pattern.ul();
    for (Placement& placement : placements) {
        const rxPair<long>& t = placement.translation;
        placement.translation = rxPair<long>(axes.x.opened(t.x()), axes.y.opened(t.y())) + shift;
    }
    return placements;
}

}  // namespace

std::vector<rx_PointToGridCorresponderResult> rx_PointToGridCorresponder::resultsOf_(
    const std::vector<Placement>& placements) const {
    const auto numProbes = static_cast<double>(probes_.size());
    std::vector<rx_PointToGridCorresponderResult> results;
    results.reserve(placements.size());
    for (const Placement& placement : placements) {
        results.push_back(rx_PointToGridCorresponderResult(
            static_cast<double>(placement.score) / numProbes, placement.translation));
    }
    return results;
}

bool rx_PointToGridCorresponder::run(const std::vector<rxPair<long>>& gridPoints,
                                     const rx_PointToGridCorresponderRunParams& params,
                                     rx_PointToGridCorresponderResultSet& results) const {
    results = rx_PointToGridCorresponderResultSet();
    const rxTimer timer(true);
    const std::size_t minScore = minScoreOf(probes_.size(), params);
    if (minScore > 0 && !gridPoints.empty()) {
        results.results_ = resultsOf_(placementsOn(ListedData(gridPoints), probes_, patternRect_,
                                                   minScore, params.maxNumResults()));
    }
    results.time_ = timer.sec();
    return !results.results_.empty();
}

bool rx_PointToGridCorresponder::run(const rxPelBuffer_const<unsigned char>& image,
                                     const rx_PointToGridCorresponderRunParams& params,
                                     rx_PointToGridCorresponderResultSet& results) const {
    results = rx_PointToGridCorresponderResultSet();
    const rxTimer timer(true);
    const std::size_t minScore = minScoreOf(probes_.size(), params);
    if (minScore > 0 && image.width() > 0 && image.height() > 0) {
        results.results_ = resultsOf_(placementsOn(ImageData(image), probes_, patternRect_,
                                                   minScore, params.maxNumResults()));
    }
    results.time_ = timer.sec();
    return !results.results_.empty();
}
