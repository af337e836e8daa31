#pragma once

#include "platform/datacontainer/surfels/zecsurfelarrays.h"
#include "platform/datacontainer/surfels/zetqualityaccessor.h"
#include "platform/datatree/cysurfelcollectionbase.h"
#include "platform/math3d/cbmatrix4.h"
#include "platform/math3d/cyboundingbox3d.h"

#include <cstdint>
#include <span>

/// Surfels with seven attributes each, kept attribute by attribute. Lengths are millimetres.
///
/// Accessors view one attribute of all surfels:
/// @code
/// for (const CbVector3f& position : container->GetPositionAccessor()) { ... }
/// const CbVector3f normal = container->GetNormalAccessor()[index].GetNormal();
/// @endcode
///
/// Lifetime: views and accessors are valid until the number of surfels changes.
/// Threads: const functions may run side by side; edits need the container to themselves.
class PLATFORM_API ZeCSurfelContainer : public CySurfelCollectionBase
{
public:
    /// Which attributes surfels have. Set 0 includes set 1; both hold all seven.
    enum class ESurfelAttributeSet : std::int32_t
    {
        Complete = 0,
        Subsampled = 1
    };

    /// The record of this class, which is abstract.
    static const CbRTTI RTTI;

    [[nodiscard]] const CbRTTI& GetRTTI() const override;

    /// The set that the container was made with or read as.
    [[nodiscard]] ESurfelAttributeSet GetAttributeSet() const noexcept { return attributeSet_; }
    /// Number of surfels, which every accessor has.
    [[nodiscard]] std::uint32_t GetNrSurfels() const noexcept { return arrays_.GetSize(); }
    /// The box of all positions, in the container's own frame; positions with a coordinate that is
    /// not finite are left out. Cost: linear in the number of surfels.
    [[nodiscard]] CyBoundingBox3D GetBoundingBox() const noexcept;

    /// One attribute of all surfels in their order, as std::span, or as ZeTQualityAccessor for the
    /// qualities. Those of a const container are read only.
    [[nodiscard]] auto GetPositionAccessor() const noexcept { return view(arrays_.GetPositions()); }
    [[nodiscard]] auto GetPositionAccessor() noexcept { return edit(arrays_.GetPositions()); }
    [[nodiscard]] auto GetNormalAccessor() const noexcept { return view(arrays_.GetNormals()); }
    [[nodiscard]] auto GetNormalAccessor() noexcept { return edit(arrays_.GetNormals()); }
    [[nodiscard]] auto GetColorAccessor() const noexcept { return view(arrays_.GetColors()); }
    [[nodiscard]] auto GetColorAccessor() noexcept { return edit(arrays_.GetColors()); }
    [[nodiscard]] auto GetQualityAccessor() const noexcept
    {
        return ZeTQualityAccessor(view(arrays_.GetQualities()));
    }
    [[nodiscard]] auto GetQualityAccessor() noexcept
    {
        return ZeTQualityAccessor(edit(arrays_.GetQualities()));
    }
    [[nodiscard]] auto GetTissueTypeAccessor() const noexcept
    {
        return view(arrays_.GetTissueTypes());
    }
    [[nodiscard]] auto GetTissueTypeAccessor() noexcept { return edit(arrays_.GetTissueTypes()); }
    [[nodiscard]] auto GetBoundaryFlagAccessor() const noexcept
    {
        return view(arrays_.GetBoundaryFlags());
    }
    [[nodiscard]] auto GetBoundaryFlagAccessor() noexcept
    {
        return edit(arrays_.GetBoundaryFlags());
    }
    [[nodiscard]] auto GetCurvatureAccessor() const noexcept
    {
        return view(arrays_.GetCurvatures());
    }
    [[nodiscard]] auto GetCurvatureAccessor() noexcept { return edit(arrays_.GetCurvatures()); }

    /// Overwrites surfel @p destination by surfel @p source of @p from, which may be this
    /// container.
    /// @param transformNormal whether the normal is transformed like the position
    /// @param transformation from the frame of @p from into this container's
    ///
    /// - A rigid transformation (columns orthonormal within 1e-4) maps normals as it maps
    ///   directions, any other by the inverse transpose.
    /// - A normal that would become zero or not finite stays.
    /// - An identity changes nothing. Any other transformation makes a position of which one
    ///   coordinate is not finite so in all three.
    ///
    /// Throws: CbException for an index out of range; nothing is written.
    void CopySurfel(std::uint32_t destination, const ZeCSurfelContainer& from, std::uint32_t source,
                    bool transformNormal, const CbMatrix4Rf& transformation);
    /// Does the same for @p count surfels in a row, with the same bits and many times faster.
    /// Throws: CbException for a range that is not inside its container, or for ranges of one
    /// container that overlap; nothing is written.
    void CopySurfels(std::uint32_t destination, const ZeCSurfelContainer& from,
                     std::uint32_t source, std::uint32_t count, bool transformNormals,
                     const CbMatrix4Rf& transformation);
    /// Makes room for @p count surfels in all, so that less is copied and touched while they are
    /// appended. Accessors become invalid. Throws: std::bad_alloc; nothing is changed.
    void Reserve(std::uint32_t count) { arrays_.Reserve(count); }
    /// Copies all surfels of @p other, which may be this container, behind the present ones,
    /// normals transformed as by CopySurfel.
    /// @param transformation from the frame of @p other into this container's
    /// Throws: CbException if there would be more than 2^32-1 surfels; nothing is changed.
    void Append(const ZeCSurfelContainer& other, const CbMatrix4Rf& transformation);

protected:
    /// A container without surfels.
    explicit ZeCSurfelContainer(ESurfelAttributeSet attributeSet) noexcept
        : attributeSet_(attributeSet)
    {}
    /// @param fill whether surfels get neutral values; if not, the caller writes all of them
    ZeCSurfelContainer(std::uint32_t count, bool fill, ESurfelAttributeSet attributeSet);
    ZeCSurfelContainer(const ZeCSurfelContainer&) = default;
    ZeCSurfelContainer& operator=(const ZeCSurfelContainer&) = delete;
    ~ZeCSurfelContainer() override;

    /// The values as they lie in memory, to be stored.
    [[nodiscard]] const ZeCSurfelArrays& getArrays() const noexcept { return arrays_; }
    /// Takes over the arrays of a container that was read.
    void setContent(ESurfelAttributeSet attributeSet, ZeCSurfelArrays arrays) noexcept;

private:
    template<class T>
    [[nodiscard]] std::span<const T> view(const T* first) const noexcept
    {
        return {first, arrays_.GetSize()};
    }
    template<class T>
    [[nodiscard]] std::span<T> edit(T* first) noexcept
    {
        return {first, arrays_.GetSize()};
    }
    void copy(std::uint32_t destination, const ZeCSurfelContainer& from, std::uint32_t source,
              std::uint32_t count, bool transformNormals,
              const CbMatrix4Rf& transformation) noexcept;

    ESurfelAttributeSet attributeSet_;
    ZeCSurfelArrays arrays_;
};
