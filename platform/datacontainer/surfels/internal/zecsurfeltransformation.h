#pragma once

#include "platform/datacontainer/surfels/zecquantizednormal.h"
#include "platform/math3d/cbmatrix4.h"

#include <cstddef>

/// What a transformation does to positions and normals, worked out once for many surfels.
///
/// All calls give the same bits for the same surfel, however many come in one call. An identity
/// leaves positions and codes as they are.
class ZeCSurfelTransformation
{
public:
    explicit ZeCSurfelTransformation(const CbMatrix4Rf& transformation) noexcept;

    /// Maps @p count positions into memory that must not overlap them.
    void MapPositions(const CbVector3f* from, CbVector3f* to, std::size_t count) const noexcept;
    /// Maps @p count positions and writes them coordinate by coordinate.
    void MapPositions(const CbVector3f* from, std::size_t count, float* x, float* y,
                      float* z) const noexcept;

    /// Maps @p count normals into memory that must not overlap them. A rigid transformation (groups
    /// 0 to 2 orthonormal within 1e-4) maps them as it maps directions, any other by the inverse
    /// transpose. A code stays if its normal would become zero or not finite.
    void MapNormals(const ZeCQuantizedNormal* from, ZeCQuantizedNormal* to,
                    std::size_t count) const noexcept;

    /// Mapped normals that are not quantised, coordinate by coordinate.
    struct Directions
    {
        static constexpr std::size_t c_size = 64;

        float axes[3][c_size];            ///< of length 1
        ZeCQuantizedNormal codes[c_size]; ///< what MapNormals gives
    };
    /// Maps at most Directions::c_size normals; whatever stands behind them becomes a direction
    /// too.
    void MapNormals(const ZeCQuantizedNormal* from, std::size_t count,
                    Directions& to) const noexcept;

private:
    CbMatrix4Rf positions_;
    CbMatrix4Rf normals_; ///< groups 0 to 2 map normals; the identity if keepNormals_ is true
    bool keepPositions_;  ///< the identity
    bool keepNormals_;    ///< nothing turns, or there is no inverse transpose
};
