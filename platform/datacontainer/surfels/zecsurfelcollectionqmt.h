#pragma once

#include "platform/base/cbclonableobject.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/datacontainer/surfels/zecsurfelcontainer.h"

/// The surfels of one scan, or of several merged ones.
///
/// @code
/// const auto merged = CbMake<ZeCSurfelCollectionQMT>();
/// merged->Append(*collection, ToFloat(leafToRoot));
/// @endcode
class PLATFORM_API ZeCSurfelCollectionQMT
    : public CbClonableObject<ZeCSurfelCollectionQMT, ZeCSurfelContainer>
{
public:
    /// The record of this class.
    static const CbRTTI RTTI;

    /// An empty collection.
    explicit ZeCSurfelCollectionQMT(
        ESurfelAttributeSet attributeSet = ESurfelAttributeSet::Complete) noexcept
        : CbClonableObject(attributeSet)
    {}
    /// @param count number of surfels
    /// @param fill whether they get neutral values (the origin, normal +z, grey, quality 1, tissue
    ///     type 0, no boundary, curvature 128); if not, the caller writes every attribute of all
    /// @param rayImage the application's own, may be null; stored and never read
    ZeCSurfelCollectionQMT(std::uint32_t count, bool fill, ESurfelAttributeSet attributeSet,
                           const void* rayImage);

    /// What the constructor was given, or null.
    [[nodiscard]] const void* GetRayImage() const noexcept { return rayImage_; }

    /// Writes version 1: version, attribute set and number of surfels (4 bytes each), then the
    /// arrays of positions, normals, colours, qualities, tissue types, boundary flags and
    /// curvatures. The ray image is not written.
    void Serialize(CbStreamWriteBinary& stream) const override;
    /// Replaces surfels and attribute set by what was written.
    /// Throws: CbExceptionWrongFileVersion for an unknown version, CbExceptionStream for a stream
    /// that ends early or an unknown attribute set; the collection is unchanged.
    void Serialize(CbStreamReadBinary& stream) override;

protected:
    ZeCSurfelCollectionQMT(const ZeCSurfelCollectionQMT&) = default;
    ZeCSurfelCollectionQMT& operator=(const ZeCSurfelCollectionQMT&) = delete;
    ~ZeCSurfelCollectionQMT() override;

private:
    friend CbClonableObject;

    const void* rayImage_ = nullptr;
};
