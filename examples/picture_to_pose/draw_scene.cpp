// Draws the photographs that the other two programs are tried on, from tables in data/: a plate of
// dots seen from the side, or a circuit board on a light table. Prints where it put them.
//
//     draw_scene plate plate.png
//     draw_scene part part.png
//
// A file name that ends in .avi makes a film (--frames), in which the plate or the part moves.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/videoio.hpp>
#include <stdexcept>

#include "foundation/angle.h"
#include "foundation/xform.h"
#include "ptmatch/perspective_fit.h"
#include "tables.h"
#include "text.h"

namespace {

using namespace picture_to_pose;
using Points = std::vector<rxVector<2>>;

constexpr double kPi = 3.14159265358979323846;

struct Options {
    std::string file;
    std::string data = "data";
    std::string pattern = "examples/picture_to_pose/plate.txt";
    std::string truth;
    std::uint64_t seed = 1;
    int frames = 10;
    double blur = 0.8;   // standard deviation, pixels
    double noise = 3.0;  // standard deviation, grey levels
};

/// A dot or hole that can be seen, and where its centre lies.
struct TrueDot {
    std::string name;  // columns of the truth table
    rxVector<2> centre;
};

struct Scene {
    cv::Mat picture;
    std::vector<TrueDot> dots;
};

/// A sheet to paint on, four times as fine as the picture, so that edges come out smooth. Places
/// are those of the picture, the centre of its first pixel being (0, 0).
class Canvas {
  public:
    explicit Canvas(const cv::Size& size)
        : size_(size), sheet_(size * kFineness, CV_8UC3, cv::Scalar::all(0)) {}

    void polygon(const Points& corners, const cv::Scalar& colour) {
        std::vector<cv::Point> fixed;
        for (const rxVector<2>& corner : corners) fixed.push_back(fixedPoint_(corner));
        cv::fillPoly(sheet_, std::vector<std::vector<cv::Point>>{fixed}, colour, cv::LINE_8,
                     kShift);
    }

    void disc(const rxVector<2>& centre, double radius, const cv::Scalar& colour) {
        ellipse(centre, radius, radius, 0.0, colour);
    }

    void ellipse(const rxVector<2>& centre, double a, double b, double degrees,
                 const cv::Scalar& colour) {
        const double angle = degrees * kPi / 180.0;
        Points outline;
        for (int k = 0; k < 72; ++k) {
            const double x = a * std::cos(2.0 * kPi * k / 72.0);
            const double y = b * std::sin(2.0 * kPi * k / 72.0);
            outline.emplace_back(centre.x() + x * std::cos(angle) - y * std::sin(angle),
                                 centre.y() + x * std::sin(angle) + y * std::cos(angle));
        }
        polygon(outline, colour);
    }

    void line(const rxVector<2>& a, const rxVector<2>& b, double width, const cv::Scalar& colour) {
        cv::line(sheet_, fixedPoint_(a), fixedPoint_(b), colour,
                 std::max(1, cvRound(width * kFineness)), cv::LINE_8, kShift);
    }

    void soften(double pixels) { cv::GaussianBlur(sheet_, sheet_, cv::Size(), pixels * kFineness); }

    cv::Mat picture() const {
        cv::Mat picture;
        cv::resize(sheet_, picture, size_, 0.0, 0.0, cv::INTER_AREA);
        return picture;
    }

  private:
    static constexpr int kFineness = 4;
    static constexpr int kShift = 4;

    cv::Point fixedPoint_(const rxVector<2>& p) const {
        const auto fixed = [](double v) {
            return cvRound(((v + 0.5) * kFineness - 0.5) * (1 << kShift));
        };
        return {fixed(p.x()), fixed(p.y())};
    }

