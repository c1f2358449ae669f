// The class-wide identities must be there for the static objects of any file, whatever the order in
// which files come: this program's are built before those of the library, which is linked
// statically, and those of early_user_of_transforms.cpp, which knows no header of the transforms,
// before those of this file.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <type_traits>

#include "ptmatch/early_user_of_transforms.h"
#include "ptmatch/tm.h"
#include "support/archive_bytes.h"

namespace {

bool areIdentities(const rx2PtMatchTm& affine, const rx2PTm& perspective,
                   const rx3PtMatchTm& space) {
    const rxVector<2> p(3, -4);
    const rxVector<3> q(3, -4, 5);
    return affine.a2b(p) == p && affine.b2a(p) == p && perspective.a2b(p) == p &&
           perspective.b2a(p) == p && space.a2b(q) == q && space.b2a(q) == q;
}

/// Whether the copy can be fitted: its equations have their unknowns.
bool canBeFitted(rx2PTm perspective, rx3PtMatchTm space) {
    perspective.update({-1, -1}, {-2, -2});
    perspective.update({1, -1}, {2, -2});
    perspective.update({1, 1}, {2, 2});
    perspective.update({-1, 2}, {-2, 4});
    perspective.fit();
    space.update({0, 0, 0}, {0, 0, 0});
    space.update({1, 0, 0}, {2, 0, 0});
    space.update({0, 1, 0}, {0, 2, 0});
    space.update({0, 0, 1}, {0, 0, 2});
    space.fit();
    const rxVector<2> p = perspective.a2b(rxVector<2>(3, 4));
    const rxVector<3> q = space.a2b(rxVector<3>(1, 2, 3));
    return std::abs(p.x() - 6) < 1e-9 && std::abs(p.y() - 8) < 1e-9 && std::abs(q.z() - 6) < 1e-9;
}

}  // namespace

bool identitiesAreThere() {
    return areIdentities(rx2PtMatchTm::I, rx2PTm::I, rx3PtMatchTm::I) &&
           canBeFitted(rx2PTm::I, rx3PtMatchTm::I);
}

namespace {

struct EarlyUser {
    EarlyUser()
        : identities(areIdentities(rx2PtMatchTm::I, rx2PTm::I, rx3PtMatchTm::I)),
          fitted(canBeFitted(rx2PTm::I, rx3PtMatchTm::I)) {}

    // Runs after main; the program's exit status is then all that can tell.
    ~EarlyUser() {
        if (identitiesAreThere()) return;
        std::fputs("the identities are gone before their users\n", stderr);
        std::_Exit(EXIT_FAILURE);
    }

    EarlyUser(const EarlyUser&) = delete;
    EarlyUser& operator=(const EarlyUser&) = delete;

    rx2PTm perspective = rx2PTm::I;
    rx3PtMatchTm space = rx3PtMatchTm::I;
    bool identities;
    bool fitted;
};

const EarlyUser kEarlyUser;

TEST(TransformInstances, AreThereWhileOtherStaticObjectsAreBuilt) {
    EXPECT_TRUE(kEarlyUser.identities);
    EXPECT_TRUE(kEarlyUser.fitted);
    EXPECT_TRUE(kEarlyUser.perspective == rx2PTm());
    EXPECT_TRUE(kEarlyUser.space == rx3PtMatchTm());
}

TEST(TransformInstances, AreThereForStaticObjectsOfFilesThatDoNotNameThem) {
    EXPECT_TRUE(identitiesWereThereBeforeMain());
}

TEST(TransformInstances, AreStoredAsAnyOtherIdentity) {
    using ptmatch::testing::stored;
    EXPECT_EQ(stored(rx2PTm::I), stored(rx2PTm()));
    EXPECT_EQ(stored(rx3PtMatchTm::I), stored(rx3PtMatchTm()));
}

TEST(TransformInstances, HaveNoPairsToFit) {
    rx2PTm perspective = rx2PTm::I;
    EXPECT_THROW(perspective.fit(), rxMatrixExt::SingularMatrix);
    perspective.identity();
    EXPECT_THROW(perspective.fit(), rxMatrixExt::SingularMatrix);
    rx3PtMatchTm space = rx3PtMatchTm::I;
    EXPECT_THROW(space.fit(), rxMatrixExt::SingularMatrix);
}

TEST(TransformInstances, AreNotConstants) {
    static_assert(!std::is_const_v<decltype(rx2PtMatchTm::I)>);
    static_assert(!std::is_const_v<decltype(rx2PTm::I)>);
    static_assert(!std::is_const_v<decltype(rx3PtMatchTm::I)>);
}

}  // namespace
