#include "foundation/memory_archive.h"

#include <algorithm>
#include <string>

rxMemoryStoreArchive::~rxMemoryStoreArchive() = default;

void rxMemoryStoreArchive::read_(std::span<unsigned char> /*block*/) {
    throw Errors("a storing archive cannot be read");
}

void rxMemoryStoreArchive::write_(std::span<const unsigned char> block) {
    stored_.insert(stored_.end(), block.begin(), block.end());
}

rxMemoryLoadArchive::~rxMemoryLoadArchive() = default;

void rxMemoryLoadArchive::read_(std::span<unsigned char> block) {
    const std::span<const unsigned char> left = input_.subspan(position_);
    if (block.size() > left.size()) {
        throw Errors("the archive ends early: " + std::to_string(block.size()) +
                     " bytes expected at byte " + std::to_string(position_) + ", " +
                     std::to_string(left.size()) + " left");
    }
    std::copy_n(left.begin(), block.size(), block.begin());
    position_ += block.size();
}

void rxMemoryLoadArchive::write_(std::span<const unsigned char> /*block*/) {
    throw Errors("a loading archive cannot be written");
}
