#pragma once

/// @file
/// Matrices in streams.

#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "platform/math3d/cbmatrix4.h"

/// Writes a version and the 16 values, group after group.
template<class T>
void WriteMatrix(CbStreamWriteBinary& stream, const CbMatrix4<T>& matrix)
{
    stream.WriteVersion(1);
    stream.WriteBuffer(matrix.data(), 16 * sizeof(T));
}

/// Reads what WriteMatrix() wrote, of whatever version: all have the 16 values.
/// Throws: CbExceptionStream if the stream ends; the matrix keeps its values.
template<class T>
void ReadMatrix(CbStreamReadBinary& stream, CbMatrix4<T>& matrix)
{
    stream.ReadAndCompareVersion(1);
    stream.ReadBuffer(matrix.data(), 16 * sizeof(T));
}
