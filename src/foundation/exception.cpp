#include "foundation/exception.h"

#include <ostream>
#include <utility>

#include "foundation/archive.h"

rxException::~rxException() = default;

long rxException::errorNumber() const {
    return 0;
}

rxExceptionWithString::rxExceptionWithString(std::string message)
    : text_(std::make_shared<const std::string>(std::move(message))) {}

rxExceptionWithString::rxExceptionWithString(const rxExceptionWithString&) noexcept = default;

rxExceptionWithString& rxExceptionWithString::operator=(const rxExceptionWithString&) noexcept =
    default;

rxExceptionWithString::~rxExceptionWithString() = default;

const char* rxExceptionWithString::what() const noexcept {
    return text_->c_str();
}

void rxExceptionWithString::message_(std::ostream& stream) const {
    stream << *text_;
}

void rxExceptionWithString::dispatchSerialize(rxArchive& ar) {
    if (haveVisited(this, sizeof *this)) return;
    unsigned char version = 0;
    ar || version;
    serialize_(ar, version);
    setVisited(this, sizeof *this);
}

void rxExceptionWithString::serialize_(rxArchive& ar, unsigned char version) {
    if (version != 0) throw rxArchive::UnknownVersion("rxExceptionWithString", 0);
    std::string text = *text_;
    ar || text;
    if (ar.isLoading()) text_ = std::make_shared<const std::string>(std::move(text));
}

rxMathError::rxMathError(std::string message) : rxExceptionWithString(std::move(message)) {}

rxMathError::rxMathError(const rxMathError&) noexcept = default;

rxMathError& rxMathError::operator=(const rxMathError&) noexcept = default;

rxMathError::~rxMathError() = default;

void rxMathError::suicideAndRethrow() {
    rfSuicideAndRethrow(this);
}

rxPersistent* rxMathError::make() {
    return new rxMathError(std::string());
}

const rx_Instantiator rxMathError::sExemplar(typeid(rxMathError), &rxMathError::make,
                                             "rxMathError");
