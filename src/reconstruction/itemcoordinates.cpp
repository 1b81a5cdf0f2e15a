#include "reconstruction/itemcoordinates.h"

#include "document/modelitem.h"

namespace vorlen {

void appendCoordinates(const ModelItem& item, std::vector<double>& coordinates) {
    const int n = item.getSize();
    const std::size_t before = coordinates.size();
    coordinates.resize(before + 2 * static_cast<std::size_t>(n));
    double* const out = coordinates.data() + before;
    const PackedVertices& packed = item.getPacked();
    if (const std::int32_t* const thousandths = packed.getThousandths()) {
        for (int k = 0; k < 2 * n; ++k)
            out[k] = thousandths[k] / 1000.0;
    } else if (packed.getSize() > 0) {
        for (int k = 0; k < 2 * n; ++k)
            out[k] = packed.getCoordinate(k / 2, k % 2);
    } else if (n > 0) {
        const Vertices<double>& vertices = item.getVertices();
        for (int k = 0; k < 2 * n; ++k)
            out[k] = vertices[k / 2][k % 2];
    }
}

} // namespace vorlen
