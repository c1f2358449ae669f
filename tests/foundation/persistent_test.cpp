#include "foundation/persistent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "foundation/archive.h"
#include "foundation/attention.h"
#include "foundation/exception.h"
#include "foundation/memory_archive.h"
#include "support/archive_bytes.h"
#include "support/archive_tampering.h"

using ptmatch::testing::ByteVector;
using ptmatch::testing::expectTamperingHandled;
using ptmatch::testing::joined;
using ptmatch::testing::stored;
using ::testing::HasSubstr;

namespace {

/// A persistent object of one number; its record is the version byte and the number.
class Number : public rxPersistent {
  public:
    explicit Number(long initial = 0) : value(initial) {}

    long value;
    int reInits = 0;
    bool failsOnce = false;

    void reInit() override { ++reInits; }

    static rxPersistent* make() { return new Number; }

  protected:
    void dispatchSerialize(rxArchive& ar) override {
        if (haveVisited(this, sizeof *this)) return;
        unsigned char version = 0;
        ar || version;
        if (failsOnce) {
            failsOnce = false;
            throw std::runtime_error("not now");
        }
        ar || value;
        setVisited(this, sizeof *this);
    }

  private:
    static const rx_Instantiator sExemplar;
};

const rx_Instantiator Number::sExemplar(typeid(Number), &Number::make, "test::Number");

/// Equal in size to its base, which writes a record of its own: its version byte is 0xd first.
class Marked : public Number {
  public:
    using Number::Number;
    static rxPersistent* make() { return new Marked; }

    /// The base's record alone.
    void passBase(rxArchive& ar) { Number::dispatchSerialize(ar); }

  protected:
    void dispatchSerialize(rxArchive& ar) override {
        if (haveVisited(this, sizeof *this)) return;
        unsigned char mark = 0xd;
        ar || mark;
        if (mark != 0xd) throw rxArchive::Errors("the mark is missing");
        Number::dispatchSerialize(ar);
        setVisited(this, sizeof *this);
    }

