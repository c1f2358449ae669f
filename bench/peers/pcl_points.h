#pragma once

// Only for the sources of the contenders from PCL, each of which sees PCL on its own.
#include <pcl/point_cloud.h>
#include <pcl/point_types.h>

#include <Eigen/Core>

#include "scene.h"

namespace ptmatch::bench::peers {

/// The points in the plane z = 0.
inline pcl::PointCloud<pcl::PointXYZ>::Ptr cloudOf(const Points& points) {
    auto cloud = pcl::make_shared<pcl::PointCloud<pcl::PointXYZ>>();
    for (const Point& p : points) {
        cloud->push_back(pcl::PointXYZ(static_cast<float>(p.x), static_cast<float>(p.y), 0.0F));
    }
    return cloud;
}

/// What the transform does in the plane. One that turns the plane over becomes some pose that is
/// wrong, as it is.
inline Similarity poseOf(const Eigen::Matrix4f& transform) {
    return {static_cast<double>(transform(0, 0)), static_cast<double>(transform(1, 0)),
            static_cast<double>(transform(0, 3)), static_cast<double>(transform(1, 3))};
}

}  // namespace ptmatch::bench::peers
