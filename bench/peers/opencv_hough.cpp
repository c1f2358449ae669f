// The generalised Hough transforms of OpenCV, on pictures of the points: a dot each.
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>
#include <vector>

#include "contender.h"

namespace ptmatch::bench::peers {
namespace {

// A pixel is a twelfth of the least distance of two model points and a dot has a radius of three:
// dots keep apart, and pictures are as small as that allows.
constexpr double kPixelsPerLeastDistance = 12.0;
constexpr double kDotRadius = 3.0;
constexpr int kCannyLow = 100;
constexpr int kCannyHigh = 200;
// The farthest that a model point can be from the middle of the model.
const double kModelRadius = kSide / std::numbers::sqrt2;

// A picture of points, and where its pixels lie.
struct Picture {
    cv::Mat image;
    Point origin;
    double pixel = 1.0;

    [[nodiscard]] Point at(double column, double row) const {
        return {origin.x + column * pixel, origin.y + row * pixel};
    }
};

Picture draw(const Points& points, double pixel) {
    constexpr int kShift = 4;
    const auto [left, right] = std::minmax_element(
        points.begin(), points.end(), [](const Point& p, const Point& q) { return p.x < q.x; });
    const auto [top, bottom] = std::minmax_element(
        points.begin(), points.end(), [](const Point& p, const Point& q) { return p.y < q.y; });
    const double margin = 4.0 * kDotRadius * pixel;
    Picture picture;
    picture.pixel = pixel;
    picture.origin = {left->x - margin, top->y - margin};
    const int columns = static_cast<int>((right->x - left->x + 2.0 * margin) / pixel) + 1;
    const int rows = static_cast<int>((bottom->y - top->y + 2.0 * margin) / pixel) + 1;
    picture.image = cv::Mat::zeros(rows, columns, CV_8UC1);
    const auto fixed = [](double pixels) {
        return static_cast<int>(std::lround(pixels * (1 << kShift)));
    };
    for (const Point& p : points) {
        const cv::Point centre(fixed((p.x - picture.origin.x) / pixel),
                               fixed((p.y - picture.origin.y) / pixel));
        cv::circle(picture.image, centre, fixed(kDotRadius), cv::Scalar(255), cv::FILLED,
                   cv::LINE_AA, kShift);
    }
    return picture;
}

long numEdgePixels(const cv::Mat& image) {
    cv::Mat edges;
    cv::Canny(image, edges, kCannyLow, kCannyHigh);
    return cv::countNonZero(edges);
}

double pixelOf(const SceneKind& kind) {
    return leastDistance(kind.numModel) / kPixelsPerLeastDistance;
}

// Rotation or relative scale that moves the farthest point by a dot's diameter: a pose between two
// steps is off by no more than a dot's radius.
double stepOf(const SceneKind& kind) {
    return 2.0 * kDotRadius * pixelOf(kind) / kModelRadius;
}

// The pose that turns and scales about a point of the model and takes it to a place.
Similarity poseAbout(const Point& centre, double rotation, double scale, const Point& place) {
    Similarity pose{scale * std::cos(rotation), scale * std::sin(rotation), 0.0, 0.0};
    const Point moved = pose(centre);
    pose.tx = place.x - moved.x;
    pose.ty = place.y - moved.y;
    return pose;
}

// Ballard's transform knows positions only: one template for each rotation and scale, a step apart.
class Ballard : public Contender {
  public:
    std::string name() const override { return "Ballard"; }

    void train(const Points& model, const SceneKind& kind) override {
        cv::setNumThreads(1);
        kind_ = kind;
        templates_.clear();
        const double step = stepOf(kind);
        const auto numTurns = static_cast<long>(std::ceil(kind.maxRotationRad() / step));
        const auto numScales = static_cast<long>(std::ceil(kind.scaleTolerance() / step));
        for (long s = -numScales; s <= numScales; ++s) {
            for (long r = -numTurns; r <= numTurns; ++r) {
                addTemplate(model, static_cast<double>(r) * step,
                            1.0 + static_cast<double>(s) * step);
            }
        }
    }

    std::optional<Similarity> find(const Points& data) override {
        const Picture picture = draw(data, pixelOf(kind_));
        // What the transform would do for each template again: the gradients of the picture.
        cv::Mat edges;
        cv::Mat dx;
        cv::Mat dy;
        cv::Canny(picture.image, edges, kCannyLow, kCannyHigh);
        cv::Sobel(picture.image, dx, CV_32F, 1, 0);
        cv::Sobel(picture.image, dy, CV_32F, 0, 1);
        std::optional<Similarity> best;
        int mostVotes = 0;
        for (const Template& one : templates_) {
            std::vector<cv::Vec4f> places;
            std::vector<cv::Vec3i> votes;
            one.transform->detect(edges, dx, dy, places, votes);
            for (std::size_t i = 0; i < places.size(); ++i) {
                if (votes[i][0] <= mostVotes) continue;
                mostVotes = votes[i][0];
                const Point place = picture.at(places[i][0], places[i][1]);
                best = poseAbout({0.0, 0.0}, one.rotation, one.scale,
                                 {place.x - one.centre.x, place.y - one.centre.y});
            }
        }
        return best;
    }

