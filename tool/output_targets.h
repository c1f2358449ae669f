#pragma once

#include <string>
#include <vector>

namespace ptmatch::tool {

/// A file of a run: `name` is the option of an output ("--svg"), or what an input is ("the table of
/// the data"). An empty path stands for no file.
struct RoleOfFile {
    std::string path;
    std::string name;
};

/// Writing must not destroy what the user measured, nor what the same run wrote before.
/// @throws InputError  an output is one of the inputs, also by another name of it, or it is where
///                     standard output or error goes, or two outputs have the same name.
void requireSparedInputs(const std::vector<RoleOfFile>& outputs,
                         const std::vector<RoleOfFile>& inputs);

}  // namespace ptmatch::tool
