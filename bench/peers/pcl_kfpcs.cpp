#include <pcl/registration/ia_kfpcs.h>

#include "pcl_congruent_sets.h"

namespace ptmatch::bench::peers {

std::unique_ptr<Contender> makeKeypointFourPoints() {
    using Alignment = pcl::registration::KFPCSInitialAlignment<pcl::PointXYZ, pcl::PointXYZ>;
    return std::make_unique<CongruentSets<Alignment>>("K4PCS", 1.0);
}

}  // namespace ptmatch::bench::peers