  private:
    struct Template {
        double rotation = 0.0;
        double scale = 1.0;
        Point centre;  // of the picture, in coordinates of the turned and scaled model
        cv::Ptr<cv::GeneralizedHoughBallard> transform;
    };

    void addTemplate(const Points& model, double rotation, double scale) {
        const Similarity pose = poseAbout({0.0, 0.0}, rotation, scale, {0.0, 0.0});
        Points turned;
        for (const Point& p : model) turned.push_back(pose(p));
        const Picture picture = draw(turned, pixelOf(kind_));
        const cv::Point middle(picture.image.cols / 2, picture.image.rows / 2);
        Template one;
        one.rotation = rotation;
        one.scale = scale;
        one.centre = picture.at(middle.x, middle.y);
        one.transform = cv::createGeneralizedHoughBallard();
        one.transform->setCannyLowThresh(kCannyLow);
        one.transform->setCannyHighThresh(kCannyHigh);
        one.transform->setLevels(kLevels);
        one.transform->setDp(kDp);
        one.transform->setMinDist(kMinDist);
        // Of the votes of all edge pixels; jitter and rounding spread them over a few cells.
        one.transform->setVotesThreshold(
            std::max(1, static_cast<int>(kVoteShare * kind_.minCoverage() *
                                         static_cast<double>(numEdgePixels(picture.image)))));
        one.transform->setTemplate(picture.image, middle);
        templates_.push_back(std::move(one));
    }

    // Directions of edges: ten degrees each, the orientation of a pixel of so small a dot.
    static constexpr int kLevels = 36;
    static constexpr double kDp = 2.0;
    static constexpr double kMinDist = 10.0;
    static constexpr double kVoteShare = 0.25;

    SceneKind kind_;
    std::vector<Template> templates_;
};

// Guil's transform finds rotation, then scale, then position, by pairs of edge pixels. Round dots
// suit it badly: pairs within a dot look the same in every direction, and there are many pairs.
class Guil : public Contender {
  public:
    std::string name() const override { return "Guil"; }

    void train(const Points& model, const SceneKind& kind) override {
        cv::setNumThreads(1);
        kind_ = kind;
        // Turned by half a turn, so that the rotations allowed are about 180 degrees, of the 0 to
        // 360 that the transform counts in.
        Points turned;
        for (const Point& p : model) turned.push_back({-p.x, -p.y});
        const Picture picture = draw(turned, pixelOf(kind));
        const cv::Point middle(picture.image.cols / 2, picture.image.rows / 2);
        centre_ = picture.at(middle.x, middle.y);
        const double reach = kind.maxRotationRad() * 180.0 / std::numbers::pi;
        const double scaleReach = std::max(kind.scaleTolerance(), kScaleStep);
        transform_ = cv::createGeneralizedHoughGuil();
        transform_->setCannyLowThresh(kCannyLow);
        transform_->setCannyHighThresh(kCannyHigh);
        transform_->setLevels(360);
        transform_->setAngleEpsilon(kAngleEpsilonDeg);
        transform_->setDp(2.0);
        transform_->setMinDist(10.0);
        transform_->setMaxBufferSize(100'000);
        transform_->setMinAngle(180.0 - reach);
        transform_->setMaxAngle(180.0 + reach);
        transform_->setAngleStep(1.0);
        transform_->setMinScale(1.0 - scaleReach);
        transform_->setMaxScale(1.0 + scaleReach);
        transform_->setScaleStep(kScaleStep);
        const double numEdges =
            kind.minCoverage() * static_cast<double>(numEdgePixels(picture.image));
        transform_->setAngleThresh(static_cast<int>(1.0 * numEdges));
        transform_->setScaleThresh(static_cast<int>(0.3 * numEdges));
        transform_->setPosThresh(std::max(5, static_cast<int>(0.01 * numEdges)));
        transform_->setTemplate(picture.image, middle);
    }

    std::optional<Similarity> find(const Points& data) override {
        const Picture picture = draw(data, pixelOf(kind_));
        std::vector<cv::Vec4f> places;
        std::vector<cv::Vec3i> votes;
        transform_->detect(picture.image, places, votes);
        std::optional<Similarity> best;
        int mostVotes = 0;
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (votes[i][0] <= mostVotes) continue;
            mostVotes = votes[i][0];
            // About the point of the model that is the middle of its picture.
            best = poseAbout({-centre_.x, -centre_.y},
                             places[i][3] * std::numbers::pi / 180.0 - std::numbers::pi,
                             places[i][2], picture.at(places[i][0], places[i][1]));
        }
        return best;
    }

  private:
    // The direction of an edge of so small a dot is known to some degrees only. The thresholds
    // above were found on a scene of 20 dots without clutter: twice as high, they lose the right
    // pose.
    static constexpr double kAngleEpsilonDeg = 5.0;
    static constexpr double kScaleStep = 0.02;

    SceneKind kind_;
    Point centre_;
    cv::Ptr<cv::GeneralizedHoughGuil> transform_;
};

}  // namespace

std::unique_ptr<Contender> makeBallard() {
    return std::make_unique<Ballard>();
}

std::unique_ptr<Contender> makeGuil() {
    return std::make_unique<Guil>();
}

}  // namespace ptmatch::bench::peers
