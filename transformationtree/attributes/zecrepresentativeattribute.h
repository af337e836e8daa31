#pragma once

#include "platform/attributes/zearttiattribute.h"
#include "platform/base/cbclonableobject.h"
#include "transformationtree/transformationtreeapi.h"

#include <cstdint>
#include <limits>

/// The voxel of a grid that a node represents.
///
/// Threads: not locked.
class TRANSFORMATIONTREE_API ZeCRepresentativeAttribute
    : public CbClonableObject<ZeCRepresentativeAttribute, ZeARTTIAttribute>
{
public:
    /// The record of this class.
    static const CbRTTI RTTI;

    /// Represents no voxel: all three indices are the largest int.
    ZeCRepresentativeAttribute() = default;
    ZeCRepresentativeAttribute(const ZeCRepresentativeAttribute&) = default;
    ZeCRepresentativeAttribute& operator=(const ZeCRepresentativeAttribute&) = default;

    /// Represents the voxel with these indices; the grid is the application's.
    void SetGridVoxel(int x, int y, int z) noexcept;
    /// Gives the indices of the voxel: 2147483647 each for none.
    void GetGridVoxel(int& x, int& y, int& z) const noexcept;

    /// Writes version 1: version and indices.
    void Serialize(CbStreamWriteBinary& stream) const override;
    /// Reads what was written.
    /// Throws: CbExceptionWrongFileVersion, CbExceptionStream; the voxel stays as it was.
    void Serialize(CbStreamReadBinary& stream) override;
    /// The indices x, y and z without a version.
    void writeVersion1(CbStreamWriteBinary& stream) const;
    /// Reads what writeVersion1() wrote.
    /// Throws: CbExceptionStream if the stream ends; the voxel stays as it was.
    void readVersion1(CbStreamReadBinary& stream);

    /// Represents no voxel any more. Returns true.
    bool ResetAttribute() override;

protected:
    ~ZeCRepresentativeAttribute() override;

private:
    static constexpr std::int32_t c_none = std::numeric_limits<std::int32_t>::max();

    std::int32_t x_ = c_none;
    std::int32_t y_ = c_none;
    std::int32_t z_ = c_none;
};
