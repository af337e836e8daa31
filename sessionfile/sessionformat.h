#pragma once

#include "platform/base/cyuniqueid.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// What writer and reader of session files share; docs/formats/session.md has the grammar.
namespace sessionfile
{

/// The first bytes. Those that are no text show a file that was taken for one on its way.
inline constexpr std::array<std::uint8_t, 8> c_magic{0x89, 'S', 'E', 'S', 'S', '\r', '\n', 0x1A};
inline constexpr std::uint32_t c_version = 1;
inline constexpr std::size_t c_headerBytes = sizeof c_magic + sizeof c_version;

/// The sections in the order of the file; there is one of the last kind for each model. Numbers are
/// never reused.
enum class ESection : std::uint32_t
{
    Nodes = 1,      ///< number of nodes, number of models, then each node's announcement
    Structure = 2,  ///< each node's id and structure record
    Attributes = 3, ///< number of nodes that have any, then each one's id and container
    Model = 4       ///< a whole model
};

/// In front of each section: which one it is, its length and its checksum.
inline constexpr std::size_t c_sectionHeaderBytes = 4 + 8 + 4;

/// A shorter model is followed by zeros up to this length. A collection needs room for 64 surfels
/// even if it holds one: this keeps the memory that a file can ask for in proportion to its
/// size.
inline constexpr std::size_t c_smallestModel = 1024;

/// Number of units. A class name that goes into a message must not be as long as a file.
inline constexpr std::size_t c_longestClassName = 200;

/// The id, and the record of a leaf of version 1 without a description.
inline constexpr std::size_t c_smallestStructureRecord = sizeof(CyUniqueID) + 209;

} // namespace sessionfile
