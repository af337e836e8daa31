#pragma once

/// A point or a direction: three single-precision coordinates, packed.
struct CbVector3f
{
    /// In mm for a point.
    float x = 0.0F;
    float y = 0.0F;
    float z = 0.0F;

    friend bool operator==(const CbVector3f&, const CbVector3f&) = default;
};
