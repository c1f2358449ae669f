#include "ptmatch/point_matcher_defs.h"

#include <utility>

// Each class below passes a version byte of its own before the record of its base; the registry
// entries stand here, in the file that every user of the exceptions links.

rxPointMatcherDefs::Errors::Errors(std::string message)
    : rxExceptionWithString(std::move(message)) {}

rxPointMatcherDefs::Errors::~Errors() = default;

void rxPointMatcherDefs::Errors::dispatchSerialize(rxArchive& ar) {
    if (haveVisited(this, sizeof *this)) return;
    unsigned char version = 0;
    ar || version;
    serialize_(ar, version);
    setVisited(this, sizeof *this);
}

void rxPointMatcherDefs::Errors::serialize_(rxArchive& ar, unsigned char version) {
    if (version != 0) throw rxArchive::UnknownVersion("rxPointMatcherDefs::Errors", 0);
    rxExceptionWithString::dispatchSerialize(ar);
}

const rx_Instantiator rxPointMatcherDefs::BadParams::sExemplar(typeid(BadParams), &BadParams::make,
                                                               "rxPointMatcherDefs::BadParams");

rxPointMatcherDefs::BadParams::BadParams(std::string message) : Errors(std::move(message)) {}

rxPointMatcherDefs::BadParams::~BadParams() = default;

long rxPointMatcherDefs::BadParams::errorNumber() const {
    return 0x10005f00;
}

void rxPointMatcherDefs::BadParams::suicideAndRethrow() {
    rfSuicideAndRethrow(this);
}

rxPersistent* rxPointMatcherDefs::BadParams::make() {
    return new BadParams(std::string());
}

void rxPointMatcherDefs::BadParams::dispatchSerialize(rxArchive& ar) {
    if (haveVisited(this, sizeof *this)) return;
    unsigned char version = 0;
    ar || version;
    serialize_(ar, version);
    setVisited(this, sizeof *this);
}

void rxPointMatcherDefs::BadParams::serialize_(rxArchive& ar, unsigned char version) {
    if (version != 0) throw rxArchive::UnknownVersion("rxPointMatcherDefs::BadParams", 0);
    Errors::dispatchSerialize(ar);
}

const rx_Instantiator rxPointMatcherDefs::NotTrained::sExemplar(typeid(NotTrained),
                                                                &NotTrained::make,
                                                                "rxPointMatcherDefs::NotTrained");

rxPointMatcherDefs::NotTrained::NotTrained(std::string message) : Errors(std::move(message)) {}

rxPointMatcherDefs::NotTrained::~NotTrained() = default;

long rxPointMatcherDefs::NotTrained::errorNumber() const {
    return 0x10005f01;
}

void rxPointMatcherDefs::NotTrained::suicideAndRethrow() {
    rfSuicideAndRethrow(this);
}

rxPersistent* rxPointMatcherDefs::NotTrained::make() {
    return new NotTrained(std::string());
}

void rxPointMatcherDefs::NotTrained::dispatchSerialize(rxArchive& ar) {
    if (haveVisited(this, sizeof *this)) return;
    unsigned char version = 0;
    ar || version;
    serialize_(ar, version);
    setVisited(this, sizeof *this);
}

void rxPointMatcherDefs::NotTrained::serialize_(rxArchive& ar, unsigned char version) {
    if (version != 0) throw rxArchive::UnknownVersion("rxPointMatcherDefs::NotTrained", 0);
    Errors::dispatchSerialize(ar);
}

const rx_Instantiator rxPointMatcherDefs::NotRun::sExemplar(typeid(NotRun), &NotRun::make,
                                                            "rxPointMatcherDefs::NotRun");

rxPointMatcherDefs::NotRun::NotRun(std::string message) : Errors(std::move(message)) {}

rxPointMatcherDefs::NotRun::~NotRun() = default;

long rxPointMatcherDefs::NotRun::errorNumber() const {
    return 0x10005f02;
}

void rxPointMatcherDefs::NotRun::suicideAndRethrow() {
    rfSuicideAndRethrow(this);
}

rxPersistent* rxPointMatcherDefs::NotRun::make() {
    return new NotRun(std::string());
}

void rxPointMatcherDefs::NotRun::dispatchSerialize(rxArchive& ar) {
    if (haveVisited(this, sizeof *this)) return;
    unsigned char version = 0;
    ar || version;
    serialize_(ar, version);
    setVisited(this, sizeof *this);
}

void rxPointMatcherDefs::NotRun::serialize_(rxArchive& ar, unsigned char version) {
    if (version != 0) throw rxArchive::UnknownVersion("rxPointMatcherDefs::NotRun", 0);
    Errors::dispatchSerialize(ar);
}

const rx_Instantiator rxPointMatcherDefs::InsufficientModelPoints::sExemplar(
    typeid(InsufficientModelPoints), &InsufficientModelPoints::make,
    "rxPointMatcherDefs::InsufficientModelPoints");

rxPointMatcherDefs::InsufficientModelPoints::InsufficientModelPoints(std::string message)
    : Errors(std::move(message)) {}

rxPointMatcherDefs::InsufficientModelPoints::~InsufficientModelPoints() = default;

long rxPointMatcherDefs::InsufficientModelPoints::errorNumber() const {
    return 0x10005f04;
}

void rxPointMatcherDefs::InsufficientModelPoints::suicideAndRethrow() {
    rfSuicideAndRethrow(this);
}

rxPersistent* rxPointMatcherDefs::InsufficientModelPoints::make() {
    return new InsufficientModelPoints(std::string());
}

void rxPointMatcherDefs::InsufficientModelPoints::dispatchSerialize(rxArchive& ar) {
    if (haveVisited(this, sizeof *this)) return;
    unsigned char version = 0;
    ar || version;
    serialize_(ar, version);
    setVisited(this, sizeof *this);
}

void rxPointMatcherDefs::InsufficientModelPoints::serialize_(rxArchive& ar, unsigned char version) {
    if (version != 0)
        throw rxArchive::UnknownVersion("rxPointMatcherDefs::InsufficientModelPoints", 0);
    Errors::dispatchSerialize(ar);
}
