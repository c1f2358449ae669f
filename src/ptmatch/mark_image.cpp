#include "ptmatch/mark_image.h"

#include "foundation/image_functions.h"
#include "ptmatch/search_grid.h"

namespace ptmatch::detail {

rxPelBuffer<unsigned char> drawMarks(const SearchGrid& grid) {
    rxPelBuffer<unsigned char> marks(grid.width, grid.height, kRowAlignment);
    rfPelClear(marks);
    for (const rxVector<2>& d : grid.data) {
        forEachBlockPixel(pixelOf(grid.imageFromModel * d), grid.width, grid.height,
                          [&](long x, long y) { marks.pointToRow(y)[x] = 1; });
    }
    return marks;
}

}  // namespace ptmatch::detail
