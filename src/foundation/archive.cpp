#include "foundation/archive.h"

#include <array>
#include <bit>
#include <limits>

namespace {

template <std::size_t Size>
using Bytes = std::array<unsigned char, Size>;

static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8);

/// Little-endian bytes of the lowest Size bytes of the number, and the number of such bytes.
template <std::size_t Size>
Bytes<Size> toBytes(std::uint64_t number) {
    Bytes<Size> bytes{};
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(number & 0xffU);
        number >>= 8U;
    }
    return bytes;
}

template <std::size_t Size>
std::uint64_t fromBytes(const Bytes<Size>& bytes) {
    std::uint64_t number = 0;
    for (std::size_t i = Size; i > 0; --i) number = (number << 8U) | bytes[i - 1];
    return number;
}

/// The value as the 32-bit integer Narrow.   @throws rxArchive::Errors: it does not fit.
template <class Narrow, class Wide>
std::uint32_t checked32(Wide value, const char* type) {
    if (!std::in_range<Narrow>(value)) {
        throw rxArchive::Errors("the " + std::string(type) + " value " + std::to_string(value) +
                                " does not fit the 32 bits of its record");
    }
    return static_cast<std::uint32_t>(value);
}

}  // namespace

rxArchive::~rxArchive() = default;

rxArchive& rxArchive::bytes(std::span<unsigned char> block) {
    if (isLoading()) {
        read_(block);
    } else {
        write_(block);
    }
    return *this;
}

namespace {

std::uint32_t load32(rxArchive& ar) {
    Bytes<4> bytes{};
    ar.bytes(bytes);
    return static_cast<std::uint32_t>(fromBytes(bytes));
}

void store32(rxArchive& ar, std::uint32_t number) {
    Bytes<4> bytes = toBytes<4>(number);
    ar.bytes(bytes);
}

}  // namespace

rxArchive& rxArchive::operator||(bool& value) {
    unsigned char byte = value ? 1 : 0;
    *this || byte;
    if (byte > 1) {
        throw Errors("a truth value is recorded as a byte of 0 or 1, not " + std::to_string(byte));
    }
    if (isLoading()) value = byte == 1;
    return *this;
}

rxArchive& rxArchive::operator||(int& value) {
    if (isLoading()) {
        value = static_cast<std::int32_t>(load32(*this));
    } else {
        store32(*this, checked32<std::int32_t>(value, "int"));
    }
    return *this;
}

rxArchive& rxArchive::operator||(long& value) {
    if (isLoading()) {
        value = static_cast<std::int32_t>(load32(*this));
    } else {
        store32(*this, checked32<std::int32_t>(value, "long"));
    }
    return *this;
}

rxArchive& rxArchive::operator||(unsigned long& value) {
    if (isLoading()) {
        value = load32(*this);
    } else {
        store32(*this, checked32<std::uint32_t>(value, "unsigned long"));
    }
    return *this;
}

rxArchive& rxArchive::operator||(double& value) {
    Bytes<8> bytes = toBytes<8>(std::bit_cast<std::uint64_t>(value));
    this->bytes(bytes);
    if (isLoading()) value = std::bit_cast<double>(fromBytes(bytes));
    return *this;
}

rxArchive& rxArchive::operator>>(unsigned long& value) {
    if (!isLoading()) throw Errors("a value cannot be read from a storing archive");
    return *this || value;
}

std::vector<unsigned char> rxArchive::loadBytes(std::uint64_t count) {
    if (!isLoading()) throw Errors("bytes cannot be loaded from a storing archive");
    expectElements(count, 1, "bytes");
    // Where the end is not known, each step at most doubles what has really come.
    constexpr std::uint64_t kFirstStep = 65536;
    const bool knownToBeThere = bytesLeft().has_value();
    std::vector<unsigned char> loaded;
    while (loaded.size() < count) {
        const std::uint64_t missing = count - loaded.size();
        const std::uint64_t step =
            knownToBeThere ? missing
                           : std::min(missing, std::max<std::uint64_t>(kFirstStep, loaded.size()));
        const std::size_t start = loaded.size();
        loaded.resize(start + static_cast<std::size_t>(step));
        bytes(std::span(loaded).subspan(start));
    }
    return loaded;
}

void rxArchive::expectElements(std::uint64_t count, std::uint64_t minimalSize,
                               const char* what) const {
    const std::optional<std::uint64_t> left = bytesLeft();
    if (!left || count <= *left / minimalSize) return;
    throw Errors("the archive announces " + std::to_string(count) + " " + what + " of at least " +
                 std::to_string(minimalSize) + " bytes each, but only " + std::to_string(*left) +
                 " bytes are left");
}

rxArchive::Errors::Errors(std::string message) : rxExceptionWithString(std::move(message)) {}

