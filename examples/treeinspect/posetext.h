#pragma once

#include "platform/math3d/cbmatrix4.h"

#include <ostream>

namespace treeinspect
{

/// Prints "identity", or the 16 values group after group.
template<class T>
void PrintPose(const CbMatrix4<T>& pose, std::ostream& out)
{
    if (pose == CbMatrix4<T>()) {
        out << "identity";
        return;
    }
    for (std::size_t i = 0; i < 4; ++i) {
        if (i > 0) out << " | ";
        for (std::size_t j = 0; j < 4; ++j) out << (j > 0 ? " " : "") << pose[i][j];
    }
}

} // namespace treeinspect
