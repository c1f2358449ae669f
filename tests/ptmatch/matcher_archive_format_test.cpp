// The examples of docs/archive_format.md that concern the point matcher.

#include <gtest/gtest.h>

#include <string>

#include "ptmatch/point_matcher_defs.h"
#include "ptmatch/point_matcher_run_params.h"
#include "support/archive_bytes.h"
#include "support/documented_bytes.h"

using ptmatch::testing::documentedBytes;
using ptmatch::testing::stored;

namespace {

TEST(MatcherArchiveFormat, RunParametersAreAsDocumented) {
    EXPECT_EQ(stored(rxPointMatcherRunParams()), documentedBytes("default run parameters"));
}

template <class Error>
void expectThreeVersionsAndTheMessageAs(const std::string& name) {
    rxMemoryStoreArchive ar;
    rfStorePolymorphic(ar, Error("hi"));
    const unsigned char version = 0;
    EXPECT_EQ(ar.stored(), stored(name, version, version, version, std::string("hi")));
}

TEST(MatcherArchiveFormat, ExceptionsAreAsDocumented) {
    using Defs = rxPointMatcherDefs;
    expectThreeVersionsAndTheMessageAs<Defs::BadParams>("rxPointMatcherDefs::BadParams");
    expectThreeVersionsAndTheMessageAs<Defs::NotTrained>("rxPointMatcherDefs::NotTrained");
    expectThreeVersionsAndTheMessageAs<Defs::NotRun>("rxPointMatcherDefs::NotRun");
    expectThreeVersionsAndTheMessageAs<Defs::InsufficientModelPoints>(
        "rxPointMatcherDefs::InsufficientModelPoints");
}

}  // namespace
