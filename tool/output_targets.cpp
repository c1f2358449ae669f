#include "output_targets.h"

#include <filesystem>
#include <system_error>

#include "input_error.h"
#include "output_file.h"

namespace ptmatch::tool {
namespace {

namespace fs = std::filesystem;

bool isSameFile(const std::string& one, const std::string& other) {
    std::error_code ignored;  // a file that does not exist is the same as no other
    return fs::equivalent(one, other, ignored);
}

// Two outputs that do not exist yet have nothing but their names to go by.
bool isSameTarget(const std::string& one, const std::string& other) {
    if (isSameFile(one, other)) return fs::is_regular_file(one);  // a device takes any number
    return fs::path(fileBehindLinks(one)).lexically_normal() ==
           fs::path(fileBehindLinks(other)).lexically_normal();
}

}  // namespace

void requireSparedInputs(const std::vector<RoleOfFile>& outputs,
                         const std::vector<RoleOfFile>& inputs) {
    for (auto output = outputs.begin(); output != outputs.end(); ++output) {
        if (output->path.empty()) continue;
        requireNoStandardStream(output->path);
        for (const RoleOfFile& input : inputs) {
            if (!isSameFile(output->path, input.path)) continue;
            throw InputError(output->name + ": " + output->path + " is " + input.name +
                             "; choose another file");
        }
        for (auto earlier = outputs.begin(); earlier != output; ++earlier) {
            if (earlier->path.empty() || !isSameTarget(output->path, earlier->path)) continue;
            throw InputError(output->name + ": " + output->path + " is the file of " +
                             earlier->name + "; choose another file");
        }
    }
}

}  // namespace ptmatch::tool