rxArchive::Errors::Errors(const Errors&) noexcept = default;

rxArchive::Errors& rxArchive::Errors::operator=(const Errors&) noexcept = default;

rxArchive::Errors::~Errors() = default;

void rxArchive::Errors::suicideAndRethrow() {
    rfSuicideAndRethrow(this);
}

rxPersistent* rxArchive::Errors::make() {
    return new Errors(std::string());
}

const rx_Instantiator rxArchive::Errors::sExemplar(typeid(Errors), &Errors::make,
                                                   "rxArchive::Errors");

namespace {

std::string unknownVersionMessage(const char* source, int line) {
    const std::string where =
        source == nullptr ? "" : std::string(source) + ":" + std::to_string(line) + ": ";
    return where + "the version of an archive record is not known";
}

}  // namespace

rxArchive::UnknownVersion::UnknownVersion(const char* source, int line)
    : Errors(unknownVersionMessage(source, line)),
      source_(source == nullptr ? nullptr : std::make_shared<const std::string>(source)),
      line_(line) {}

rxArchive::UnknownVersion::UnknownVersion(const UnknownVersion&) noexcept = default;

rxArchive::UnknownVersion& rxArchive::UnknownVersion::operator=(const UnknownVersion&) noexcept =
    default;

rxArchive::UnknownVersion::~UnknownVersion() = default;

void rxArchive::UnknownVersion::suicideAndRethrow() {
    rfSuicideAndRethrow(this);
}

void rxArchive::UnknownVersion::dispatchSerialize(rxArchive& ar) {
    if (haveVisited(this, sizeof *this)) return;
    unsigned char version = 0;
    ar || version;
    serialize_(ar, version);
    setVisited(this, sizeof *this);
}

void rxArchive::UnknownVersion::serialize_(rxArchive& ar, unsigned char version) {
    if (version != 0) throw UnknownVersion("rxArchive::UnknownVersion", 0);
    // The base takes its part over as soon as it is read; put back when the rest cannot be.
    const UnknownVersion before(*this);
    try {
        Errors::dispatchSerialize(ar);
        passOwnFields_(ar);
    } catch (...) {
        *this = before;
        throw;
    }
}

void rxArchive::UnknownVersion::passOwnFields_(rxArchive& ar) {
    bool hasSource = source_ != nullptr;
    std::string source = hasSource ? *source_ : std::string();
    int line = line_;
    ar || hasSource;
    if (hasSource) ar || source;
    ar || line;
    if (!ar.isLoading()) return;
    source_ = hasSource ? std::make_shared<const std::string>(std::move(source)) : nullptr;
    line_ = line;
}

rxPersistent* rxArchive::UnknownVersion::make() {
    return new UnknownVersion(nullptr, 0);
}

const rx_Instantiator rxArchive::UnknownVersion::sExemplar(typeid(UnknownVersion),
                                                           &UnknownVersion::make,
                                                           "rxArchive::UnknownVersion");

rxArchive::NestingGuard::NestingGuard(rxArchive& ar) : ar_(ar) {
    if (ar.nesting_ >= kMaxNesting) {
        throw Errors("more than " + std::to_string(kMaxNesting) +
                     " records lie inside one another in the archive");
    }
    ++ar.nesting_;
}

rxArchive& operator||(rxArchive& ar, unsigned char& value) {
    return ar.bytes({&value, 1});
}

rxArchive& operator||(rxArchive& ar, std::string& value) {
    const std::uint64_t count = ptmatch::detail::passContainerHead(ar, value.size(), 1);
    if (ar.isStoring()) {
        return ar.bytes({reinterpret_cast<unsigned char*>(value.data()), value.size()});
    }
    const std::vector<unsigned char> loaded = ar.loadBytes(count);
    value.assign(loaded.begin(), loaded.end());
    return ar;
}

std::uint64_t ptmatch::detail::passContainerHead(rxArchive& ar, std::uint64_t size,
                                                 std::uint64_t minimalSize) {
    if (ar.isStoring() && !std::in_range<std::uint32_t>(size)) {
        throw rxArchive::Errors("a container of " + std::to_string(size) +
                                " elements is too large to be stored; 4294967295 is the limit");
    }
    unsigned char version = 0;
    ar || version;
    if (version != 0) throw rxArchive::UnknownVersion(nullptr, 0);
    unsigned long count = static_cast<unsigned long>(size);
    ar || count;
    if (ar.isLoading()) ar.expectElements(count, minimalSize, "elements");
    return count;
}

std::size_t ptmatch::detail::reservableElements(const rxArchive& ar, std::uint64_t count,
                                                std::size_t elementSize) {
    const std::uint64_t affordable = ar.bytesLeft().value_or(0) / elementSize;
    return static_cast<std::size_t>(std::min(count, affordable));
}
