#include "foundation/image_functions.h"

#include <algorithm>
#include <cstddef>
#include <string>

// Each step of the loop below reads and writes its own pixels only, which the compiler cannot know:
// rows are the same or apart, because views that overlap partly are refused.
#if defined(__clang__)
#define PTMATCH_INDEPENDENT_STEPS _Pragma("clang loop vectorize(assume_safety)")
#elif defined(__GNUC__)
#define PTMATCH_INDEPENDENT_STEPS _Pragma("GCC ivdep")
#else
#define PTMATCH_INDEPENDENT_STEPS
#endif

namespace {

template <class T, class S>
void requirePair(const rxPelBuffer<T>& destination, const rxPelBuffer_const<S>& source) {
    if (source.size() != destination.size()) {
        throw rx_PelBuffer::Errors(
            "images of one size are expected, not of " + std::to_string(source.width()) + " x " +
            std::to_string(source.height()) + " and " + std::to_string(destination.width()) +
            " x " + std::to_string(destination.height()) + " pixels");
    }
    if (!destination.sharesPixelsWith(source)) return;
    // Views with a pixel in common have one type and one row update, so the first pixel decides.
    if (static_cast<const void*>(source.pointToRow(0)) != destination.pointToRow(0)) {
        throw rx_PelBuffer::Errors(
            "the destination overlaps a source that it does not coincide with");
    }
}

template <class T, class Operation, class... S>
void transformRow(std::size_t width, T* destination, Operation operation, const S*... sources) {
    PTMATCH_INDEPENDENT_STEPS
    for (std::size_t x = 0; x < width; ++x) destination[x] = operation(sources[x]...);
}

// destination = operation(sources...), pixel by pixel.
template <class T, class Operation, class... S>
void transform(const rxPelBuffer<T>& destination, Operation operation,
               const rxPelBuffer_const<S>&... sources) {
    (requirePair(destination, sources), ...);
    if (destination.width() == 0) return;
    const auto width = static_cast<std::size_t>(destination.width());
    for (long y = 0; y < destination.height(); ++y) {
        transformRow(width, destination.pointToRow(y), operation, sources.pointToRow(y)...);
    }
}

// Sums and differences are formed of unsigned numbers, which wrap around.
template <class T>
using Modular = std::make_unsigned_t<decltype(T() + T())>;

template <class T>
constexpr auto kSum = [](auto a, auto b) {
    return static_cast<T>(static_cast<Modular<T>>(a) + static_cast<Modular<T>>(b));
};

template <class T>
constexpr auto kDifference = [](auto a, auto b) {
    return static_cast<T>(static_cast<Modular<T>>(a) - static_cast<Modular<T>>(b));
};

unsigned char greatestPixel(const rxPelBuffer_const<unsigned char>& image) {
    unsigned char greatest = 0;
    if (image.width() == 0) return greatest;
    for (long y = 0; y < image.height(); ++y) {
        const unsigned char* row = image.pointToRow(y);
        for (long x = 0; x < image.width(); ++x) greatest = std::max(greatest, row[x]);
    }
    return greatest;
}

void requireTableFor(const rxPelBuffer_const<unsigned char>& source, std::size_t tableSize) {
    if (tableSize > 255 || source.width() == 0 || source.height() == 0) return;
    const std::size_t greatest = greatestPixel(source);
    if (greatest >= tableSize) {
        throw rx_PelBuffer::Errors("the pixel value " + std::to_string(greatest) +
                                   " is beyond the end of a table of " + std::to_string(tableSize) +
                                   " entries");
    }
}

}  // namespace

template <rxPixel T>
void rfPelClear(const rxPelBuffer<T>& image) {
    rfPelSet(image, 0);
}

template <rxPixel T>
void rfPelSet(const rxPelBuffer<T>& image, std::type_identity_t<T> value) {
    transform(image, [value] { return value; });
}

template <rxPixel T>
void rfPelCopy(const rxPelBuffer_const<std::type_identity_t<T>>& source,
               const rxPelBuffer<T>& destination) {
    transform(
        destination, [](T pixel) { return pixel; }, source);
}

