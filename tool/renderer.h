#pragma once

#include <string>
#include <string_view>

namespace ptmatch::tool {

/// The program that makes PNG pictures of SVG ones.
constexpr auto kRendererName = "rsvg-convert";

/// Where the renderer is.
/// @throws InputError  it is not in any folder of the PATH.
std::string findRenderer();

/// The picture as a PNG file, as large as it says. Started without a shell. Any number of threads.
/// @throws InputError  there is no renderer, it cannot be started, or it fails.
/// @throws rxAttention::Interrupted  an interruption was asked for; the renderer is ended.
std::string renderedPng(std::string_view svg);

}  // namespace ptmatch::tool
