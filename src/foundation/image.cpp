#include "foundation/image.h"

#include <algorithm>
#include <concepts>
#include <limits>
#include <new>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "foundation/geometry_archive.h"

namespace {

constexpr long kLargestAlignment = 4096;

std::string sizeText(long width, long height) {
    return std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

std::string positionText(long x, long y) {
    return "(" + std::to_string(x) + ", " + std::to_string(y) + ")";
}

// The offset moved by (dx, dy), where all four numbers are within 32 bits.
rxPair<long> movedOffset(const rxPair<long>& offset, std::int64_t dx, std::int64_t dy) {
    const std::int64_t x = offset.x() + dx;
    const std::int64_t y = offset.y() + dy;
    if (!std::in_range<std::int32_t>(x) || !std::in_range<std::int32_t>(y)) {
        throw rx_PelBuffer::Errors("the offset of an image would leave the 32-bit coordinates");
    }
    return {static_cast<long>(x), static_cast<long>(y)};
}

struct Interval {
    long first;
    long length;
};

// The part of the interval that lies in [0, length); one of no length at the nearer end when there
// is none.
Interval clipped(Interval interval, long length) {
    if (interval.first >= length) return {length, 0};
    if (interval.first >= 0) {
        return {interval.first, std::min(interval.length, length - interval.first)};
    }
    // Neither sum nor difference overflows: first is negative, length is not.
    return {0, std::clamp(interval.first + interval.length, 0L, length)};
}

bool liesWithin(Interval interval, long length) {
    return interval.first >= 0 && interval.length >= 0 &&
           interval.first <= length - interval.length;
}

bool intersect(Interval a, Interval b) {
    return std::max(a.first, b.first) < std::min(a.first + a.length, b.first + b.length);
}

// The type of a pixel in a record; only `long` pixels are wider in memory.
template <class T>
using Recorded = std::conditional_t<std::same_as<T, long>, std::int32_t, T>;

// The bytes of the row, little-endian.
template <class T>
void encode(std::span<const T> row, std::span<unsigned char> bytes) {
    std::size_t next = 0;
    for (const T pixel : row) {
        if (!std::in_range<Recorded<T>>(pixel)) {
            throw rxArchive::Errors("the pixel value " + std::to_string(pixel) +
                                    " does not fit the 32 bits of its record");
        }
        auto number = static_cast<std::uint32_t>(pixel);
        for (std::size_t i = 0; i < sizeof(Recorded<T>); ++i, number >>= 8U) {
            bytes[next++] = static_cast<unsigned char>(number & 0xffU);
        }
    }
}

template <class T>
void decode(std::span<const unsigned char> bytes, T* row) {
    for (std::size_t begin = 0; begin < bytes.size(); begin += sizeof(Recorded<T>)) {
        std::uint32_t number = 0;
        for (std::size_t i = sizeof(Recorded<T>); i > 0; --i) {
            number = (number << 8U) | bytes[begin + i - 1];
        }
        *row++ = static_cast<Recorded<T>>(number);
    }
}

}  // namespace

struct rx_PelBuffer::Store {
    Store(long w, long h, long update, std::size_t bytes, std::align_val_t align)
        : width(w),
          height(h),
          rowUpdate(update),
          alignment(align),
          pixels(bytes == 0 ? nullptr : ::operator new(bytes, align)) {}
    ~Store() {
        if (pixels != nullptr) ::operator delete(pixels, alignment);
    }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    long width;
    long height;
    long rowUpdate;
    std::align_val_t alignment;
    void* pixels;
};

rx_PelBuffer::rx_PelBuffer(PixelType type, long width, long height, long alignment) : type_(type) {
    if (width < 0 || height < 0 || !std::in_range<std::int32_t>(width) ||
        !std::in_range<std::int32_t>(height)) {
        throw Errors("an image of " + sizeText(width, height) +
                     " cannot be made: each side takes 0 to 2147483647");
    }
    if (alignment < 1 || alignment > kLargestAlignment || (alignment & (alignment - 1)) != 0) {
        throw Errors("the rows of an image cannot be aligned to " + std::to_string(alignment) +
                     " bytes: a power of two from 1 to " + std::to_string(kLargestAlignment) +
                     " is expected");
    }
    // Powers of two both, so a multiple of the larger is one of the smaller, too.
    const std::uint64_t unit =
        std::max<std::uint64_t>(static_cast<std::uint64_t>(alignment), type.size);
    const std::uint64_t rowBytes =
        (static_cast<std::uint64_t>(width) * type.size + unit - 1) / unit * unit;
    const std::uint64_t update = rowBytes / type.size;
    const std::uint64_t maxRows = rowBytes == 0
                                      ? std::numeric_limits<std::uint64_t>::max()
                                      : std::numeric_limits<std::ptrdiff_t>::max() / rowBytes;
    if (!std::in_range<std::int32_t>(update) || static_cast<std::uint64_t>(height) > maxRows) {
        throw Errors("an image of " + sizeText(width, height) +
                     " cannot be made: it is beyond the memory that can be addressed");
    }
    store_ = std::make_shared<const Store>(
        width, height, static_cast<long>(update),
        static_cast<std::size_t>(rowBytes * static_cast<std::uint64_t>(height)),
        std::align_val_t(unit));
    origin_ = store_->pixels;
    rowUpdate_ = store_->rowUpdate;
    width_ = width;
    height_ = height;
}

rx_PelBuffer::~rx_PelBuffer() = default;

void rx_PelBuffer::offset(const rxPair<long>& position) {
    if (!std::in_range<std::int32_t>(position.x()) || !std::in_range<std::int32_t>(position.y())) {
        throw Errors("the offset " + positionText(position.x(), position.y()) +
                     " of an image does not fit 32 bits");
    }
    offset_ = position;
}

bool rx_PelBuffer::window(long x, long y, long width, long height, bool clip) {
    if (width < 0 || height < 0) {
        throw Errors("a window of " + sizeText(width, height) + " has a negative size");
    }
    Interval columns{x, width};
    Interval rows{y, height};
    if (clip) {
        columns = clipped(columns, width_);
        rows = clipped(rows, height_);
    } else if (!liesWithin(columns, width_) || !liesWithin(rows, height_)) {
        throw Errors("a window of " + sizeText(width, height) + " from column and row " +
                     positionText(x, y) + " on leaves the view of " + sizeText(width_, height_));
    }
    offset_ = movedOffset(offset_, columns.first, rows.first);
    placeInStore_ = placeInStore_ + rxPair<long>(columns.first, rows.first);
    width_ = columns.length;
    height_ = rows.length;
    const bool hasPixels = width_ > 0 && height_ > 0;
    if (hasPixels) {
        const std::ptrdiff_t index =
            static_cast<std::ptrdiff_t>(rows.first) * rowUpdate_ + columns.first;
        origin_ =
            static_cast<std::byte*>(origin_) + index * static_cast<std::ptrdiff_t>(type_.size);
    }
    return hasPixels;
}

void rx_PelBuffer::setEntire() {
    if (!store_) return;
    offset_ =
        movedOffset(offset_, -std::int64_t{placeInStore_.x()}, -std::int64_t{placeInStore_.y()});
    placeInStore_ = rxPair<long>();
    origin_ = store_->pixels;
    width_ = store_->width;
    height_ = store_->height;
}

void rx_PelBuffer::setUnbound() {
    *this = rx_PelBuffer(type_);
}

bool rx_PelBuffer::sharesPixelsWith(const rx_PelBuffer& other) const {
    return store_ && store_ == other.store_ &&
           intersect({placeInStore_.x(), width_}, {other.placeInStore_.x(), other.width_}) &&
           intersect({placeInStore_.y(), height_}, {other.placeInStore_.y(), other.height_});
}

void rx_PelBuffer::throwOutside_(long x, long y) const {
    throw Errors("the position " + positionText(x, y) + " is outside the image of " +
                 sizeText(width_, height_) + " that begins at " +
                 positionText(offset_.x(), offset_.y()));
}

// Calls action(pixel) with a value of the pixel type of the image.
template <class Action>
void rx_PelBuffer::forPixelType_(Action action) const {
    switch (type_.kind) {
        case PixelKind::eUnsigned8:
            return action(static_cast<unsigned char>(0));
        case PixelKind::eSigned16:
            return action(static_cast<short>(0));
        case PixelKind::eUnsigned16:
            return action(static_cast<unsigned short>(0));
        case PixelKind::eUnsigned32:
            return action(0U);
        case PixelKind::eSigned32:
            return type_.size == sizeof(int) ? action(0) : action(0L);
    }
}

void rx_PelBuffer::storePixels_(rxArchive& ar) const {
    // An image may be any width and have no row: its row must not be taken memory for.
    if (width_ == 0 || height_ == 0) return;
    forPixelType_([&]<class T>(T) {
        std::vector<unsigned char> bytes(static_cast<std::size_t>(width_) * sizeof(Recorded<T>));
        for (long y = 0; y < height_; ++y) {
            encode(std::span<const T>(row_<const T>(y), static_cast<std::size_t>(width_)), bytes);
            ar.bytes(bytes);
        }
    });
}

void rx_PelBuffer::loadPixels_(rxArchive& ar, long width, long height) {
    const auto count = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
    forPixelType_([&]<class T>(T) {
        ar.expectElements(count, sizeof(Recorded<T>), "pixels");
        const std::vector<unsigned char> bytes = ar.loadBytes(count * sizeof(Recorded<T>));
        // Aligned to the pixel only, so that the store is as large as what was read.
        rx_PelBuffer loaded(type_, width, height, 1);
        const std::size_t rowBytes = static_cast<std::size_t>(width) * sizeof(Recorded<T>);
        for (long y = 0; y < height && width > 0; ++y) {
            decode(std::span(bytes).subspan(static_cast<std::size_t>(y) * rowBytes, rowBytes),
                   loaded.row_<T>(y));
        }
        *this = loaded;
    });
}

rxArchive& operator||(rxArchive& ar, rx_PelBuffer& image) {
    unsigned char version = 0;
    ar || version;
    if (version != 0) throw rxArchive::UnknownVersion("foundation/image", __LINE__);

    const auto expectedKind = static_cast<unsigned char>(image.type_.kind);
    unsigned char kind = expectedKind;
    ar || kind;
    if (kind != expectedKind) {
        throw rxArchive::Errors("the image has pixels of kind " + std::to_string(expectedKind) +
                                ", its record those of kind " + std::to_string(kind));
    }
    long width = image.width_;
    long height = image.height_;
    rxPair<long> offset = image.offset_;
    rxXform<2> clientFromImage = image.clientFromImage_;
    ar || width || height || offset || clientFromImage;
    if (ar.isStoring()) {
        image.storePixels_(ar);
        return ar;
    }
    if (width < 0 || height < 0) {
        throw rxArchive::Errors("an image is recorded with a negative size, " +
                                sizeText(width, height));
    }
    image.loadPixels_(ar, width, height);
    image.offset_ = offset;
    image.clientFromImage_ = clientFromImage;
    return ar;
}

rx_PelBuffer::Errors::Errors(std::string message) : rxExceptionWithString(std::move(message)) {}

rx_PelBuffer::Errors::Errors(const Errors&) noexcept = default;

rx_PelBuffer::Errors& rx_PelBuffer::Errors::operator=(const Errors&) noexcept = default;

rx_PelBuffer::Errors::~Errors() = default;

void rx_PelBuffer::Errors::suicideAndRethrow() {
    rfSuicideAndRethrow(this);
}

rxPersistent* rx_PelBuffer::Errors::make() {
    return new Errors(std::string());
}

const rx_Instantiator rx_PelBuffer::Errors::sExemplar(typeid(Errors), &Errors::make,
                                                      "rx_PelBuffer::Errors");
