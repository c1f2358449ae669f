#pragma once

#include <exception>
#include <iosfwd>
#include <memory>
#include <string>

#include "foundation/export.h"
#include "foundation/persistent.h"

/// Root of the exceptions that have a message: of the matcher, of records, of computations that
/// have no answer. Also a std::exception; what() gives the message. Those of the matcher and of
/// computations end with a line feed.
///
/// What else may come: the standard library's own (std::bad_alloc; std::out_of_range where a
/// sequence is too short or an index too large, std::length_error where a size is negative or too
/// large, std::invalid_argument where an argument is another one itself), and some empty classes
/// without a base, which a catch of std::exception does not see: NotSquareMatrix and SingularMatrix
/// of rxMatrixExt, BadArgs of the transforms.
class PTMATCH_EXPORT rxException : public rxPersistent, public std::exception {
  public:
    ~rxException() override;

    /// The code of the error; 0 for a class that has none of its own.
    virtual long errorNumber() const;

    /// Copies the object, deletes it (it must live on the heap) and throws the copy as its own
    /// class. For code that holds an exception through a base pointer, as after rfLoadPolymorphic.
    /// A concrete class implements it with rfSuicideAndRethrow(this).
    [[noreturn]] virtual void suicideAndRethrow() = 0;

  protected:
    rxException() = default;
    rxException(const rxException&) = default;
    rxException& operator=(const rxException&) = default;
};

/// An exception that carries one message. Copying never throws: copies share the message.
/// Its record is a version byte 0 and the message (a std::string record).
class PTMATCH_EXPORT rxExceptionWithString : public rxException {
  public:
    rxExceptionWithString(const rxExceptionWithString&) noexcept;
    rxExceptionWithString& operator=(const rxExceptionWithString&) noexcept;
    ~rxExceptionWithString() override;

    /// The whole message, also behind a null character; lives as long as the exception is
    /// unchanged.
    const std::string& message() const noexcept { return *text_; }

  protected:
    /// @param message  what `what()` gives, as it is.
    explicit rxExceptionWithString(std::string message);

    /// Writes the message to the stream. Declared before what(): virtual functions of fixed order.
    virtual void message_(std::ostream& stream) const;

  public:
    /// The message up to its first null character; lives as long as the exception is unchanged.
    const char* what() const noexcept override;

  protected:
    void dispatchSerialize(rxArchive& ar) override;
    /// Passes the message; the version has been passed already.
    /// @throws rxArchive::UnknownVersion: version is not 0.
    void serialize_(rxArchive& ar, unsigned char version);

  private:
    std::shared_ptr<const std::string> text_;  // never null
};

/// A computation that has no finite answer, such as a singular system of equations.
class PTMATCH_EXPORT rxMathError : public rxExceptionWithString {
  public:
    /// @param message  what `what()` gives, as it is.
    explicit rxMathError(std::string message);
    rxMathError(const rxMathError&) noexcept;
    rxMathError& operator=(const rxMathError&) noexcept;
    ~rxMathError() override;

    [[noreturn]] void suicideAndRethrow() override;

  private:
    static rxPersistent* make();
    static const rx_Instantiator sExemplar;
};

/// The body of suicideAndRethrow for the class Self: throws a copy of *self after deleting it.
template <class Self>
[[noreturn]] void rfSuicideAndRethrow(Self* self) {
    std::unique_ptr<Self> dying(self);
    Self copy(*self);
    dying.reset();
    throw copy;
}
