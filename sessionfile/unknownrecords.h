#pragma once

#include "platform/base/cbsmartpointer.h"
#include "platform/base/cbstreamwritebinary.h"
#include "platform/base/cstring.h"
#include "platform/base/cyuniqueid.h"
#include "platform/datacontainer/models/zecmodelqmt.h"
#include "transformationtree/nodes/zectransformationnode.h"

#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace sessionfile
{

/// What a session holds of models and attributes whose classes are not linked in: bytes, kept
/// beside the tree so that they are written again with it.
///
/// A model is kept for the one that stands in its place in the tree, which has no surfels;
/// attributes for the id of their node. What belongs to nodes that are not in a tree any more is
/// left out when that is written.
class UnknownRecords
{
public:
    struct Attribute
    {
        CString className;
        std::size_t bytes; ///< length of its record
    };

    [[nodiscard]] bool IsEmpty() const noexcept { return models_.empty() && attributes_.empty(); }
    [[nodiscard]] std::size_t CountModels() const noexcept { return models_.size(); }
    /// Cost: as the next one.
    [[nodiscard]] std::size_t CountAttributes() const;
    /// In UTF-8, as they are stored: anything may stand there. Cost: linear in the number of
    /// records.
    [[nodiscard]] std::set<std::string> GetClassNames() const;

    /// The class that was stored if a model stands in its place; empty for any other model.
    [[nodiscard]] CString GetClassName(const ZeCModelQMT& model) const;
    /// The attributes kept for a node, in the order of the session.
    [[nodiscard]] std::vector<Attribute> GetAttributes(const CyUniqueID& node) const;

    /// Keeps a stored model, class name first, for the one that stands in its place.
    void KeepModel(const CbSmartPointer<const ZeCModelQMT>& standIn,
                   std::span<const std::uint8_t> stored);
    /// Keeps those attributes of a stored container that it passes over when it is read.
    /// Throws: CbExceptionStream if the container ends too early.
    void KeepAttributes(const CyUniqueID& node, std::span<const std::uint8_t> container);

    /// The stored model in whose place a model stands; empty for any other model.
    [[nodiscard]] std::span<const std::uint8_t> GetStored(const ZeCModelQMT& model) const;
    /// Whether WriteAttributes() has anything to write for the node.
    [[nodiscard]] bool HasAttributes(const ZeCTransformationNode& node) const;
    /// Writes the attribute container of a node together with what is kept for it, each attribute
    /// in the place that it had. What is of a class that the container has by now is left out.
    void WriteAttributes(CbStreamWriteBinary& stream, const ZeCTransformationNode& node) const;

private:
    struct StoredModel
    {
        CbSmartPointer<const ZeCModelQMT> standIn;
        std::vector<std::uint8_t> bytes;
    };

    std::unordered_map<const ZeCModelQMT*, StoredModel> models_;
    /// For each attribute its place in the stored container, then name, length and record as there.
    std::unordered_map<CyUniqueID, std::vector<std::uint8_t>> attributes_;
};

} // namespace sessionfile
