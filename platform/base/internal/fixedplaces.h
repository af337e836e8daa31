#pragma once

/// @file
/// Places that exceptions of this library report the same in every version.
///
/// They are part of the interface: applications know failures by them. They do not follow the
/// source, whose files and lines are others. Everything that is not listed here reports CB_HERE.

/// A file, without folders and ending, and a line in it.
struct CbFixedPlace
{
    const char* file;
    unsigned line;
};

/// A matrix with determinant 0 was to be inverted: CyExceptionNotInvertible.
inline constexpr CbFixedPlace c_placeOfSingularMatrix{"cbmatrixbasematrixgeomdef", 996};
