#include "foundation/exception.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>

#include "foundation/archive.h"
#include "foundation/attention.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

using ptmatch::testing::ByteVector;
using ptmatch::testing::expectTamperingHandled;
using ptmatch::testing::joined;
using ptmatch::testing::loaded;
using ptmatch::testing::stored;

namespace {

/// Lets a test reach what the class keeps for those derived from it.
class OpenError : public rxExceptionWithString {
  public:
    explicit OpenError(std::string message) : rxExceptionWithString(std::move(message)) {}
    using rxExceptionWithString::message_;
    [[noreturn]] void suicideAndRethrow() override { rfSuicideAndRethrow(this); }
};

template <class Caught, class Thrown>
bool isCaughtAs(const Thrown& thrown) {
    try {
        throw Thrown(thrown);
    } catch (const Caught&) {
        return true;
    } catch (...) {
        return false;
    }
}

TEST(Exception, WhatAndMessageStreamGiveTheMessage) {
    const OpenError error("two\nlines\n");
    EXPECT_STREQ(error.what(), "two\nlines\n");
    EXPECT_EQ(error.message(), "two\nlines\n");
    std::ostringstream stream;
    error.message_(stream);
    EXPECT_EQ(stream.str(), "two\nlines\n");
}

TEST(Exception, IsCaughtAsEachOfItsBases) {
    const OpenError error("x");
    EXPECT_TRUE(isCaughtAs<rxExceptionWithString>(error));
    EXPECT_TRUE(isCaughtAs<rxException>(error));
    EXPECT_TRUE(isCaughtAs<rxPersistent>(error));
    EXPECT_TRUE(isCaughtAs<std::exception>(error));
}

TEST(Exception, PersistentIsTheFirstBase) {
    const OpenError error("x");
    EXPECT_EQ(static_cast<const void*>(static_cast<const rxPersistent*>(&error)),
              static_cast<const void*>(&error));
}

TEST(Exception, WhatIsTheSameThroughStdException) {
    const OpenError error("through the second base");
    const std::exception& standard = error;
    EXPECT_STREQ(standard.what(), "through the second base");
}

TEST(Exception, CopiesKeepTheMessageWithoutThrowing) {
    static_assert(std::is_nothrow_copy_constructible_v<OpenError>);
    static_assert(std::is_nothrow_copy_assignable_v<OpenError>);
    OpenError first("first");
    const OpenError second("second");
    const OpenError copy(first);
    first = second;
    EXPECT_EQ(first.message(), "second");
    EXPECT_EQ(copy.message(), "first");
}

TEST(Exception, BaseCannotBeMadeFromAMessageByStrangers) {
    static_assert(!std::is_constructible_v<rxExceptionWithString, std::string>);
    static_assert(std::is_abstract_v<rxException>);
}

TEST(Exception, HasNoErrorNumberOfItsOwn) {
    EXPECT_EQ(OpenError("x").errorNumber(), 0);
}

TEST(Exception, RethrowsItselfAsItsOwnClassAndIsDestroyed) {
    static int living = 0;
    class Counted : public rxExceptionWithString {
      public:
        explicit Counted(std::string message) : rxExceptionWithString(std::move(message)) {
            ++living;
        }
        Counted(const Counted& other) noexcept : rxExceptionWithString(other) { ++living; }
        Counted& operator=(const Counted&) = default;
        ~Counted() override { --living; }
        [[noreturn]] void suicideAndRethrow() override { rfSuicideAndRethrow(this); }
    };
    std::unique_ptr<rxException> held = std::make_unique<Counted>("kept");
    ASSERT_EQ(living, 1);
    try {
        held.release()->suicideAndRethrow();
    } catch (const Counted& error) {
        EXPECT_EQ(error.message(), "kept");
        EXPECT_EQ(living, 1) << "only the thrown copy is left";
    }
    EXPECT_EQ(living, 0);
}

TEST(Exception, RecordIsAVersionByteAndTheMessage) {
    const OpenError error("hi");
    const ByteVector bytes = {0, 0, 2, 0, 0, 0, 'h', 'i'};
    EXPECT_EQ(stored(error), bytes);
    EXPECT_EQ(loaded(bytes, OpenError("old")).message(), "hi");
}

TEST(Exception, MessageOfAnyBytesComesBack) {
    for (const std::string& message :
         {std::string(), std::string("a\0b", 3), std::string(500, 'x')}) {
        EXPECT_EQ(loaded(stored(OpenError(message)), OpenError("old")).message(), message);
    }
}

TEST(Exception, LoadDoesNotTouchCopiesOfTheOldMessage) {
    OpenError error("old");
    const OpenError copy(error);
    const ByteVector bytes = stored(OpenError("new"));
    rxMemoryLoadArchive ar(bytes);
    ar || error;
    EXPECT_EQ(error.message(), "new");
    EXPECT_EQ(copy.message(), "old");
}

TEST(Exception, OtherVersionByteIsUnknown) {
    const ByteVector bytes = {1, 0, 0, 0, 0, 0};
    rxMemoryLoadArchive ar(bytes);
    OpenError error("kept");
    EXPECT_THROW(ar || error, rxArchive::UnknownVersion);
    EXPECT_EQ(error.message(), "kept");
}

TEST(Exception, RecordsSurviveTampering) {
    expectTamperingHandled(stored(OpenError("some message")), [](rxArchive& ar) {
        OpenError fresh("");
        ar || fresh;
    });
    expectTamperingHandled(stored(rxArchive::UnknownVersion("source", 12)), [](rxArchive& ar) {
        rxArchive::UnknownVersion fresh(nullptr, 0);
        ar || fresh;
    });
}

TEST(MathError, CarriesItsMessage) {
    EXPECT_STREQ(rxMathError("singular").what(), "singular");
    EXPECT_TRUE(isCaughtAs<rxExceptionWithString>(rxMathError("x")));
}

TEST(UnknownVersion, IsCaughtAsEachOfItsBases) {
    const rxArchive::UnknownVersion error("ptmatch/somewhere", 12);
    EXPECT_TRUE(isCaughtAs<rxArchive::Errors>(error));
    EXPECT_TRUE(isCaughtAs<rxException>(error));
    EXPECT_TRUE(isCaughtAs<rxPersistent>(error));
    EXPECT_TRUE(isCaughtAs<std::exception>(error));
}

TEST(UnknownVersion, TellsSourceAndLineAlsoInACopy) {
    std::optional<rxArchive::UnknownVersion> error(std::in_place, "ptmatch/somewhere", 12);
    const rxArchive::UnknownVersion copy(*error);
    error.reset();
    EXPECT_STREQ(copy.source(), "ptmatch/somewhere");
    EXPECT_EQ(copy.line(), 12);
    EXPECT_STREQ(copy.what(),
                 "ptmatch/somewhere:12: the version of an archive record is not known");
}

TEST(UnknownVersion, KeepsItsMessageWhenItsSourceCannotBeLoaded) {
    ByteVector bytes = stored(rxArchive::UnknownVersion("new", 1));
    bytes.resize(bytes.size() - 2);
    rxArchive::UnknownVersion error("old", 7);
    const std::string message = error.what();
    rxMemoryLoadArchive ar(bytes);
    EXPECT_THROW(ar || error, rxArchive::Errors);
    EXPECT_EQ(error.what(), message);
    EXPECT_STREQ(error.source(), "old");
    EXPECT_EQ(error.line(), 7);
}

TEST(UnknownVersion, NeedsNoSource) {
    const rxArchive::UnknownVersion error(nullptr, 0);
    EXPECT_EQ(error.source(), nullptr);
    EXPECT_EQ(error.line(), 0);
    EXPECT_STREQ(error.what(), "the version of an archive record is not known");
}

TEST(UnknownVersion, SourceOutlivesTheTextItWasMadeFrom) {
    auto text = std::make_unique<std::string>("a source that is gone soon");
    const rxArchive::UnknownVersion error(text->c_str(), 1);
    text.reset();
    EXPECT_STREQ(error.source(), "a source that is gone soon");
}

TEST(UnknownVersion, RecordHoldsTheBaseTheSourceAndTheLine) {
    const rxArchive::UnknownVersion withSource("s", 3);
    EXPECT_EQ(
        stored(withSource),
        joined({{0}, stored(OpenError(withSource.message())), {1}, stored(std::string("s"), 3)}));
    const auto back = loaded(stored(withSource), rxArchive::UnknownVersion(nullptr, 9));
    EXPECT_STREQ(back.source(), "s");
    EXPECT_EQ(back.line(), 3);
    EXPECT_EQ(back.message(), withSource.message());

    const rxArchive::UnknownVersion without(nullptr, 4);
    EXPECT_EQ(stored(without), joined({{0}, stored(OpenError(without.message())), {0}, stored(4)}));
    EXPECT_EQ(loaded(stored(without), withSource).source(), nullptr);
}

}  // namespace
