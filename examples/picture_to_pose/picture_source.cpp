#include "picture_source.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <opencv2/core/utils/logger.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/videoio.hpp>
#include <stdexcept>

namespace picture_to_pose {
namespace {

void write(const std::string& file, const cv::Mat& picture) {
    bool isWritten = false;
    try {
        isWritten = cv::imwrite(file, picture);
    } catch (const cv::Exception&) {
        throw std::runtime_error(file + ": not the name of a kind of picture, such as .png");
    }
    if (!isWritten) throw std::runtime_error(file + ": cannot be written");
}

bool lookAtFrames(cv::VideoCapture& capture, const SourceOptions& options, const Look& look,
                  const std::string& nothingReadable) {
    bool isFound = false;
    int number = 0;
    for (cv::Mat frame; options.frames == 0 || number < options.frames;) {
        if (!capture.read(frame) || frame.empty()) break;
        ++number;
        std::cout << "frame " << number << '\n';
        cv::Mat overlay;
        if (look(frame, number, overlay)) isFound = true;
        write(numbered(options.overlay, number), overlay);
    }
    if (number == 0) throw std::runtime_error(nothingReadable);
    return isFound;
}

}  // namespace

std::string numbered(const std::string& file, int frame) {
    if (frame == kNoFrame) return file;
    char digits[16];
    std::snprintf(digits, sizeof digits, "_%04d", frame);
    const std::filesystem::path path(file);
    return (path.parent_path() / (path.stem().string() + digits + path.extension().string()))
        .string();
}

void addSourceOptions(CLI::App& app, SourceOptions& options) {
    auto* file = app.add_option("picture", options.file, "A picture or a video");
    auto* camera = app.add_option("--camera", options.camera, "Grab frames of the camera N instead")
                       ->type_name("N")
                       ->check(CLI::NonNegativeNumber);
    file->excludes(camera);
    app.add_option("--frames", options.frames, "Stop after K frames of a camera or a video")
        ->type_name("K")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--out", options.overlay, "Where the overlay goes; frames are numbered")
        ->type_name("FILE")
        ->capture_default_str();
}

bool lookAtAll(const SourceOptions& options, const Look& look) {
    if (options.camera >= 0) {
        cv::VideoCapture camera(options.camera);
        const std::string name = "camera " + std::to_string(options.camera);
        if (!camera.isOpened()) throw std::runtime_error(name + " cannot be opened");
        return lookAtFrames(camera, options, look, name + " gives no frame");
    }
    if (options.file.empty()) throw std::runtime_error("give a picture, or --camera N");
    if (!std::filesystem::is_regular_file(options.file)) {
        throw std::runtime_error(options.file + ": no such file");
    }
    // Pixels as they are stored, whatever the camera noted about how it was held: so points and
    // overlay lie on the picture as the tool's --background and most programs for images take it.
    const cv::Mat picture =
        cv::imread(options.file, cv::IMREAD_COLOR | cv::IMREAD_IGNORE_ORIENTATION);
    if (!picture.empty()) {
        cv::Mat overlay;
        const bool isFound = look(picture, kNoFrame, overlay);
        write(options.overlay, overlay);
        return isFound;
    }
    cv::VideoCapture video(options.file);
    return lookAtFrames(video, options, look, options.file + ": neither a picture nor a video");
}

int guarded(const std::string& program, const std::function<int()>& body) {
    // What goes wrong is told here, once.
    cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
    try {
        return body();
    } catch (const std::exception& error) {
        std::cout.flush();
        std::cerr << program << ": " << error.what() << '\n';
        return 2;
    }
}

}  // namespace picture_to_pose
