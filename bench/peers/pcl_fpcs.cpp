#include <pcl/registration/ia_fpcs.h>

#include "pcl_congruent_sets.h"

namespace ptmatch::bench::peers {

std::unique_ptr<Contender> makeFourPoints() {
    using Alignment = pcl::registration::FPCSInitialAlignment<pcl::PointXYZ, pcl::PointXYZ>;
    return std::make_unique<CongruentSets<Alignment>>("4PCS", 1.5);
}

}  // namespace ptmatch::bench::peers
