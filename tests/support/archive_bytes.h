#pragma once

#include <initializer_list>
#include <span>
#include <vector>

#include "foundation/archive.h"
#include "foundation/memory_archive.h"

namespace ptmatch::testing {

using ByteVector = std::vector<unsigned char>;

/// The records of the values, one after the other.
template <class... T>
ByteVector stored(T... values) {
    rxMemoryStoreArchive ar;
    (void)(ar || ... || values);
    return ar.takeStored();
}

/// The value that the record at the start of the bytes holds, loaded into a copy of initial.
template <class T>
T loaded(std::span<const unsigned char> bytes, T initial = T()) {
    rxMemoryLoadArchive ar(bytes);
    ar || initial;
    return initial;
}

/// The bytes one after the other, for expectations that name their parts.
inline ByteVector joined(std::initializer_list<ByteVector> parts) {
    ByteVector all;
    for (const ByteVector& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

}  // namespace ptmatch::testing
