#pragma once

#include <CLI/CLI.hpp>

#include "blob_finder.h"

namespace picture_to_pose {

/// Adds what blobs look like to a program's options.
inline void addBlobOptions(CLI::App& app, BlobOptions& options) {
    app.add_flag("--bright", options.bright, "The blobs are lighter than the ground around them");
    app.add_option("--min-diameter", options.minDiameter, "Of a blob, pixels")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--max-diameter", options.maxDiameter, "Of a blob, pixels")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--contrast", options.contrast,
                   "Least difference of a blob from the ground, grey levels of 256")
        ->check(CLI::Range(1.0, 255.0))
        ->capture_default_str();
    app.add_option("--roundness", options.roundness,
                   "Least roundness: 1 for a disc, 0.79 for a square, 0 takes any shape")
        ->check(CLI::Range(0.0, 1.0))
        ->capture_default_str();
}

}  // namespace picture_to_pose