    cv::Size size_;
    cv::Mat sheet_;
};

/// What a camera does to a scene: light that falls off, an image that is not quite sharp, noise.
cv::Mat photographed(const cv::Mat& scene, const Options& options, cv::RNG& random) {
    cv::Mat light(scene.size(), CV_32FC3);
    for (int y = 0; y < light.rows; ++y) {
        for (int x = 0; x < light.cols; ++x) {
            const double u = static_cast<double>(x) / light.cols - 0.4;
            const double v = static_cast<double>(y) / light.rows - 0.35;
            const auto level = static_cast<float>(1.0 - 0.55 * (u * u + v * v));
            light.at<cv::Vec3f>(y, x) = {level, level, level};
        }
    }
    cv::Mat exact;
    scene.convertTo(exact, CV_32FC3);
    exact = exact.mul(light);
    if (options.blur > 0.0) cv::GaussianBlur(exact, exact, cv::Size(), options.blur);
    cv::Mat noise(scene.size(), CV_32FC3);
    random.fill(noise, cv::RNG::NORMAL, 0.0, options.noise);
    cv::Mat picture;
    cv::Mat(exact + noise).convertTo(picture, CV_8UC3);
    return picture;
}

cv::Scalar jittered(const cv::Scalar& colour, double by, cv::RNG& random) {
    const double shift = random.uniform(-by, by);
    return {colour[0] + shift, colour[1] + shift, colour[2] + shift};
}

// --- The plate ------------------------------------------------------------------------------

constexpr double kPlateZoom = 1.6;
const cv::Size kPlatePicture(1024, 768);

rxVector<2> zoomed(const rxVector<2>& pixel) {
    return {kPlateZoom * (pixel.x() + 0.5) - 0.5, kPlateZoom * (pixel.y() + 0.5) - 0.5};
}

/// The view of a real plate that lay on a table: columns and rows to pixels. `phase`, from 0 to 1,
/// moves it.
rx2PTm viewOfPlate(const Options& options, double phase) {
    Points grid;
    Points pixels;
    const double shift = 20.0 * std::sin(2.0 * kPi * phase);
    const double lift = 12.0 * std::cos(2.0 * kPi * phase) - 52.0;  // all of it into the picture
    for (const auto& row : readTable(options.data + "/oblique_plate/pairs.csv", 4)) {
        grid.emplace_back(row[0], row[1]);
        pixels.push_back(zoomed({row[2] + shift, row[3] + lift}));
    }
    return rfFitPerspectiveNormalized(grid, pixels);
}

Points imageOf(const Points& corners, const rx2PTm& view) {
    Points image;
    for (const rxVector<2>& corner : corners) image.push_back(view.a2b(corner));
    return image;
}

Points rectangle(double left, double top, double right, double bottom) {
    return {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
}

// A circle of the plate, as it is seen.
Points circleOnPlate(const rxVector<2>& centre, double radius, const rx2PTm& view) {
    Points outline;
    for (int k = 0; k < 72; ++k) {
        const double angle = 2.0 * kPi * k / 72.0;
        outline.push_back(view.a2b(
            {centre.x() + radius * std::cos(angle), centre.y() + radius * std::sin(angle)}));
    }
    return outline;
}

void paintTable(Canvas& canvas, cv::RNG& random) {
    const double width = kPlatePicture.width;
    const double height = kPlatePicture.height;
    canvas.polygon(rectangle(-5, -5, width + 5, height + 5), cv::Scalar(112, 142, 168));
    for (int k = 0; k < 260; ++k) {  // grain of the wood
        const double y = random.uniform(0.0, height);
        const double x = random.uniform(-0.2 * width, width);
        const double tilt = random.uniform(-6.0, 6.0);
        canvas.line({x, y}, {x + random.uniform(60.0, 400.0), y + tilt}, random.uniform(0.5, 2.0),
                    jittered(cv::Scalar(100, 128, 152), 12.0, random));
    }
    for (int k = 0; k < 14; ++k) {  // what lies about: crumbs, screws, stains
        const rxVector<2> place(random.uniform(0.0, width), random.uniform(0.0, 0.28 * height));
        canvas.ellipse(place, random.uniform(3.0, 11.0), random.uniform(3.0, 9.0),
                       random.uniform(0.0, 180.0), jittered(cv::Scalar(45, 50, 60), 15.0, random));
    }
    canvas.soften(1.2);
}

void paintSheet(Canvas& canvas, const rx2PTm& view) {
    canvas.polygon(imageOf(rectangle(-1.25, -1.15, 10.35, 9.4), view), cv::Scalar(60, 78, 98));
    canvas.polygon(imageOf(rectangle(-1.3, -1.25, 10.3, 9.3), view), cv::Scalar(70, 110, 150));
    canvas.polygon(imageOf(rectangle(-0.9, -0.9, 9.9, 9.0), view), cv::Scalar(226, 230, 232));
    for (int k = 0; k < 30; ++k) {  // a line of small print
        const double x = 0.2 + 0.16 * k;
        if (k % 7 == 5) continue;
        const double height = 0.06 + 0.05 * (k * 5 % 3);
        canvas.polygon(imageOf(rectangle(x, 7.98 - height, x + 0.1, 7.98), view),
                       cv::Scalar(90, 90, 90));
    }
}

// A finger that holds the sheet down, from the lower right.
void paintFinger(Canvas& canvas, const rx2PTm& view) {
    const rxVector<2> tip = view.a2b({7.9, 6.35});
    const rxVector<2> root = view.a2b({9.6, 9.6});
    const rxVector<2> along = root - tip;
    const rxVector<2> wide(-along.y() / along.len(), along.x() / along.len());
    const double tilt = std::atan2(along.y(), along.x()) * 180.0 / kPi;
    for (const double edge : {1.0, 0.86}) {
        const cv::Scalar skin = edge == 1.0 ? cv::Scalar(98, 126, 178) : cv::Scalar(128, 160, 212);
        const double r = 27.0 * edge;
        canvas.ellipse(tip, r + 8.0, r, tilt, skin);
        canvas.polygon({{tip.x() + r * wide.x(), tip.y() + r * wide.y()},
                        {root.x() + 1.5 * r * wide.x(), root.y() + 1.5 * r * wide.y()},
                        {root.x() - 1.5 * r * wide.x(), root.y() - 1.5 * r * wide.y()},
                        {tip.x() - r * wide.x(), tip.y() - r * wide.y()}},
                       skin);
    }
    canvas.ellipse({tip.x() + 3.0, tip.y() + 1.0}, 17.0, 13.0, tilt, cv::Scalar(150, 178, 226));
}

bool isHidden(const rxVector<2>& dot, const std::array<rxVector<2>, 2>& finger, double reach) {
    const rxVector<2> along = finger[1] - finger[0];
    const rxVector<2> way = dot - finger[0];
    const double share = std::clamp((way.x() * along.x() + way.y() * along.y()) /
                                        (along.x() * along.x() + along.y() * along.y()),
                                    0.0, 1.0);
    return (way - rxVector<2>(share * along.x(), share * along.y())).len() < reach;
}

Scene plateScene(const Options& options, double phase) {
    cv::RNG random(options.seed);
    const rx2PTm view = viewOfPlate(options, phase);
    const std::array<rxVector<2>, 2> finger = {view.a2b({7.9, 6.35}), view.a2b({9.6, 9.6})};
    Canvas canvas(kPlatePicture);
    paintTable(canvas, random);
    paintSheet(canvas, view);

    Scene scene;
    for (const rxPair<long>& position : readPattern(options.pattern)) {
        constexpr double kRadius = 0.27;  // of the distance of dots
        const rxVector<2> place = position;
        const rxVector<2> centre = view.a2b(place);
        canvas.polygon(circleOnPlate(place, kRadius, view), cv::Scalar(38, 34, 32));
        if (isHidden(centre, finger, 75.0)) continue;
        scene.dots.push_back(
            {std::to_string(position.x()) + "," + std::to_string(position.y()), centre});
    }
    for (int k = 0; k < 9; ++k) {  // stains on the sheet, between the dots
        const rxVector<2> place(0.5 + static_cast<double>(random.uniform(0, 9)),
                                0.5 + static_cast<double>(random.uniform(0, 7)));
        canvas.polygon(circleOnPlate({place.x() + random.uniform(-0.06, 0.06), place.y()},
                                     random.uniform(0.07, 0.13), view),
                       jittered(cv::Scalar(60, 74, 84), 12.0, random));
    }
    paintFinger(canvas, view);
    scene.picture = photographed(canvas.picture(), options, random);

    std::cout << "plate: " << scene.dots.size() << " dots in sight\n  parameters"
              << std::setprecision(12);
    for (const double p : view.a2bParams()) std::cout << ' ' << p;
    std::cout << '\n';
    return scene;
}

// --- The part -------------------------------------------------------------------------------

const cv::Size kPartPicture(1100, 860);

/// The board lies turned, about its middle: millimetres to pixels.
rxXform<2> poseOfPart(double phase) {
    const double scale = 12.4;
    const double angle = (24.6 + 30.0 * phase) * kPi / 180.0;
    const rxVector<2> middle(29.2, -29.35);  // of the board, mm
    const rxMatrix<2> turn(scale * std::cos(angle), -scale * std::sin(angle),
                           scale * std::sin(angle), scale * std::cos(angle));
    const rxVector<2> target(548.3, 431.7);
    return rxXform<2>(turn, target - turn * middle);
}

Points imageOf(const Points& corners, const rxXform<2>& pose) {
    Points image;
    for (const rxVector<2>& corner : corners) image.push_back(pose * corner);
    return image;
}

void paintBoard(Canvas& canvas, const Points& holes, const rxXform<2>& pose, cv::RNG& random) {
    const double width = kPartPicture.width;
    const double height = kPartPicture.height;
    canvas.polygon(rectangle(-5, -5, width + 5, height + 5), cv::Scalar(205, 222, 226));
    canvas.polygon(imageOf(rectangle(-1.6, -50.1, 60.0, -8.6), pose), cv::Scalar(40, 52, 26));
    canvas.polygon(imageOf(rectangle(-1.4, -49.9, 59.8, -8.8), pose), cv::Scalar(62, 96, 34));
    for (int k = 0; k < 46; ++k) {  // traces of copper, which lets no light through
        const auto pick = [&] {
            return holes[static_cast<std::size_t>(
                random.uniform(0, static_cast<int>(holes.size()) - 1))];
        };
        const rxVector<2> a = pick();
        const rxVector<2> b = pick();
        const rxVector<2> bend(b.x(), a.y());
        canvas.line(pose * a, pose * bend, 3.5, cv::Scalar(46, 74, 26));
        canvas.line(pose * bend, pose * b, 3.5, cv::Scalar(46, 74, 26));
    }
    for (int k = 0; k < 5; ++k) {  // outlines of components, printed in white
        const double x = random.uniform(3.0, 48.0);
        const double y = random.uniform(-46.0, -14.0);
        const Points outline = imageOf(rectangle(x, y, x + 7.0, y + 4.0), pose);
        for (std::size_t c = 0; c < 4; ++c) {
            canvas.line(outline[c], outline[(c + 1) % 4], 2.0, cv::Scalar(206, 214, 206));
        }
        canvas.disc(pose * rxVector<2>(x - 0.9, y + 2.0), 5.0, cv::Scalar(214, 222, 214));
    }
}

Scene partScene(const Options& options, double phase) {
    cv::RNG random(options.seed);
    const rxXform<2> pose = poseOfPart(phase);
    const Points holes = readPoints(options.data + "/versa64/model.csv");
    Canvas canvas(kPartPicture);
    paintBoard(canvas, holes, pose, random);
    const cv::Scalar lit(236, 246, 250);
    const cv::Scalar ring(34, 54, 50);
    for (int k = 0; k < 16; ++k) {  // holes that the table does not know
        const rxVector<2> place(random.uniform(0.0, 58.0), random.uniform(-48.0, -10.5));
        canvas.disc(pose * place, 8.5, ring);
        canvas.disc(pose * place, 5.0, lit);
    }
    Scene scene;
    for (std::size_t k = 0; k < holes.size(); ++k) {
        const rxVector<2> centre = pose * holes[k];
        canvas.disc(centre, 11.5, ring);
        if (k % 11 == 4) {  // filled with solder
            canvas.disc(centre, 6.5, cv::Scalar(74, 78, 80));
            continue;
        }
        canvas.disc(centre, 6.5, lit);
        scene.dots.push_back({std::to_string(k), centre});
    }
    scene.picture = photographed(canvas.picture(), options, random);
    std::cout << "part: " << scene.dots.size() << " of " << holes.size()
              << " holes in sight\n  rotation "
              << fixedText(rxDegree(pose.rotation()).toDouble(), 3) << " deg, scale "
              << fixedText(pose.xScale(), 4) << " px per unit, origin of the model at "
              << pairText(pose.trans(), 2) << '\n';
    return scene;
}

/// Nothing but a dim wall.
Scene emptyScene(const Options& options, double /*phase*/) {
    cv::RNG random(options.seed);
    return {photographed(cv::Mat(480, 640, CV_8UC3, cv::Scalar(150, 156, 160)), options, random),
            {}};
}

// --------------------------------------------------------------------------------------------

void writeTruth(const Options& options, const Scene& scene, const std::string& heading) {
    if (options.truth.empty()) return;
    std::ofstream stream(options.truth);
    stream << heading << ",x,y\n" << std::fixed << std::setprecision(3);
    for (const TrueDot& dot : scene.dots) {
        stream << dot.name << ',' << dot.centre.x() << ',' << dot.centre.y() << '\n';
    }
    stream.close();
    if (!stream) throw std::runtime_error(options.truth + ": cannot be written");
}

template <class Draw>
void write(const Options& options, const std::string& heading, Draw draw) {
    const bool isFilm = options.file.ends_with(".avi");
    cv::VideoWriter film;
    for (int k = 0; k < (isFilm ? options.frames : 1); ++k) {
        const Scene scene = draw(options, static_cast<double>(k) / std::max(1, options.frames));
        if (k == 0) writeTruth(options, scene, heading);
        if (!isFilm) {
            if (!cv::imwrite(options.file, scene.picture)) {
                throw std::runtime_error(options.file + ": cannot be written");
            }
            return;
        }
        if (k == 0 &&
            !film.open(options.file, cv::CAP_OPENCV_MJPEG,
                       cv::VideoWriter::fourcc('M', 'J', 'P', 'G'), 10.0, scene.picture.size())) {
            throw std::runtime_error(options.file + ": cannot be written");
        }
        film.write(scene.picture);
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Draws photographs of a plate of dots or of a part, whose poses are known.");
    Options options;
    std::string what;
    app.add_option("what", what, "plate, part or empty")
        ->required()
        ->check(CLI::IsMember({"plate", "part", "empty"}));
    app.add_option("file", options.file, "The picture, or a film (.avi)")->required();
    app.add_option("--data", options.data, "The folder of the tables")->capture_default_str();
    app.add_option("--pattern", options.pattern, "The dots of the plate")->capture_default_str();
    app.add_option("--truth", options.truth, "Write the true centres of what is in sight");
    app.add_option("--seed", options.seed, "Of noise and clutter")->capture_default_str();
    app.add_option("--frames", options.frames, "Of a film")->check(CLI::Range(1, 10000));
    app.add_option("--blur", options.blur, "Standard deviation, pixels")
        ->check(CLI::Range(0.0, 20.0))
        ->capture_default_str();
    app.add_option("--noise", options.noise, "Standard deviation, grey levels of 256")
        ->check(CLI::Range(0.0, 100.0))
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    try {
        if (what == "plate") write(options, "column,row", plateScene);
        if (what == "part") write(options, "model", partScene);
        if (what == "empty") write(options, "none", emptyScene);
    } catch (const std::exception& error) {
        std::cerr << "draw_scene: " << error.what() << '\n';
        return 2;
    }
    return 0;
}
