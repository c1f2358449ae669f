#pragma once

#include <cmath>

#include "scene.h"

namespace ptmatch::bench::peers {

/// Least-squares pose of pairs (model point, data point), from sums about the first pair: the
/// textbook's, in plain doubles, which pixels allow.
class LeastSquaresPose {
  public:
    void add(const Point& model, const Point& data) {
        if (count_ == 0) {
            modelOrigin_ = model;
            dataOrigin_ = data;
        }
        const Point m{model.x - modelOrigin_.x, model.y - modelOrigin_.y};
        const Point d{data.x - dataOrigin_.x, data.y - dataOrigin_.y};
        ++count_;
        sumModel_ = {sumModel_.x + m.x, sumModel_.y + m.y};
        sumData_ = {sumData_.x + d.x, sumData_.y + d.y};
        dot_ += m.x * d.x + m.y * d.y;
        cross_ += m.x * d.y - m.y * d.x;
        square_ += m.x * m.x + m.y * m.y;
    }

    [[nodiscard]] long count() const { return count_; }

    /// The pose; the identity for fewer than two pairs.
    [[nodiscard]] Similarity fit(bool isScaled) const {
        if (count_ < 2) return {};
        const auto n = static_cast<double>(count_);
        double a = dot_ - (sumModel_.x * sumData_.x + sumModel_.y * sumData_.y) / n;
        double b = cross_ - (sumModel_.x * sumData_.y - sumModel_.y * sumData_.x) / n;
        const double square = square_ - (sumModel_.x * sumModel_.x + sumModel_.y * sumModel_.y) / n;
        const double divisor = isScaled ? square : std::hypot(a, b);
        if (!(divisor > 0.0)) return {};
        a /= divisor;
        b /= divisor;
        const Point m{modelOrigin_.x + sumModel_.x / n, modelOrigin_.y + sumModel_.y / n};
        const Point d{dataOrigin_.x + sumData_.x / n, dataOrigin_.y + sumData_.y / n};
        return {a, b, d.x - (a * m.x - b * m.y), d.y - (b * m.x + a * m.y)};
    }

  private:
    long count_ = 0;
    Point modelOrigin_;
    Point dataOrigin_;
    Point sumModel_;
    Point sumData_;
    double dot_ = 0.0;
    double cross_ = 0.0;
    double square_ = 0.0;
};

}  // namespace ptmatch::bench::peers
