#include <utility>

#include "ptmatch/gridcorr.h"

// Each class below passes a version byte of its own before the record of its base; the registry
// entries stand here, in the file that every user of the exceptions links.

using Defs = rx_PointToGridCorresponderDefs;

Defs::Errors::Errors(std::string message) : rxExceptionWithString(std::move(message)) {}

Defs::Errors::~Errors() = default;

void Defs::Errors::dispatchSerialize(rxArchive& ar) {
    if (haveVisited(this, sizeof *this)) return;
    unsigned char version = 0;
    ar || version;
    serialize_(ar, version);
    setVisited(this, sizeof *this);
}

void Defs::Errors::serialize_(rxArchive& ar, unsigned char version) {
    if (version != 0) throw rxArchive::UnknownVersion("rx_PointToGridCorresponderDefs::Errors", 0);
    rxExceptionWithString::dispatchSerialize(ar);
}

const rx_Instantiator Defs::InsufficientModelPoints::sExemplar(
    typeid(InsufficientModelPoints), &InsufficientModelPoints::make,
    "rx_PointToGridCorresponderDefs::InsufficientModelPoints");

Defs::InsufficientModelPoints::InsufficientModelPoints(std::string message)
    : Errors(std::move(message)) {}

Defs::InsufficientModelPoints::~InsufficientModelPoints() = default;

void Defs::InsufficientModelPoints::suicideAndRethrow() {
    rfSuicideAndRethrow(this);
}

rxPersistent* Defs::InsufficientModelPoints::make() {
    return new InsufficientModelPoints(std::string());
}

void Defs::InsufficientModelPoints::dispatchSerialize(rxArchive& ar) {
    if (haveVisited(this, sizeof *this)) return;
    unsigned char version = 0;
    ar || version;
    serialize_(ar, version);
    setVisited(this, sizeof *this);
}

void Defs::InsufficientModelPoints::serialize_(rxArchive& ar, unsigned char version) {
    if (version != 0) {
        throw rxArchive::UnknownVersion("rx_PointToGridCorresponderDefs::InsufficientModelPoints",
                                        0);
    }
    Errors::dispatchSerialize(ar);
}

const rx_Instantiator Defs::InsufficientMemory::sExemplar(
    typeid(InsufficientMemory), &InsufficientMemory::make,
    "rx_PointToGridCorresponderDefs::InsufficientMemory");

Defs::InsufficientMemory::InsufficientMemory(std::string message) : Errors(std::move(message)) {}

Defs::InsufficientMemory::~InsufficientMemory() = default;

void Defs::InsufficientMemory::suicideAndRethrow() {
    rfSuicideAndRethrow(this);
}

rxPersistent* Defs::InsufficientMemory::make() {
    return new InsufficientMemory(std::string());
}

void Defs::InsufficientMemory::dispatchSerialize(rxArchive& ar) {
    if (haveVisited(this, sizeof *this)) return;
    unsigned char version = 0;
    ar || version;
    serialize_(ar, version);
    setVisited(this, sizeof *this);
}

void Defs::InsufficientMemory::serialize_(rxArchive& ar, unsigned char version) {
    if (version != 0) {
        throw rxArchive::UnknownVersion("rx_PointToGridCorresponderDefs::InsufficientMemory", 0);
    }
    Errors::dispatchSerialize(ar);
}
