#include "astroalign_batch.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <stdexcept>
#include <utility>

namespace ptmatch::bench::peers {
namespace {

std::string quoted(const std::string& word) {
    return "'" + word + "'";
}

void writePoints(std::ofstream& out, const Points& points) {
    out << points.size() << "\n";
    for (const Point& p : points) out << p.x << " " << p.y << "\n";
}

// Scenes of a row in a file of their own, for as long as this lives.
class SceneFile {
  public:
    explicit SceneFile(const std::vector<Scene>& scenes)
        : path_(std::filesystem::temp_directory_path() /
                ("ptmatch_peers_" + std::to_string(getpid()) + ".txt")) {
        std::ofstream out(path_);
        out << std::setprecision(17) << scenes.size() << "\n";
        for (const Scene& scene : scenes) {
            writePoints(out, scene.model);
            writePoints(out, scene.data);
        }
        if (!out.flush()) throw std::runtime_error("cannot write " + path_.string());
    }
    SceneFile(const SceneFile&) = delete;
    SceneFile& operator=(const SceneFile&) = delete;
    ~SceneFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }

    [[nodiscard]] std::string path() const { return path_.string(); }

  private:
    std::filesystem::path path_;
};

}  // namespace

AstroalignBatch::AstroalignBatch(std::string python, std::string script)
    : python_(std::move(python)), script_(std::move(script)) {}

bool AstroalignBatch::isAvailable() const {
    const std::string command = quoted(python_) + " -c 'import astroalign' 2>/dev/null";
    return std::system(command.c_str()) == 0;
}

std::vector<Outcome> AstroalignBatch::run(const std::vector<Scene>& scenes, long maxSeconds,
                                          std::size_t scenesToGiveUp, const SceneKind& kind) const {
    const auto runAll = [&](const std::vector<Scene>& some) {
        const SceneFile file(some);
        const std::string command = quoted(python_) + " " + quoted(script_) + " " +
                                    quoted(file.path()) + " " + std::to_string(maxSeconds);
        FILE* lines = popen(command.c_str(), "r");
        if (lines == nullptr) throw std::runtime_error("cannot start " + python_);
        std::vector<Outcome> outcomes;
        int hasPose = 0;
        int hasEnded = 0;
        Outcome outcome;
        while (std::fscanf(lines, "%d %d %lf %lf %lf %lf %lf", &hasEnded, &hasPose,
                           &outcome.seconds, &outcome.pose.a, &outcome.pose.b, &outcome.pose.tx,
                           &outcome.pose.ty) == 7) {
            outcome.hasEnded = hasEnded != 0;
            outcome.hasPose = hasPose != 0;
            outcomes.push_back(outcome);
        }
        if (pclose(lines) != 0 || outcomes.size() != some.size()) {
            throw std::runtime_error(script_ + " failed");
        }
        return outcomes;
    };
    const auto numFirst = static_cast<std::ptrdiff_t>(std::min(scenesToGiveUp, scenes.size()));
    const std::vector<Scene> first(scenes.begin(), scenes.begin() + numFirst);
    std::vector<Outcome> outcomes = runAll(first);
    bool isAnyRight = false;
    for (std::size_t i = 0; i < first.size(); ++i) {
        isAnyRight |= outcomes[i].hasPose && poseError(polished(outcomes[i].pose, first[i], kind),
                                                       first[i]) <= toleranceOf(kind);
    }
    if (!isAnyRight) return outcomes;
    const std::vector<Outcome> others =
        runAll(std::vector<Scene>(scenes.begin() + numFirst, scenes.end()));
    outcomes.insert(outcomes.end(), others.begin(), others.end());
    return outcomes;
}

}  // namespace ptmatch::bench::peers