template <rxPixel T>
void rfPelMap(const rxPelBuffer_const<unsigned char>& source,
              std::span<const std::type_identity_t<T>> table, const rxPelBuffer<T>& destination) {
    requirePair(destination, source);
    requireTableFor(source, table.size());
    if (table.size() == 2) {
        // Marks of 0 and 1: a choice between two values vectorises, reading a table does not.
        const auto choose = [unset = table[0], set = table[1]](unsigned char pixel) {
            return pixel == 0 ? unset : set;
        };
        transform(destination, choose, source);
    } else {
        transform(
            destination, [table](unsigned char pixel) { return table[pixel]; }, source);
    }
}

rxPelBuffer<unsigned char> rfPelMap(const rxPelBuffer_const<unsigned char>& source,
                                    std::span<const unsigned char> table) {
    rxPelBuffer<unsigned char> destination(source.width(), source.height(), 32);
    rfPelMap(source, table, destination);
    destination.offset(source.offset());
    destination.clientFromImageXform(source.clientFromImageXform());
    return destination;
}

template <rxPixel T>
void rfPelAdd(const rxPelBuffer_const<std::type_identity_t<T>>& a,
              const rxPelBuffer_const<std::type_identity_t<T>>& b,
              const rxPelBuffer<T>& destination) {
    transform(destination, kSum<T>, a, b);
}

template <rxPixel T>
requires(!std::same_as<T, unsigned char>) void rfPelAdd(
    const rxPelBuffer_const<unsigned char>& marks,
    const rxPelBuffer_const<std::type_identity_t<T>>& b, const rxPelBuffer<T>& destination) {
    transform(destination, kSum<T>, marks, b);
}

template <rxPixel T>
void rfPelSub(const rxPelBuffer_const<std::type_identity_t<T>>& a,
              const rxPelBuffer_const<std::type_identity_t<T>>& b,
              const rxPelBuffer<T>& destination) {
    transform(destination, kDifference<T>, a, b);
}

#define PTMATCH_INSTANTIATE(T)                                                                  \
    template PTMATCH_EXPORT void rfPelClear(const rxPelBuffer<T>&);                             \
    template PTMATCH_EXPORT void rfPelSet(const rxPelBuffer<T>&, T);                            \
    template PTMATCH_EXPORT void rfPelCopy(const rxPelBuffer_const<T>&, const rxPelBuffer<T>&); \
    template PTMATCH_EXPORT void rfPelMap(const rxPelBuffer_const<unsigned char>&,              \
                                          std::span<const T>, const rxPelBuffer<T>&);           \
    template PTMATCH_EXPORT void rfPelAdd(const rxPelBuffer_const<T>&,                          \
                                          const rxPelBuffer_const<T>&, const rxPelBuffer<T>&);  \
    template PTMATCH_EXPORT void rfPelSub(const rxPelBuffer_const<T>&,                          \
                                          const rxPelBuffer_const<T>&, const rxPelBuffer<T>&)

#define PTMATCH_INSTANTIATE_WIDENING(T)                                            \
    template PTMATCH_EXPORT void rfPelAdd(const rxPelBuffer_const<unsigned char>&, \
                                          const rxPelBuffer_const<T>&, const rxPelBuffer<T>&)

PTMATCH_INSTANTIATE(unsigned char);
PTMATCH_INSTANTIATE(short);
PTMATCH_INSTANTIATE(unsigned short);
PTMATCH_INSTANTIATE(int);
PTMATCH_INSTANTIATE(unsigned int);
PTMATCH_INSTANTIATE(long);
PTMATCH_INSTANTIATE_WIDENING(short);
PTMATCH_INSTANTIATE_WIDENING(unsigned short);
PTMATCH_INSTANTIATE_WIDENING(int);
PTMATCH_INSTANTIATE_WIDENING(unsigned int);
PTMATCH_INSTANTIATE_WIDENING(long);