  private:
    static const rx_Instantiator sExemplar;
};
static_assert(sizeof(Marked) == sizeof(Number));

const rx_Instantiator Marked::sExemplar(typeid(Marked), &Marked::make, "test::Marked");

const ByteVector kRecordOf5 = {0, 5, 0, 0, 0};
const ByteVector kMarkedRecordOf5 = {0xd, 0, 5, 0, 0, 0};

// ---------------------------------------------------------------- visited marks

TEST(Visited, ObjectIsStoredOncePerOperation) {
    rxMemoryStoreArchive ar;
    Number number(5);
    {
        const rxArchive::Operation operation(ar);
        ar || number || number;
        EXPECT_EQ(ar.stored(), kRecordOf5);
    }
    ar || number;
    EXPECT_EQ(ar.stored(), joined({kRecordOf5, kRecordOf5}));
}

TEST(Visited, EachCallOutsideAnOperationIsOneOfItsOwn) {
    rxMemoryStoreArchive ar;
    Number number(5);
    ar || number || number;
    EXPECT_EQ(ar.stored(), joined({kRecordOf5, kRecordOf5}));
}

TEST(Visited, LoadingMirrorsStoring) {
    rxMemoryStoreArchive storing;
    Number first(1);
    Number second(2);
    {
        const rxArchive::Operation operation(storing);
        storing || first || second || first || second;
    }
    rxMemoryLoadArchive loading(storing.stored());
    Number firstBack;
    Number secondBack;
    {
        const rxArchive::Operation operation(loading);
        loading || firstBack || secondBack || firstBack || secondBack;
    }
    EXPECT_EQ(loading.bytesLeft(), 0U);
    EXPECT_EQ(firstBack.value, 1);
    EXPECT_EQ(secondBack.value, 2);
}

TEST(Visited, TwoOperationsLoadTwice) {
    const ByteVector bytes = joined({kRecordOf5, {0, 6, 0, 0, 0}});
    rxMemoryLoadArchive ar(bytes);
    Number number;
    ar || number;
    EXPECT_EQ(number.value, 5);
    ar || number;
    EXPECT_EQ(number.value, 6);
}

TEST(Visited, MarksBelongToOneArchive) {
    rxMemoryStoreArchive first;
    rxMemoryStoreArchive second;
    Number number(5);
    const rxArchive::Operation onFirst(first);
    first || number;
    second || number;
    const rxArchive::Operation onSecond(second);
    second || number || number;
    EXPECT_EQ(first.stored(), kRecordOf5);
    EXPECT_EQ(second.stored(), joined({kRecordOf5, kRecordOf5}));
}

TEST(Visited, MarksGoWhenTheOperationThrows) {
    rxMemoryStoreArchive ar;
    Number good(5);
    Number bad(6);
    bad.failsOnce = true;
    EXPECT_THROW(
        {
            const rxArchive::Operation operation(ar);
            ar || good || bad;
        },
        std::runtime_error);
    ar.takeStored();
    const rxArchive::Operation operation(ar);
    ar || good;
    EXPECT_EQ(ar.stored(), kRecordOf5);
}

TEST(Visited, FailedRecordIsNotMarkedWithinItsOperation) {
    rxMemoryStoreArchive ar;
    const rxArchive::Operation operation(ar);
    Marked number(5);
    number.failsOnce = true;
    EXPECT_THROW(ar || number, std::runtime_error);
    ar.takeStored();
    ar || number || number;
    EXPECT_EQ(ar.stored(), kMarkedRecordOf5);
}

TEST(Visited, DerivedAndBaseRecordOfEqualSizeDoNotHideEachOther) {
    rxMemoryStoreArchive ar;
    Marked number(5);
    const rxArchive::Operation operation(ar);
    number.passBase(ar);
    EXPECT_EQ(ar.stored(), kRecordOf5);
    ar || number;
    EXPECT_EQ(ar.stored(), joined({kRecordOf5, kMarkedRecordOf5}));
    number.passBase(ar);
    ar || number;
    EXPECT_EQ(ar.stored(), joined({kRecordOf5, kMarkedRecordOf5})) << "both are marked now";
}

TEST(Visited, BaseIsStillStoredAloneAfterTheWholeObject) {
    rxMemoryStoreArchive ar;
    Marked number(5);
    const rxArchive::Operation operation(ar);
    ar || number;
    number.passBase(ar);
    EXPECT_EQ(ar.stored(), joined({kMarkedRecordOf5, kRecordOf5}));
}

TEST(Visited, ObjectAtTheAddressOfADestroyedOneIsNew) {
    rxMemoryStoreArchive ar;
    const rxArchive::Operation operation(ar);
    std::optional<Number> number;
    number.emplace(5);
    ar || *number;
    number.emplace(5);
    ar || *number;
    EXPECT_EQ(ar.stored(), joined({kRecordOf5, kRecordOf5}));
}

TEST(Visited, ElementsOfAVectorComeBackWhateverMemoryTheLoadUses) {
    std::vector<Number> numbers;
    for (long i = 0; i < 100; ++i) numbers.emplace_back(i);
    rxMemoryStoreArchive storing;
    {
        const rxArchive::Operation operation(storing);
        storing || numbers || numbers;
    }
    rxMemoryLoadArchive loading(storing.stored());
    std::vector<Number> first;
    std::vector<Number> second;
    {
        const rxArchive::Operation operation(loading);
        loading || first || second;
    }
    ASSERT_EQ(first.size(), 100U);
    ASSERT_EQ(second.size(), 100U);
    for (std::size_t i = 0; i < 100; ++i) {
        EXPECT_EQ(first[i].value, static_cast<long>(i));
        EXPECT_EQ(second[i].value, static_cast<long>(i));
    }
}

/// Two objects that may share a third one, and may contain a cycle.
class Couple : public rxPersistent {
  public:
    rxPersistent* left = nullptr;
    rxPersistent* right = nullptr;

  protected:
    void dispatchSerialize(rxArchive& ar) override {
        if (haveVisited(this, sizeof *this)) return;
        ar || *left || *right;
        setVisited(this, sizeof *this);
    }
};

TEST(Visited, SharedPartIsStoredOnceWithoutAnExplicitOperation) {
    Number shared(5);
    Couple inner;
    inner.left = inner.right = &shared;
    Couple outer;
    outer.left = &inner;
    outer.right = &shared;
    rxMemoryStoreArchive ar;
    ar || outer;
    EXPECT_EQ(ar.stored(), kRecordOf5);
}

/// Survives the failure of a part that it passes by a direct call.
class Forgiving : public rxPersistent {
  public:
    Marked part{5};

