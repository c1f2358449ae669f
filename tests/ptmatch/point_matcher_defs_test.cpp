#include "ptmatch/point_matcher_defs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>

#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

namespace {

using ptmatch::testing::ByteVector;
using Defs = rxPointMatcherDefs;

TEST(PointMatcherDefs, ModesHaveTheirNumbersAnd32Bits) {
    EXPECT_EQ(Defs::eAutoDetect, 0);
    EXPECT_EQ(Defs::ePointToPoint, 1);
    EXPECT_EQ(Defs::ePointToGrid, 2);
    EXPECT_EQ(Defs::eExhaustiveMode, 3);
    static_assert(sizeof(Defs::Mode) == 4);
    EXPECT_EQ(static_cast<Defs::Mode>(4), 4);  // a value, although it has no enumerator
}

template <class Error>
struct ExpectedError;
template <>
struct ExpectedError<Defs::BadParams> {
    static constexpr long number = 0x10005f00;
    static constexpr const char* name = "rxPointMatcherDefs::BadParams";
};
template <>
struct ExpectedError<Defs::NotTrained> {
    static constexpr long number = 0x10005f01;
    static constexpr const char* name = "rxPointMatcherDefs::NotTrained";
};
template <>
struct ExpectedError<Defs::NotRun> {
    static constexpr long number = 0x10005f02;
    static constexpr const char* name = "rxPointMatcherDefs::NotRun";
};
template <>
struct ExpectedError<Defs::InsufficientModelPoints> {
    static constexpr long number = 0x10005f04;  // 0x10005f03 is a gap
    static constexpr const char* name = "rxPointMatcherDefs::InsufficientModelPoints";
};

template <class Error>
class PointMatcherErrors : public ::testing::Test {};

using AllErrors = ::testing::Types<Defs::BadParams, Defs::NotTrained, Defs::NotRun,
                                   Defs::InsufficientModelPoints>;
TYPED_TEST_SUITE(PointMatcherErrors, AllErrors);

/// The record of an error whose class the reader knows.
template <class Error>
ByteVector recordOf(Error error) {
    rxMemoryStoreArchive ar;
    ar || error;
    return ar.takeStored();
}

TYPED_TEST(PointMatcherErrors, EachHasItsNumber) {
    EXPECT_EQ(TypeParam("").errorNumber(), ExpectedError<TypeParam>::number);
}

TYPED_TEST(PointMatcherErrors, DeriveFromEveryBaseAndCarryTheMessage) {
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

TYPED_TEST(PointMatcherErrors, CopiesAndAssignmentsTakeTheMessage) {
    const TypeParam first("first");
    TypeParam second("second");
    const TypeParam copy(first);
    EXPECT_STREQ(copy.what(), "first");
    second = first;
    EXPECT_STREQ(second.what(), "first");
}

TYPED_TEST(PointMatcherErrors, SuicideAndRethrowThrowsItsOwnClass) {
    Defs::Errors* held = new TypeParam("held through the base");
    try {
        held->suicideAndRethrow();
    } catch (const TypeParam& error) {  // the leak check of the sanitizer build sees the deletion
        EXPECT_STREQ(error.what(), "held through the base");
        EXPECT_EQ(error.errorNumber(), ExpectedError<TypeParam>::number);
    }
}

TYPED_TEST(PointMatcherErrors, RecordIsOneVersionBytePerLevelThenTheMessage) {
    const ByteVector expected = {
        0,                    // the class
        0,                    // rxPointMatcherDefs::Errors
        0,                    // rxExceptionWithString
        0,   3,   0,   0, 0,  // text: version and length
        'w', 'h', 'y',        //
    };
    EXPECT_EQ(recordOf(TypeParam("why")), expected);
}

TYPED_TEST(PointMatcherErrors, AreStoredOncePerOperation) {
    TypeParam error("why");
    rxMemoryStoreArchive ar;
    const rxArchive::Operation operation(ar);
    ar || error || error;
    EXPECT_EQ(ar.stored(), recordOf(error));
}

TYPED_TEST(PointMatcherErrors, UnknownVersionNamesTheClassAtFault) {
    const char* const names[] = {ExpectedError<TypeParam>::name, "rxPointMatcherDefs::Errors",
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

TYPED_TEST(PointMatcherErrors, ComeBackThroughTheRegistryAsWhatTheyWere) {
    const TypeParam error("stored through the base\n");
    rxMemoryStoreArchive storing;
    rfStorePolymorphic(storing, error);
    const ByteVector bytes = storing.takeStored();
    const std::string text(bytes.begin(), bytes.end());
    EXPECT_THAT(text, ::testing::HasSubstr(ExpectedError<TypeParam>::name));

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

TYPED_TEST(PointMatcherErrors, DamagedRecordsAreRefusedOrLoaded) {
    const std::size_t refused =
        ptmatch::testing::expectTamperingHandled(recordOf(TypeParam("why")), [](rxArchive& ar) {
            TypeParam fresh("");
            ar || fresh;
        });
    // Every damage of the four version bytes, and all of the length that claim more than is there.
    EXPECT_GE(refused, 4U * 9U);
}

}  // namespace
