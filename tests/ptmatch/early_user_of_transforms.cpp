// Without a header of the transforms: nothing tells the compiler to build anything of theirs before
// the static object of this file. It is linked before transform_instances_test.cpp.
#include "ptmatch/early_user_of_transforms.h"

namespace {

const bool kWereThere = identitiesAreThere();

}  // namespace

bool identitiesWereThereBeforeMain() {
    return kWereThere;
}