  protected:
    void dispatchSerialize(rxArchive& ar) override {
        if (haveVisited(this, sizeof *this)) return;
        unsigned char mark = 0xf;
        ar || mark;
        part.failsOnce = true;
        EXPECT_THROW(part.passBase(ar), std::runtime_error);
        setVisited(this, sizeof *this);
    }
};

TEST(Visited, FailureOfAPartLeavesTheWholeMarked) {
    rxMemoryStoreArchive ar;
    Forgiving whole;
    const rxArchive::Operation operation(ar);
    ar || whole || whole;
    EXPECT_EQ(ar.stored(), (ByteVector{0xf, 0}));
}

TEST(Visited, CycleEndsInAnError) {
    Number number(5);
    Couple couple;
    couple.left = &number;
    couple.right = &couple;
    rxMemoryStoreArchive ar;
    EXPECT_THROW(ar || couple, rxArchive::Errors);
    EXPECT_NO_THROW(ar || number) << "the archive is usable afterwards";
}

// The limit counts records, whether or not somebody opened an operation around them.
TEST(Visited, NestingEndsAt32RecordsInAndOutOfAnOperation) {
    Number number(5);
    std::vector<Couple> chain(rxArchive::kMaxNesting);  // with the number: one record too deep
    for (std::size_t i = 0; i < chain.size(); ++i) {
        chain[i].left = &number;
        chain[i].right = i == 0 ? static_cast<rxPersistent*>(&number) : &chain[i - 1];
    }
    const auto storeAlone = [](rxPersistent& object) {
        rxMemoryStoreArchive ar;
        ar || object;
    };
    const auto storeWithin = [](rxPersistent& object) {
        rxMemoryStoreArchive ar;
        const rxArchive::Operation operation(ar);
        ar || object;
    };
    EXPECT_NO_THROW(storeAlone(chain[chain.size() - 2]));
    EXPECT_NO_THROW(storeWithin(chain[chain.size() - 2]));
    EXPECT_THROW(storeAlone(chain.back()), rxArchive::Errors);
    EXPECT_THROW(storeWithin(chain.back()), rxArchive::Errors);
}

TEST(Visited, MarksBelongToOneThread) {
    // One object is stored by several threads at once, each with an archive of its own.
    Number number(5);
    std::array<ByteVector, 4> results;
    {
        std::vector<std::jthread> threads;
        threads.reserve(results.size());
        for (ByteVector& result : results) {
            threads.emplace_back([&number, &result] {
                for (int i = 0; i < 200; ++i) {
                    rxMemoryStoreArchive ar;
                    const rxArchive::Operation operation(ar);
                    ar || number || number;
                    result = ar.takeStored();
                    if (result != kRecordOf5) return;
                }
            });
        }
    }
    for (const ByteVector& result : results) EXPECT_EQ(result, kRecordOf5);
}

TEST(Persistent, LoadSimpleLoadsTheRecordAndReInitialises) {
    Number number;
    rxMemoryLoadArchive loading(kRecordOf5);
    number.loadSimple(loading);
    EXPECT_EQ(number.value, 5);
    EXPECT_EQ(number.reInits, 1);
    rxMemoryStoreArchive storing;
    EXPECT_THROW(number.loadSimple(storing), rxArchive::Errors);
    EXPECT_TRUE(storing.stored().empty());
}

// ---------------------------------------------------------------- polymorphic records

template <class T>
ByteVector storedPolymorphic(const T& object) {
    rxMemoryStoreArchive ar;
    rfStorePolymorphic(ar, object);
    return ar.takeStored();
}

std::unique_ptr<rxPersistent> loadedPolymorphic(const ByteVector& bytes) {
    rxMemoryLoadArchive ar(bytes);
    return rfLoadPolymorphic(ar);
}

/// Stored and loaded through the base; fails unless the same class came back.
template <class T>
std::unique_ptr<T> sentThroughItsBase(const T& object) {
    const rxPersistent& base = object;
    std::unique_ptr<rxPersistent> back = loadedPolymorphic(storedPolymorphic(base));
    const rxPersistent& loadedObject = *back;
    EXPECT_TRUE(typeid(loadedObject) == typeid(T));
    return std::unique_ptr<T>(dynamic_cast<T*>(back.release()));
}

TEST(Polymorphic, RecordIsTheClassNameAndTheObjectsRecord) {
    EXPECT_EQ(storedPolymorphic(Number(5)),
              joined({stored(std::string("test::Number")), kRecordOf5}));
}

TEST(Polymorphic, ObjectComesBackAsWhatItWas) {
    const auto number = sentThroughItsBase(Number(5));
    EXPECT_EQ(number->value, 5);
    EXPECT_EQ(number->reInits, 1);
    EXPECT_EQ(sentThroughItsBase(Marked(6))->value, 6);
}

TEST(Polymorphic, ExceptionsOfTheFoundationComeBack) {
    EXPECT_EQ(sentThroughItsBase(rxMathError("m"))->message(), "m");
    EXPECT_EQ(sentThroughItsBase(rxArchive::Errors("e"))->message(), "e");
    EXPECT_EQ(sentThroughItsBase(rxAttention::Interrupted("i"))->message(), "i");
    const auto unknown = sentThroughItsBase(rxArchive::UnknownVersion("s", 7));
    EXPECT_STREQ(unknown->source(), "s");
    EXPECT_EQ(unknown->line(), 7);
}

TEST(Polymorphic, NamesInArchivesAreThoseOfTheSource) {
    const ByteVector bytes = storedPolymorphic(rxArchive::UnknownVersion("s", 7));
    const std::string text(bytes.begin(), bytes.end());
    EXPECT_THAT(text, HasSubstr("rxArchive::UnknownVersion"));
}

TEST(Polymorphic, LoadedExceptionIsThrownAsWhatItWas) {
    std::unique_ptr<rxPersistent> held = loadedPolymorphic(storedPolymorphic(rxMathError("kept")));
    try {
        dynamic_cast<rxException&>(*held.release()).suicideAndRethrow();
    } catch (const rxMathError& error) {
        EXPECT_EQ(error.message(), "kept");
    }
}

TEST(Polymorphic, ObjectIsRecordedEachTimeAlsoWithinOneOperation) {
    rxMemoryStoreArchive storing;
    const Number number(5);
    {
        const rxArchive::Operation operation(storing);
        rfStorePolymorphic(storing, number);
        rfStorePolymorphic(storing, number);
    }
    rxMemoryLoadArchive loading(storing.stored());
    const rxArchive::Operation operation(loading);
    for (int i = 0; i < 2; ++i) {
        const auto back = rfLoadPolymorphic(loading);
        EXPECT_EQ(dynamic_cast<const Number&>(*back).value, 5);
    }
    EXPECT_EQ(loading.bytesLeft(), 0U);
}

/// Passes an object of its surroundings besides itself.
class Sharing : public rxPersistent {
  public:
    inline static Number shared{0};
    static rxPersistent* make() { return new Sharing; }

