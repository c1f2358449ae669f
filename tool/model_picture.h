#pragma once

#include <string>

#include "archive_content.h"
#include "picture_page.h"

namespace ptmatch::tool {

/// What a matcher was trained on, as an SVG picture.
///
/// Points: the larger a disc, the larger its weight; points of weight 0 are grey rings, negative
/// ones crosses in another colour. A grid pattern: its positions on their grid, with the steps when
/// they are known, otherwise with those of unit squares. To the right stand figures and a legend.
/// @param file  what the picture calls it
/// @throws InputError  the matcher is not trained.
std::string modelPicture(const MatcherContent& matcher, const std::string& file,
                         const PictureStyle& style);

/// The first matcher in an archive.
/// @throws InputError  there is none.
const MatcherContent& firstMatcher(const ArchiveContent& archive);

}  // namespace ptmatch::tool
