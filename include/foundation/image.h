#pragma once

#include <cassert>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "foundation/archive.h"
#include "foundation/exception.h"
#include "foundation/export.h"
#include "foundation/rectangle.h"
#include "foundation/vector.h"
#include "foundation/xform.h"

/// A region of pixels: its upper-left pixel, and the first column and row beyond it as `lr()`.
using rxPelRect = rxRectangle<long>;

/// The pixel types of images. `int` and `unsigned int` have 32 bits; the values of `long` pixels
/// stay within 32 bits signed, which is what their record holds.
template <class T>
concept rxPixel =
    std::same_as<T, unsigned char> || std::same_as<T, short> || std::same_as<T, unsigned short> ||
    std::same_as<T, int> || std::same_as<T, unsigned int> || std::same_as<T, long>;

/// What images of every pixel type have in common: a rectangular view of a shared pixel store.
///
/// Copies are views of the same pixels, as are the windows made of them: what is written through
/// one is seen through all. The store goes with its last view. Use `rxPelBuffer` to write pixels
/// and `rxPelBuffer_const` to hand them out for reading.
///
///     rxPelBuffer<short> votes(640, 480, 32);
///     rfPelClear(votes);
///     rxPelBuffer<short> part = votes;
///     part.window(100, 50, 20, 10, false);     // columns 100 to 119 and rows 50 to 59 of votes
///     part.get(100, 50);                       // the pixel that votes.get(100, 50) names
///     part.pointToRow(0)[0];                   // the same pixel again
///
/// Two ways to name a pixel:
/// - by position, which counts the offset in: the first pixel of the view stands at `offset()`.
///   `get` and `put` take positions. As `window` moves the offset along, the position of a pixel
///   is the same in an image and in its windows.
/// - by column and row of the view, which begin at 0 whatever the offset. `pointToRow` and `window`
///   take these, and functions of several images pair their pixels by them.
///
/// Views are values. Distinct views can be used by different threads, also when they share a store
/// (its share count is safe); threads that write pixels others look at have to agree among
/// themselves.
class PTMATCH_EXPORT rx_PelBuffer {
  public:
    class Errors;

    virtual ~rx_PelBuffer();

    /// Columns of the view; 0 for an empty image.
    long width() const { return width_; }
    /// Rows of the view; 0 for an empty image.
    long height() const { return height_; }
    /// Columns and rows of the view.
    rxPair<long> size() const { return {width_, height_}; }

    /// Pixels from one row to the next, at least width(); 0 without a store.
    long rowUpdate() const { return rowUpdate_; }

    /// The position of the view's first pixel; (0, 0) for a new image.
    rxPair<long> offset() const { return offset_; }
    /// Moves the view to another position; pixels and size stay.
    /// @throws Errors: a coordinate does not fit 32 bits.
    void offset(const rxPair<long>& position);

    /// The transform from positions to the coordinates of the client; the identity for a new image.
    /// `offset`, `window` and `setEntire` leave it alone.
    const rxXform<2>& clientFromImageXform() const { return clientFromImage_; }
    /// Sets the transform, which may be any; pixels, size and offset stay.
    void clientFromImageXform(const rxXform<2>& xform) { clientFromImage_ = xform; }

    /// Narrows the view to width columns from column x and height rows from row y of this view, and
    /// moves the offset by (x, y), so that every pixel keeps its position.
    /// @param x, y           the first column and row that are kept, counted from 0 in this view.
    /// @param width, height  how many columns and rows, 0 or more.
    /// @param clip  false: the rectangle has to lie in the view. True: the part of it that does is
    /// taken; when there is none, the view ends up without pixels at the edge nearest to it.
    /// @return whether the view holds any pixel now.
    /// @throws Errors: a negative size, a rectangle that leaves the view (without clip), or a new
    /// offset beyond 32 bits; the view is then unchanged.
    bool window(long x, long y, long width, long height, bool clip);

    /// Widens the view to the whole store again and moves the offset back by the place of the
    /// window, so that every pixel keeps its position. If `offset(p)` was called on a window, the
    /// whole view begins at p minus the place of the window.
    /// @throws Errors: that offset does not fit 32 bits; the view is then unchanged.
    void setEntire();

    /// Lets go of the store: the image becomes as one constructed by default.
    void setUnbound();

    /// Whether some pixel is in both views.
    bool sharesPixelsWith(const rx_PelBuffer& other) const;

  protected:
    /// The pixel types in archive records. `int` and `long` pixels are recorded alike.
    enum class PixelKind : unsigned char {
        eUnsigned8 = 1,   ///< unsigned char
        eSigned16 = 2,    ///< short
        eUnsigned16 = 3,  ///< unsigned short
        eSigned32 = 4,    ///< int and long
        eUnsigned32 = 5,  ///< unsigned int
    };
    /// A pixel type at run time.
    struct PixelType {
        PixelKind kind;    ///< in records
        std::size_t size;  ///< bytes in memory
    };

    /// The pixel type T at run time.
    template <rxPixel T>
    static constexpr PixelType pixelType_() {
        if constexpr (std::same_as<T, unsigned char>) return {PixelKind::eUnsigned8, sizeof(T)};
        if constexpr (std::same_as<T, short>) return {PixelKind::eSigned16, sizeof(T)};
        if constexpr (std::same_as<T, unsigned short>) return {PixelKind::eUnsigned16, sizeof(T)};
        if constexpr (std::same_as<T, unsigned int>) return {PixelKind::eUnsigned32, sizeof(T)};
        return {PixelKind::eSigned32, sizeof(T)};
    }

