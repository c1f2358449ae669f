// Promise: numbers, ranges, transforms, lines, views of images, score stores and points of hosts
// take any values: what they answer is what a plain computation says (of angles and transforms to
// within rounding, of lines that distances are not negative), or they refuse with a documented
// exception; a view that refuses is as it was.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <optional>
#include <span>
#include <vector>

#include "foundation/assertion.h"
#include "foundation/image.h"
#include "foundation/image_functions.h"
#include "foundation/line.h"
#include "foundation/range.h"
#include "foundation/real.h"
#include "foundation/rectangle.h"
#include "foundation/xform.h"
#include "fuzz_input.h"
#include "fuzzers.h"
#include "promise.h"
#include "ptmatch/adapters.h"
#include "ptmatch/score_hashing.h"
#include "reference/reference_store.h"
#include "refusals.h"

namespace ptmatch::fuzz::foundations {
namespace {

/// Whether a call is not refused.
constexpr Refusals<rxException> succeeds;

void numbers(FuzzInput& input) {
    const double a = input.number();
    const double b = input.number();
    const double tolerance = input.number();
    promise(rfRealEq(a, b, tolerance) == rfRealEq(b, a, tolerance), "equality of both sides");
    const long nearest = iRound(a);
    promise(nearest >= std::numeric_limits<std::int32_t>::min() &&
                nearest <= std::numeric_limits<std::int32_t>::max(),
            "an integer of 32 bits");
    if (std::abs(a) < 2147483647.0) {
        promise(std::abs(static_cast<double>(nearest) - a) <= 0.5, "the nearest integer");
    }
}

/// By the way from the start in the positive direction, away from the limits, which are not sharp
/// after a turn.
void requireWithinByTurns(double start, double end, double angle, bool isWithin) {
    constexpr double kFullTurn = 2.0 * std::numbers::pi;
    constexpr double kMost = 1e6;
    constexpr double kBlur = 1e-6;
    const bool isPlain =
        std::abs(start) < kMost && std::abs(end) < kMost && std::abs(angle) < kMost;
    if (!isPlain || end < start || end - start >= kFullTurn) return;
    double way = std::fmod(angle - start, kFullTurn);
    if (way < 0.0) way += kFullTurn;
    const double length = end - start;
    if (way > kBlur && way < length - kBlur) promise(isWithin, "an angle between the bounds");
    if (way > length + kBlur && way < kFullTurn - kBlur) promise(!isWithin, "an angle outside");
}

void ranges(FuzzInput& input) {
    const rxRange range = input.range();
    const double value = input.number();
    const bool isWithin = range.isWithin(value);
    if (range.range() == rxRangeDefs::Normal) {
        promise(isWithin == (range.start() <= value && value <= range.end()), "what lies within");
    } else {
        promise(isWithin == (range.range() == rxRangeDefs::Full), "all or nothing");
    }
    const rxAngleRange angles = input.angleRange();
    const rxRadian angle{input.number()};
    const bool isTurnedWithin = angles.isWithin(angle);
    if (angles.range() == rxRangeDefs::Empty) promise(!isTurnedWithin, "nothing within");
    if (angles.range() != rxRangeDefs::Normal) return;
    const double start = angles.start().toDouble();
    const double end = angles.end().toDouble();
    requireWithinByTurns(start, end, angle.toDouble(), isTurnedWithin);
    promise(isSame(angles.length().toDouble(), end - start), "the length");
    if (start <= angle.toDouble() && angle.toDouble() <= end && std::isfinite(angle.toDouble())) {
        promise(isTurnedWithin, "what lies between the bounds as it stands");
    }
    if (!(start <= end)) promise(!isTurnedWithin, "nothing within a start above the end");
}

rxXform<2> xform(FuzzInput& input) {
    if (input.flag()) {
        const rxVector<2> trans = input.point();
        const rxRadian xRot{input.number()};
        const rxRadian yRot{input.flag() ? xRot.toDouble() : input.number()};
        const double xScale = input.number();
        return {trans, xRot, yRot, xScale, input.number()};
    }
    const double e00 = input.number();
    const double e01 = input.number();
    const double e10 = input.number();
    const rxMatrix<2> matrix(e00, e01, e10, input.number());
    return {matrix, input.point()};
}

double largestOf(const rxMatrix<2>& m) {
    return std::max({std::abs(m.element(0, 0)), std::abs(m.element(0, 1)),
                     std::abs(m.element(1, 0)), std::abs(m.element(1, 1))});
}

double largestOf(const rxVector<2>& v) {
    return std::max(std::abs(v.x()), std::abs(v.y()));
}

constexpr double kRounding = 1e-12;

/// Both at once are one after the other, to within rounding.
void requireComposed(const rxXform<2>& a, const rxXform<2>& b) {
    const rxVector<2> p(3.0, 4.0);
    const double size =
        largestOf(a.matrix()) * (8.0 * largestOf(b.matrix()) + largestOf(b.trans())) +
        largestOf(a.trans());
    if (!a.isFinite() || !b.isFinite() || !(size > 1e-100 && size < 1e100)) return;
    promise(largestOf((a * b) * p - a * (b * p)) <= kRounding * size, "one after the other");
}

/// There and back is where one was, to within rounding; of matrices far from singular.
void requireInverse(const rxXform<2>& a, const rxXform<2>& inverse) {
    const double size = largestOf(a.matrix());
    if (!(size > 1e-50 && size < 1e50 && largestOf(a.trans()) < 1e50)) return;
    if (std::abs(a.matrix().determinant()) < 1e-3 * size * size) return;
    const rxXform<2> back = inverse * a;
    const rxMatrix<2>& m = back.matrix();
    const rxMatrix<2> difference(m.element(0, 0) - 1.0, m.element(0, 1), m.element(1, 0),
                                 m.element(1, 1) - 1.0);
    promise(largestOf(difference) <= 1e3 * kRounding, "the inverse of the matrix");
    promise(
        largestOf(back.trans()) <= kRounding * largestOf(inverse.matrix()) * largestOf(a.trans()),
        "there and back");
}

void transforms(FuzzInput& input) {
    const rxXform<2> a = xform(input);
    const rxXform<2> b = xform(input);
    requireComposed(a, b);
    const rxRadian rotation = a.rotation();
    promise(isSame(rotation.toDouble(), a.xRot().toDouble()), "one rotation");
    if (a.isFinite()) {
        promise(a.xScale() >= 0.0, "a scale that is not negative");
        promise(std::abs(rotation.toDouble()) <= std::numbers::pi, "a rotation within a turn");
    }
    const bool isInverted = succeeds([&] {
        const rxXform<2> inverse = a.inverse();
        promise(inverse.isFinite(), "an inverse that is finite");
        requireInverse(a, inverse);
    });
    promise(!isInverted || !a.isSingular(), "no inverse of what is singular");
}

void lines(FuzzInput& input) {
    const rxVector<2> direction = input.point();
    const rxVector<2> point = input.point();
    const rxLine line(direction, point);
    const rxVector<2> p = input.point();
    const double distance = line.distToPoint(p);
    promise(std::isnan(distance) || distance >= 0.0, "a distance that is not negative");
    if (!point.isFinite() || !direction.isFinite()) return;
    const double own = line.distToPoint(point);
    promise(own == 0.0, "no distance of a point of the line");
}

/// What a view is: a window of a store.
struct View {
    long x = 0;
    long y = 0;
    long width = 0;
    long height = 0;
    rxPair<long> offset;
};

template <rxPixel T>
void requireView(const rxPelBuffer<T>& image, const View& view) {
    promise(image.width() == view.width && image.height() == view.height, "the size of the view");
    promise(image.offset() == view.offset, "the offset of the view");
}

template <rxPixel T>
void moveView(FuzzInput& input, rxPelBuffer<T>& image, View& view, const rxPair<long>& storeSize) {
    const long x = input.integer(-3, 8);
    const long y = input.integer(-3, 8);
    const long width = input.integer(-1, 8);
    const long height = input.integer(-1, 8);
    switch (input.byte() % 4) {
        case 0: {
            const bool isFar = input.byte() < 32;
            const rxPair<long> offset(isFar ? 3'000'000'000L : x, y);
            if (succeeds([&] { image.offset(offset); })) view.offset = offset;
            promise(isFar == !(view.offset == offset), "refuses what is beyond 32 bits");
            break;
        }
        case 1: {
            const bool fits = x >= 0 && y >= 0 && width >= 0 && height >= 0 &&
                              x + width <= view.width && y + height <= view.height;
            const bool isDone = succeeds([&] { (void)image.window(x, y, width, height, false); });
            promise(isDone == fits, "windows that fit");
            if (isDone) {
                view = {view.x + x, view.y + y, width, height, view.offset + rxPair<long>(x, y)};
            }
            break;
        }
        case 2: {
            const bool isDone = succeeds([&] { (void)image.window(x, y, width, height, true); });
            promise(isDone == (width >= 0 && height >= 0), "clipped windows of any place");
            if (!isDone) break;
            const long left = std::clamp(x, 0L, view.width);
            const long top = std::clamp(y, 0L, view.height);
            const long right = std::clamp(x + width, left, view.width);
            const long bottom = std::clamp(y + height, top, view.height);
            view = {view.x + left, view.y + top, right - left, bottom - top,
                    view.offset + rxPair<long>(left, top)};
            break;
        }
        default:
            if (storeSize.x() == 0 || storeSize.y() == 0) break;
            image.setEntire();
            view = {0, 0, storeSize.x(), storeSize.y(), view.offset - rxPair<long>(view.x, view.y)};
            break;
    }
}

template <rxPixel T>
std::vector<long> pixelsOf(const rxPelBuffer<T>& image) {
    std::vector<long> all;
    for (long y = 0; y < image.height(); ++y) {
        for (long x = 0; x < image.width(); ++x) {
            all.push_back(static_cast<long>(image.pointToRow(y)[x]));
        }
    }
    return all;
}

template <rxPixel T>
rxPelBuffer<T> image(FuzzInput& input, long width, long height) {
    rxPelBuffer<T> made(width, height, 1L << input.integer(0, 6));
    for (long y = 0; y < height; ++y) {
        for (long x = 0; x < width; ++x) {
            const long value = input.flag() ? input.byte() : input.integer(-40'000, 70'000);
            made.pointToRow(y)[x] = static_cast<T>(value);
        }
    }
    return made;
}

template <rxPixel T>
void views(FuzzInput& input) {
    const rxPair<long> size{input.integer(0, 6), input.integer(0, 6)};
    rxPelBuffer<T> store = image<T>(input, size.x(), size.y());
    rxPelBuffer<T> part = store;
    View view{0, 0, size.x(), size.y(), {}};
    for (int i = 0; i < 4; ++i) {
        moveView(input, part, view, size);
        requireView(part, view);
    }
    const long x = view.offset.x() + input.integer(-1, 6);
    const long y = view.offset.y() + input.integer(-1, 6);
    const bool isInside = x >= view.offset.x() && x < view.offset.x() + view.width &&
                          y >= view.offset.y() && y < view.offset.y() + view.height;
    T pixel{};
    promise(succeeds([&] { pixel = part.get(x, y); }) == isInside, "pixels inside alone");
    promise(succeeds([&] { part.put(x, y, T{7}); }) == isInside, "writes inside alone");
    if (!isInside) return;
    promise(part.sharesPixelsWith(store), "pixels that are shared");
    const long column = x - view.offset.x() + view.x;
    promise(store.pointToRow(y - view.offset.y() + view.y)[column] == T{7}, "the same pixel");
    part.setUnbound();
    promise(part.width() == 0 && !part.sharesPixelsWith(store), "a view of nothing");
}

/// Each pixel by itself, in arithmetic that wraps around.
template <rxPixel T>
void arithmetic(FuzzInput& input) {
    const long width = input.integer(0, 6);
    const long height = input.integer(0, 6);
    const rxPelBuffer<T> a = image<T>(input, width, height);
    const rxPelBuffer<T> b = image<T>(input, input.byte() < 16 ? width + 1 : width, height);
    rxPelBuffer<T> sum = image<T>(input, width, height);
    const bool fits = b.width() == width;
    const std::vector<long> left = pixelsOf(a);
    const std::vector<long> right = pixelsOf(b);
    promise(succeeds([&] { rfPelAdd<T>(a, b, sum); }) == fits, "adds equal sizes alone");
    const std::vector<long> added = pixelsOf(sum);
    promise(succeeds([&] { rfPelSub<T>(a, b, sum); }) == fits, "subtracts equal sizes alone");
    const std::vector<long> subtracted = pixelsOf(sum);
    for (std::size_t i = 0; fits && i < left.size(); ++i) {
        promise(added[i] == static_cast<long>(static_cast<T>(left[i] + right[i])), "the sum");
        promise(subtracted[i] == static_cast<long>(static_cast<T>(left[i] - right[i])),
                "the difference");
    }
    rfPelCopy<T>(a, sum);
    promise(pixelsOf(sum) == left, "a copy");
    rfPelSet(sum, T{5});
    promise(std::ranges::count(pixelsOf(sum), 5) == std::ssize(left), "one value everywhere");
    rfPelClear(sum);
    promise(std::ranges::count(pixelsOf(sum), 0) == std::ssize(left), "zeros everywhere");
    if (width < 2) return;
    rxPelBuffer<T> first = a;
    rxPelBuffer<T> second = a;
    first.window(0, 0, width - 1, height, false);
    second.window(1, 0, width - 1, height, false);
    promise(succeeds([&] { rfPelCopy<T>(first, second); }) == (height == 0 || width == 2),
            "refuses views that overlap partly");
}

template <rxPixel T>
void marks(FuzzInput& input) {
    const long width = input.integer(0, 6);
    const long height = input.integer(0, 6);
    const rxPelBuffer<unsigned char> source = image<unsigned char>(input, width, height);
    std::vector<T> table(static_cast<std::size_t>(input.integer(0, 256)));
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<T>(3 * i + 1);
    if (input.flag()) {
        for (long y = 0; y < height; ++y) {
            for (long x = 0; x < width; ++x) source.pointToRow(y)[x] &= 1U;
        }
    }
    const std::vector<long> places = pixelsOf(source);
    const long most = places.empty() ? -1 : *std::ranges::max_element(places);
    rxPelBuffer<T> mapped(width, height, 8);
    const bool isMapped = succeeds([&] { rfPelMap<T>(source, table, mapped); });
    promise(isMapped == (most < std::ssize(table)), "tables that reach far enough");
    const std::vector<long> found = pixelsOf(mapped);
    for (std::size_t i = 0; isMapped && i < places.size(); ++i) {
        promise(found[i] == static_cast<long>(table[static_cast<std::size_t>(places[i])]),
                "the entry of the table");
    }
    if constexpr (std::same_as<T, unsigned char>) {
        succeeds([&] { promise(pixelsOf(rfPelMap(source, table)) == found, "a new image"); });
    } else {
        rxPelBuffer<T> sum(width, height, 8);
        const rxPelBuffer<T> other = image<T>(input, width, height);
        rfPelAdd<T>(rxPelBuffer_const<unsigned char>(source), other, sum);
        const std::vector<long> added = pixelsOf(sum);
        const std::vector<long> others = pixelsOf(other);
        for (std::size_t i = 0; i < places.size(); ++i) {
            promise(added[i] == static_cast<long>(static_cast<T>(places[i] + others[i])),
                    "the sum with marks");
        }
    }
}

template <rxPixel T>
void images(FuzzInput& input) {
    switch (input.byte() % 4) {
        case 0:
            arithmetic<T>(input);
            break;
        case 1:
            marks<T>(input);
            break;
        case 2:
            succeeds([&] {
                const long width = input.flag() ? input.integer(-2, 4) : 2'000'000'000'000'000'000L;
                const rxPelBuffer<T> made{width, input.integer(-2, 4), input.integer(-1, 5)};
                promise(made.width() >= 0 && made.height() >= 0, "an image that can be");
            });
            break;
        default:
            views<T>(input);
            break;
    }
}

long numReports = 0;

void scoreStores(FuzzInput& input) {
    numReports = 0;
    rfSetAssertionHook([](int) { ++numReports; });
    const long maxScore = input.integer(-1, 20);
    const long capacity = input.integer(0, 6);
    rxScoreHashing store(maxScore, capacity);
    promise((numReports > 0) == (maxScore < 1 || capacity < 1), "reports dimensions below 1");
    rfSetAssertionHook(nullptr);
    reference::CandidateList<rxPair<long>> plain(maxScore, capacity);
    for (long n = input.integer(0, 40); n > 0; --n) {
        const long score = input.integer(-2, 22);
        const rxPair<long> position(n, input.byte());
        const bool isTaken = store.add(score, position);
        promise(capacity == 0 ? !isTaken : isTaken == plain.add(score, position),
                "takes what the plain list takes");
    }
    rxPair<long> position;
    long score = store.first(position);
    for (const auto& item : plain.bestFirst()) {
        promise(score == item.score && position == item.entry, "the order of the plain list");
        score = store.next(position);
    }
    promise(score == -1 && store.next(position) == -1, "no more than the plain list");
    promise(store.lowestScore() == plain.lowestScore(), "the lowest score");
    promise(store.numResults() == std::ssize(plain.bestFirst()), "the number held");
    store.clear();
    promise(store.highestScore() == -1 && store.numResults() == 0, "an empty store");
    store.max(3, 2);
    promise(store.add(3, position) && store.maxScore() == 3 && store.maxResults() == 2,
            "new dimensions");
}

struct Dot {
    float x;
    float y;
};

class Node {
  public:
    Node(int x, int y) : x_(x), y_(y) {}
    int x() const { return x_; }
    int y() const { return y_; }

  private:
    int x_;
    int y_;
};

void hosts(FuzzInput& input) {
    const rxVector<2> p = input.point();
    const Node node = rfPointAs<Node>(p);
    const rxVector<2> back = rfPoint(node);
    if (std::abs(p.x()) < 2147483648.0) promise(back.x() == std::trunc(p.x()), "cut off");
    if (std::isnan(p.y())) promise(node.y() == 0, "0 for not-a-number");
    const auto pair = rfPointAs<std::array<double, 2>>(p);
    promise(isSame(pair[0], p.x()) && isSame(pair[1], p.y()), "the same numbers");
    (void)rfPointAs<std::array<std::int64_t, 2>>(p);
    (void)rfPointAs<std::array<std::uint8_t, 2>>(p);
    std::vector<Dot> dots(static_cast<std::size_t>(input.integer(0, 4)));
    for (Dot& dot : dots) dot = {static_cast<float>(input.byte()), 2.5F};
    const auto points = rfPoints(std::span<const Dot>(dots));
    promise(points.size() == dots.size(), "a point for each");
    for (std::size_t i = 0; i < dots.size(); ++i) {
        promise(points[i] == rxVector<2>(static_cast<double>(dots[i].x), 2.5), "each point");
    }
}

void rectangles(FuzzInput& input) {
    const rxPair<long> corner{input.integer(-9, 9), input.integer(-9, 9)};
    const rxPair<long> extent{input.integer(-9, 9), input.integer(-9, 9)};
    const rxPelRect rectangle(corner.x(), corner.y(), extent.x(), extent.y());
    promise(rectangle.lr() == corner + extent, "the other corner");
    promise(rectangle == rxPelRect(rectangle.ul(), rectangle.lr()), "the same by its corners");
}

}  // namespace

void run(Bytes bytes) {
    FuzzInput input(bytes);
    constexpr void (*kWays[])(FuzzInput&) = {
        numbers,
        ranges,
        transforms,
        lines,
        scoreStores,
        hosts,
        rectangles,
        images<unsigned char>,
        images<short>,
        images<int>,
        images<unsigned short>,
        images<unsigned int>,
        images<long>,
    };
    kWays[input.byte() % std::size(kWays)](input);
}

}  // namespace ptmatch::fuzz::foundations
