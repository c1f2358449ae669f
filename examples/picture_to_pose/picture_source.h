#pragma once

#include <functional>
#include <opencv2/core.hpp>
#include <string>

namespace CLI {
class App;
}

namespace picture_to_pose {

/// Where pictures come from and where overlays go: what both programs have in common.
struct SourceOptions {
    std::string file;  ///< a picture or a video; empty: the camera
    int camera = -1;
    int frames = 0;  ///< of a video or camera; 0: until it ends
    std::string overlay = "overlay.png";
};

/// Adds these options to a program's.
void addSourceOptions(CLI::App& app, SourceOptions& options);

/// The number of a picture that is not a frame.
constexpr int kNoFrame = 0;

/// The file of a frame: table_0001.csv for table.csv and frame 1; `file` itself for `kNoFrame`.
std::string numbered(const std::string& file, int frame);

/// Looks at one picture and draws what it found; false when it found nothing. Frames of a video or
/// camera count from 1.
using Look = std::function<bool(const cv::Mat& picture, int frame, cv::Mat& overlay)>;

/// Calls `look` for the picture, or for each frame, and writes the overlays. Those of frames are
/// numbered: overlay_0001.png and so on.
/// @return whether anything was found in any of them.
/// @throws std::runtime_error  the file or the camera cannot be read, or an overlay not written.
bool lookAtAll(const SourceOptions& options, const Look& look);

/// Runs the body of a program: ends with what it returns, or prints what was thrown and ends
/// with 2.
int guarded(const std::string& program, const std::function<int()>& body);

}  // namespace picture_to_pose