    /// An empty image. Copied as a part of typed images only, so that no view loses its pixel type.
    explicit rx_PelBuffer(PixelType type) : type_(type) {}
    /// As the constructor of `rxPelBuffer` with the same arguments.
    rx_PelBuffer(PixelType type, long width, long height, long alignment);
    rx_PelBuffer(const rx_PelBuffer&) = default;
    rx_PelBuffer& operator=(const rx_PelBuffer&) = default;

    /// The first pixel of row y of the view; T is the pixel type.
    template <class T>
    T* row_(long y) const {
        assert(y >= 0 && y < height_);
        return static_cast<T*>(origin_) + static_cast<std::ptrdiff_t>(y) * rowUpdate_;
    }

    /// The pixel at a position.
    template <class T>
    T& pixel_(long x, long y) const {
        // Modulo 2^64, so that one comparison covers both sides and no position overflows.
        const std::uint64_t column = distance(offset_.x(), x);
        const std::uint64_t row = distance(offset_.y(), y);
        if (column >= static_cast<std::uint64_t>(width_) ||
            row >= static_cast<std::uint64_t>(height_)) {
            throwOutside_(x, y);
        }
        return row_<T>(static_cast<long>(row))[column];
    }

  private:
    friend PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx_PelBuffer& image);

    struct Store;

    static std::uint64_t distance(long from, long to) {
        return static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from);
    }

    [[noreturn]] void throwOutside_(long x, long y) const;
    template <class Action>
    void forPixelType_(Action action) const;
    void storePixels_(rxArchive& ar) const;
    void loadPixels_(rxArchive& ar, long width, long height);

    PixelType type_;
    std::shared_ptr<const Store> store_;
    void* origin_ = nullptr;  // the first pixel of the view
    long rowUpdate_ = 0;
    long width_ = 0;
    long height_ = 0;
    rxPair<long> placeInStore_;  // column and row of the view's first pixel in the store
    rxPair<long> offset_;
    rxXform<2> clientFromImage_;
};

/// An image cannot be made, a position or a window lies outside a view, or images do not fit
/// together.
class PTMATCH_EXPORT rx_PelBuffer::Errors : public rxExceptionWithString {
  public:
    /// @param message  what `what()` gives, as it is.
    explicit Errors(std::string message);
    Errors(const Errors&) noexcept;
    Errors& operator=(const Errors&) noexcept;
    ~Errors() override;

    [[noreturn]] void suicideAndRethrow() override;

  private:
    static rxPersistent* make();
    static const rx_Instantiator sExemplar;
};

/// An image whose pixels can be written. As a view it does not hand its own constness on to the
/// pixels: copy it into a `rxPelBuffer_const` for that.
template <rxPixel T>
class PTMATCH_EXPORT rxPelBuffer : public rx_PelBuffer {
  public:
    /// An empty image, 0 by 0.
    rxPelBuffer() : rx_PelBuffer(pixelType_<T>()) {}
    /// An image of its own store, whose pixels are undefined until they are written; width or
    /// height may be 0.
    /// @param width, height  columns and rows, 0 or more.
    /// @param alignment  in bytes, a power of two from 1 to 4096: the first pixel of each row and
    /// the distance of the rows are multiples of it (and of the pixel size).
    /// @throws Errors: a negative size, another alignment, or more bytes than can be addressed;
    /// before anything is allocated.   @throws std::bad_alloc: the memory is not to be had.
    rxPelBuffer(long width, long height, long alignment)
        : rx_PelBuffer(pixelType_<T>(), width, height, alignment) {}

    /// The first pixel of row y of the view (0 to height() - 1, not checked). Good as long as a
    /// view of the store lives.
    T* pointToRow(long y) const { return this->template row_<T>(y); }

    /// The pixel at a position.   @throws Errors: the position is outside the view.
    T get(long x, long y) const { return this->template pixel_<T>(x, y); }
    /// The pixel at a position.   @throws Errors: the position is outside the view.
    T get(const rxPair<long>& position) const { return get(position.x(), position.y()); }

    /// Writes the pixel at a position.   @throws Errors: the position is outside the view.
    void put(long x, long y, T value) { this->template pixel_<T>(x, y) = value; }
};

/// An image whose pixels can only be read through this view; others may still write them.
template <rxPixel T>
class PTMATCH_EXPORT rxPelBuffer_const : public rx_PelBuffer {
  public:
    /// An empty image, 0 by 0.
    rxPelBuffer_const() : rx_PelBuffer(pixelType_<T>()) {}
    /// A second view on the pixels of the image.
    rxPelBuffer_const(const rxPelBuffer<T>& image) : rx_PelBuffer(image) {}

    /// The first pixel of row y of the view (0 to height() - 1, not checked). Good as long as a
    /// view of the store lives.
    const T* pointToRow(long y) const { return this->template row_<const T>(y); }

    /// The pixel at a position.   @throws Errors: the position is outside the view.
    T get(long x, long y) const { return this->template pixel_<const T>(x, y); }
    /// The pixel at a position.   @throws Errors: the position is outside the view.
    T get(const rxPair<long>& position) const { return get(position.x(), position.y()); }
};

/// Passes an image: kind of its pixels, size, offset, transform and the pixels of the view.
///
/// Loading gives the image a store of its own with exactly these pixels, the rows close together.
/// A load that fails leaves the image as it was.
/// @throws rxArchive::UnknownVersion: another version than 0.
/// @throws rxArchive::Errors: the record holds pixels of another kind than the image, a negative
/// size, or fewer pixels than it announces; or a `long` pixel to be stored does not fit 32 bits.
PTMATCH_EXPORT rxArchive& operator||(rxArchive& ar, rx_PelBuffer& image);