  protected:
    void dispatchSerialize(rxArchive& ar) override { ar || shared; }
};

TEST(Polymorphic, RecordIsCompleteWhateverItsSurroundingsHold) {
    const rx_Instantiator entry(typeid(Sharing), &Sharing::make, "test::Sharing");
    Sharing::shared.value = 5;
    rxMemoryStoreArchive storing;
    {
        const rxArchive::Operation operation(storing);
        storing || Sharing::shared;
        rfStorePolymorphic(storing, Sharing());
    }
    EXPECT_EQ(storing.stored(),
              joined({kRecordOf5, stored(std::string("test::Sharing")), kRecordOf5}));
    rxMemoryLoadArchive loading(storing.stored());
    const rxArchive::Operation operation(loading);
    loading || Sharing::shared;
    rfLoadPolymorphic(loading);
    EXPECT_EQ(loading.bytesLeft(), 0U);
}

TEST(Polymorphic, UnknownNameIsRefusedByName) {
    try {
        loadedPolymorphic(stored(std::string("no::Such\n") + std::string(100, 'x')));
        FAIL() << "an unknown class was loaded";
    } catch (const rxArchive::Errors& error) {
        EXPECT_THAT(error.message(), HasSubstr("\"no::Such?xxx"));
        EXPECT_THAT(error.message(), HasSubstr("...\""));
        EXPECT_LT(error.message().size(), 200U);
    }
}

class Unregistered : public Number {};

TEST(Polymorphic, ObjectOfAnUnregisteredClassIsRefusedAndWritesNothing) {
    rxMemoryStoreArchive ar;
    EXPECT_THROW(rfStorePolymorphic(ar, Unregistered()), rxArchive::Errors);
    EXPECT_TRUE(ar.stored().empty()) << "it must not be stored as its registered base";
}

TEST(Polymorphic, WrongDirectionIsRefused) {
    rxMemoryStoreArchive storing;
    EXPECT_THROW(rfLoadPolymorphic(storing), rxArchive::Errors);
    EXPECT_TRUE(storing.stored().empty());
    rxMemoryLoadArchive loading(kRecordOf5);
    EXPECT_THROW(rfStorePolymorphic(loading, Number()), rxArchive::Errors);
    EXPECT_EQ(loading.position(), 0U);
}

TEST(Polymorphic, RecordsSurviveTampering) {
    const auto load = [](rxArchive& ar) { rfLoadPolymorphic(ar); };
    expectTamperingHandled(storedPolymorphic(Marked(5)), load);
    expectTamperingHandled(storedPolymorphic(rxMathError("a message")), load);
    expectTamperingHandled(storedPolymorphic(rxArchive::UnknownVersion("s", 7)), load);
}

// ---------------------------------------------------------------- the registry

class Passing : public Number {};
rxPersistent* makePassing() {
    return new Passing;
}
rxPersistent* makeNothing() {
    return nullptr;
}

TEST(Registry, ClassIsKnownAsLongAsItsEntryLives) {
    ByteVector bytes;
    {
        const rx_Instantiator entry(typeid(Passing), makePassing, "test::Passing");
        bytes = storedPolymorphic(Passing());
        EXPECT_NE(dynamic_cast<Passing*>(loadedPolymorphic(bytes).get()), nullptr);
    }
    EXPECT_THROW(loadedPolymorphic(bytes), rxArchive::Errors);
    EXPECT_THROW(storedPolymorphic(Passing()), rxArchive::Errors);
}

TEST(Registry, EntriesCanGoInAnyOrder) {
    auto first = std::make_unique<rx_Instantiator>(typeid(Passing), makePassing, "test::A");
    auto second = std::make_unique<rx_Instantiator>(typeid(Passing), makePassing, "test::B");
    auto third = std::make_unique<rx_Instantiator>(typeid(Passing), makePassing, "test::C");
    const ByteVector c = joined({stored(std::string("test::C")), kRecordOf5});
    second.reset();
    EXPECT_NE(loadedPolymorphic(c), nullptr);
    third.reset();
    EXPECT_THROW(loadedPolymorphic(c), rxArchive::Errors);
    EXPECT_NE(loadedPolymorphic(joined({stored(std::string("test::A")), kRecordOf5})), nullptr);
}

TEST(Registry, NameDefaultsToTheQualifiedNameOfTheClass) {
    const rx_Instantiator entry(typeid(rxArchive::Errors), makePassing);
    EXPECT_EQ(entry.name(), "rxArchive::Errors");
    EXPECT_TRUE(entry.type() == typeid(rxArchive::Errors));
}

TEST(Registry, NameOfTwoClassesIsRefused) {
    const rx_Instantiator entry(typeid(Passing), makePassing, "test::Number");
    const ByteVector bytes = joined({stored(std::string("test::Number")), kRecordOf5});
    EXPECT_THROW(loadedPolymorphic(bytes), rxArchive::Errors);
}

TEST(Registry, FactoryThatMakesNothingIsRefused) {
    const rx_Instantiator entry(typeid(Passing), makeNothing, "test::Nothing");
    EXPECT_THROW(loadedPolymorphic(joined({stored(std::string("test::Nothing")), kRecordOf5})),
                 rxArchive::Errors);
}

// Runs before main, when other files may not have been initialised yet.
const long valueLoadedBeforeMain = [] {
    const auto back = loadedPolymorphic(storedPolymorphic(Number(7)));
    return dynamic_cast<const Number&>(*back).value;
}();

TEST(Registry, IsUsableDuringStaticInitialisation) {
    EXPECT_EQ(valueLoadedBeforeMain, 7);
}

TEST(Registry, ServesThreadsWhileEntriesComeAndGo) {
    const ByteVector bytes = joined({stored(std::string("test::Number")), kRecordOf5});
    std::array<int, 3> loads{};
    {
        std::vector<std::jthread> threads;
        threads.reserve(loads.size());
        for (int& count : loads) {
            threads.emplace_back([&bytes, &count] {
                for (int i = 0; i < 500; ++i) count += loadedPolymorphic(bytes) != nullptr ? 1 : 0;
            });
        }
        for (int i = 0; i < 500; ++i) {
            const rx_Instantiator entry(typeid(Passing), makePassing, "test::Passing");
        }
    }
    EXPECT_THAT(loads, testing::Each(500));
}

}  // namespace
