#pragma once

#include <cstdint>
#include <string>

#include "foundation/archive.h"
#include "foundation/exception.h"
#include "foundation/export.h"
#include "foundation/persistent.h"

/// Scope of the point matcher's enumeration and of everything it throws.
///
/// Every exception is thrown by value, derives from `rxPointMatcherDefs::Errors` (and so from
/// `rxException` and `std::exception`), carries a one-line message and a number of its own:
///
///     try {
///         matcher.train(points, rxPointMatcherDefs::eAutoDetect);
///     } catch (const rxPointMatcherDefs::Errors& error) {
///         std::fputs(error.what(), stderr);
///     }
///
/// The concrete classes are persistent: stored through a base pointer, each comes back through the
/// type registry as what it was, and `suicideAndRethrow()` throws it as what it is.
class PTMATCH_EXPORT rxPointMatcherDefs {
  public:
    /// How a matcher is trained and how a result was found. The underlying type is fixed, so that
    /// values without an enumerator (a recorded one, or the 4 that image training uses) stay
    /// values.
    enum Mode : std::int32_t {
        eAutoDetect = 0,      ///< to train: let the matcher choose; on points, the point search
        ePointToPoint = 1,    ///< matching against trained model points; to train, eAutoDetect
        ePointToGrid = 2,     ///< matching against a trained grid pattern
        eExhaustiveMode = 3,  ///< every one-to-one assignment; for very small sets
    };

    /// Base of all exceptions of the point matcher.
    class PTMATCH_EXPORT Errors : public rxExceptionWithString {
      public:
        Errors(const Errors&) = default;
        Errors& operator=(const Errors&) = default;
        ~Errors() override;

        /// The number of the concrete class, the same in every release.
        long errorNumber() const override = 0;

        /// Deletes this object, which must live on the heap, and throws a copy of it by value as
        /// its own class: the way to throw what a registry created and an archive filled.
        [[noreturn]] void suicideAndRethrow() override = 0;

      protected:
        /// @param message  what `what()` gives, as it is.
        explicit Errors(std::string message);
        void dispatchSerialize(rxArchive& ar) override;
        /// Passes the record of the base.   @throws rxArchive::UnknownVersion: version is not 0.
        void serialize_(rxArchive& ar, unsigned char version);
    };

    /// A parameter or a training argument is not valid.
    class PTMATCH_EXPORT BadParams : public Errors {
      public:
        /// @param message  what `what()` gives, as it is.
        explicit BadParams(std::string message);
        BadParams(const BadParams&) = default;
        BadParams& operator=(const BadParams&) = default;
        ~BadParams() override;
        long errorNumber() const override;  ///< 0x10005f00
        [[noreturn]] void suicideAndRethrow() override;

      protected:
        void dispatchSerialize(rxArchive& ar) override;
        /// Passes the record of the base.   @throws rxArchive::UnknownVersion: version is not 0.
        void serialize_(rxArchive& ar, unsigned char version);

      private:
        static rxPersistent* make();
        static const rx_Instantiator sExemplar;
    };

    /// The operation needs a trained matcher, or one trained in another mode.
    class PTMATCH_EXPORT NotTrained : public Errors {
      public:
        /// @param message  what `what()` gives, as it is.
        explicit NotTrained(std::string message);
        NotTrained(const NotTrained&) = default;
        NotTrained& operator=(const NotTrained&) = default;
        ~NotTrained() override;
        long errorNumber() const override;  ///< 0x10005f01
        [[noreturn]] void suicideAndRethrow() override;

      protected:
        void dispatchSerialize(rxArchive& ar) override;
        /// Passes the record of the base.   @throws rxArchive::UnknownVersion: version is not 0.
        void serialize_(rxArchive& ar, unsigned char version);

      private:
        static rxPersistent* make();
        static const rx_Instantiator sExemplar;
    };

    /// A result was asked for data that the mode of its run does not produce.
    class PTMATCH_EXPORT NotRun : public Errors {
      public:
        /// @param message  what `what()` gives, as it is.
        explicit NotRun(std::string message);
        NotRun(const NotRun&) = default;
        NotRun& operator=(const NotRun&) = default;
        ~NotRun() override;
        long errorNumber() const override;  ///< 0x10005f02
        [[noreturn]] void suicideAndRethrow() override;

      protected:
        void dispatchSerialize(rxArchive& ar) override;
        /// Passes the record of the base.   @throws rxArchive::UnknownVersion: version is not 0.
        void serialize_(rxArchive& ar, unsigned char version);

      private:
        static rxPersistent* make();
        static const rx_Instantiator sExemplar;
    };

    /// Training was given fewer than 3 model points. Its number leaves a gap: 0x10005f03 is unused.
    class PTMATCH_EXPORT InsufficientModelPoints : public Errors {
      public:
        /// @param message  what `what()` gives, as it is.
        explicit InsufficientModelPoints(std::string message);
        InsufficientModelPoints(const InsufficientModelPoints&) = default;
        InsufficientModelPoints& operator=(const InsufficientModelPoints&) = default;
        ~InsufficientModelPoints() override;
        long errorNumber() const override;  ///< 0x10005f04
        [[noreturn]] void suicideAndRethrow() override;

      protected:
        void dispatchSerialize(rxArchive& ar) override;
        /// Passes the record of the base.   @throws rxArchive::UnknownVersion: version is not 0.
        void serialize_(rxArchive& ar, unsigned char version);

      private:
        static rxPersistent* make();
        static const rx_Instantiator sExemplar;
    };
};
