#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>

#include "ptmatch/gridcorr.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

namespace {

using ptmatch::testing::ByteVector;
using Defs = rx_PointToGridCorresponderDefs;

TEST(GridCorresponderDefs, FeatureTypesHaveTheirNumbersAnd32Bits) {
    EXPECT_EQ(Defs::eAllPoints, 0);
    EXPECT_EQ(Defs::eBorderPoints, 1);
    EXPECT_EQ(Defs::eWideBorderPoints, 2);
    static_assert(std::is_same_v<std::underlying_type_t<Defs::FeatureType>, std::int32_t>);
}

template <class Error>
constexpr const char* kName = nullptr;
template <>
constexpr const char* kName<Defs::InsufficientModelPoints> =
    "rx_PointToGridCorresponderDefs::InsufficientModelPoints";
template <>
constexpr const char* kName<Defs::InsufficientMemory> =
    "rx_PointToGridCorresponderDefs::InsufficientMemory";

template <class Error>
class GridCorresponderErrors : public ::testing::Test {};

using AllErrors = ::testing::Types<Defs::InsufficientModelPoints, Defs::InsufficientMemory>;
TYPED_TEST_SUITE(GridCorresponderErrors, AllErrors);

/// The record of an error whose class the reader knows.
template <class Error>
ByteVector recordOf(Error error) {
    rxMemoryStoreArchive ar;
    ar || error;
    return ar.takeStored();
}

TYPED_TEST(GridCorresponderErrors, HaveAnEmptyMessageAndNoNumber) {
    EXPECT_EQ(TypeParam().message(), "");
    EXPECT_STREQ(TypeParam().what(), "");
    EXPECT_EQ(TypeParam().errorNumber(), 0);
}

TYPED_TEST(GridCorresponderErrors, DeriveFromEveryBaseAndCarryTheMessage) {
    static_assert(std::is_base_of_v<Defs::Errors, TypeParam>);
    static_assert(std::is_base_of_v<rxExceptionWithString, Defs::Errors>);
    static_assert(std::is_base_of_v<rxException, rxExceptionWithString>);
    static_assert(std::is_base_of_v<rxPersistent, rxException>);
    static_assert(std::is_base_of_v<std::exception, rxException>);
    static_assert(std::is_abstract_v<Defs::Errors>);
    static_assert(!std::is_convertible_v<std::string, TypeParam>);

    try {
        throw TypeParam("the reason\n");
    } catch (const Defs::Errors& error) {
        EXPECT_STREQ(error.what(), "the reason\n");
        EXPECT_EQ(typeid(error), typeid(TypeParam));
    }
}

TYPED_TEST(GridCorresponderErrors, CopiesAndAssignmentsTakeTheMessage) {
    const TypeParam first("first");
    TypeParam second("second");
    const TypeParam copy(first);
    EXPECT_STREQ(copy.what(), "first");
    second = first;
    EXPECT_STREQ(second.what(), "first");
}

TYPED_TEST(GridCorresponderErrors, SuicideAndRethrowThrowsItsOwnClass) {
    Defs::Errors* held = new TypeParam("held through the base");
    try {
        held->suicideAndRethrow();
    } catch (const TypeParam& error) {  // the leak check of the sanitizer build sees the deletion
        EXPECT_STREQ(error.what(), "held through the base");
    }
}

TYPED_TEST(GridCorresponderErrors, RecordIsOneVersionBytePerLevelThenTheMessage) {
    const ByteVector expected = {
        0,                    // the class
        0,                    // rx_PointToGridCorresponderDefs::Errors
        0,                    // rxExceptionWithString
        0,   3,   0,   0, 0,  // text: version and length
        'w', 'h', 'y',        //
    };
    EXPECT_EQ(recordOf(TypeParam("why")), expected);
}

TYPED_TEST(GridCorresponderErrors, AreStoredOncePerOperation) {
    TypeParam error("why");
    rxMemoryStoreArchive ar;
    const rxArchive::Operation operation(ar);
    ar || error || error;
    EXPECT_EQ(ar.stored(), recordOf(error));
}

TYPED_TEST(GridCorresponderErrors, UnknownVersionNamesTheClassAtFault) {
    const char* const names[] = {kName<TypeParam>, "rx_PointToGridCorresponderDefs::Errors",
                                 "rxExceptionWithString"};
    for (std::size_t level = 0; level < 3; ++level) {
        ByteVector bytes = recordOf(TypeParam("why"));
        bytes[level] = 1;
        rxMemoryLoadArchive ar(bytes);
        TypeParam target("before");
        try {
            ar || target;
            ADD_FAILURE() << "level " << level << " was accepted";
        } catch (const rxArchive::UnknownVersion& error) {
            EXPECT_STREQ(error.source(), names[level]);
            EXPECT_EQ(error.line(), 0);
        }
        EXPECT_STREQ(target.what(), "before");
    }
}

TYPED_TEST(GridCorresponderErrors, ComeBackThroughTheRegistryAsWhatTheyWere) {
    const TypeParam error("stored through the base\n");
    rxMemoryStoreArchive storing;
    rfStorePolymorphic(storing, error);
    const ByteVector bytes = storing.takeStored();
    const std::string text(bytes.begin(), bytes.end());
    EXPECT_THAT(text, ::testing::HasSubstr(kName<TypeParam>));

    rxMemoryLoadArchive loading(bytes);
    std::unique_ptr<rxPersistent> object = rfLoadPolymorphic(loading);
    ASSERT_TRUE(object);
    EXPECT_EQ(loading.bytesLeft(), 0U);
    auto* loaded = dynamic_cast<rxException*>(object.get());
    ASSERT_TRUE(loaded);
    object.release();  // the next line deletes it
    try {
        loaded->suicideAndRethrow();
    } catch (const TypeParam& thrown) {
        EXPECT_STREQ(thrown.what(), "stored through the base\n");
    }
}

TYPED_TEST(GridCorresponderErrors, DamagedRecordsAreRefusedOrLoaded) {
    const std::size_t refused =
        ptmatch::testing::expectTamperingHandled(recordOf(TypeParam("why")), [](rxArchive& ar) {
            TypeParam fresh("");
            ar || fresh;
        });
    // Every damage of the four version bytes, and all of the length that claim more than is there.
    EXPECT_GE(refused, 4U * 9U);
}

}  // namespace
