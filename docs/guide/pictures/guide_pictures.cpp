// Draws a picture of the guide: guide_pictures NAME. scripts/make_guide_pictures.sh makes them all.
#include <exception>
#include <iostream>
#include <map>
#include <string>

#include "pictures.h"

namespace {

using Draw = std::string (*)();

const std::map<std::string, Draw>& pictures() {
    using namespace ptmatch::guide;
    static const std::map<std::string, Draw> all = {
        {"bent_board", bentBoard},
        {"capture_range", captureRange},
        {"coverage", coverage},
        {"exhaustive_growth", exhaustiveGrowth},
        {"grid_size", gridSize},
        {"nothing_is_found", nothingIsFound},
        {"several_instances", severalInstances},
        {"uncertainties", uncertainties},
        {"votes_by_rotation", votesByRotation},
        {"ways_of_lying", waysOfLying},
        {"weights", weights},
        {"what_matching_does", whatMatchingDoes},
    };
    return all;
}

}  // namespace

int main(int argc, char** argv) try {
    const auto found = argc == 2 ? pictures().find(argv[1]) : pictures().end();
    if (found == pictures().end()) {
        std::cerr << "usage: guide_pictures NAME, in the root of the project. Names:\n";
        for (const auto& [name, draw] : pictures()) std::cerr << "  " << name << '\n';
        return 2;
    }
    std::cout << found->second() << std::flush;
    return std::cout ? 0 : 2;
} catch (const std::exception& error) {
    std::cerr << "guide_pictures: " << error.what() << '\n';
    return 2;
}
