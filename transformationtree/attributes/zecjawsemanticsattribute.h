#pragma once

#include "platform/attributes/zearttiattribute.h"
#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbtypedobject.h"
#include "platform/datacontainer/surfels/zecquantizednormalbinning.h"
#include "platform/math3d/cbvector3f.h"
#include "transformationtree/nodes/zetnoderevision.h"
#include "transformationtree/transformationtreeapi.h"

#include <atomic>

/// In which directions the surfaces of a jaw face: histograms of the occlusal and of the extraoral
/// directions, and an estimate of each mean direction, in the frame that the histograms were made
/// in. Copies of nodes share the attribute.
///
/// Estimates are computed when they are asked for, after a histogram was set. Those that were read
/// as up to date come back as they were stored.
///
/// Threads: estimates, revision and reset are guarded. Setting and reading the histograms and
/// serialization are not.
class TRANSFORMATIONTREE_API ZeCJawSemanticsAttribute
    : public CbTypedObject<ZeCJawSemanticsAttribute, ZeARTTIAttribute>
{
public:
    /// The record of this class.
    static const CbRTTI RTTI;

    /// Both histograms are empty.
    ZeCJawSemanticsAttribute();
    ZeCJawSemanticsAttribute(const ZeCJawSemanticsAttribute&) = delete;
    ZeCJawSemanticsAttribute& operator=(const ZeCJawSemanticsAttribute&) = delete;

    /// The histogram of the occlusal directions.
    [[nodiscard]] const ZeCQuantizedNormalBinning& GetOcclusalDirectionBinning() const noexcept
    {
        return occlusalDirectionBinning_;
    }
    /// The histogram of the extraoral directions.
    [[nodiscard]] const ZeCQuantizedNormalBinning& GetExtraoralDirectionBinning() const noexcept
    {
        return extraoralDirectionBinning_;
    }
    /// Replaces the histogram; both directions are estimated anew when one is asked for.
    void SetOcclusalDirectionBinning(const ZeCQuantizedNormalBinning& binning);
    void SetExtraoralDirectionBinning(const ZeCQuantizedNormalBinning& binning);

    /// The revision that the caller made the occlusal histogram of; -1 for none.
    [[nodiscard]] ZeTNodeRevision GetOcclusalDirectionBinningRevision() const;
    void SetOcclusalDirectionBinningRevision(ZeTNodeRevision revision);

    /// Returns the mean direction of the cells with more than one normal; (0, 0, -1)
    /// if there is no such cell or their normals cancel out.
    [[nodiscard]] CbVector3f GetOcclusalDirectionEstimate() const;
    /// Returns the mean direction of the cells with more than one normal; (1, 0, 0)
    /// if there is no such cell or their normals cancel out.
    [[nodiscard]] CbVector3f GetExtraoralDirectionEstimate() const;

    /// Writes version 1: version, estimates as they are, whether they are up to date, histograms
    /// and revision.
    void Serialize(CbStreamWriteBinary& stream) const override;
    /// Reads what was written. Estimates that were up to date count as such again.
    /// Throws: CbExceptionWrongFileVersion, CbExceptionStream; the attribute stays as it was.
    void Serialize(CbStreamReadBinary& stream) override;

    /// Empties the histograms and forgets their revision. Returns true.
    bool ResetAttribute() override;

protected:
    ~ZeCJawSemanticsAttribute() override;

private:
    void updateEstimates() const CB_REQUIRES(section_);
    void writeVersion1(CbStreamWriteBinary& stream) const;
    void readVersion1(CbStreamReadBinary& stream);

    mutable CbCriticalSection section_;
    mutable CbVector3f occlusalDirectionEstimate_ CB_GUARDED_BY(section_);
    mutable CbVector3f extraoralDirectionEstimate_ CB_GUARDED_BY(section_);
    mutable std::atomic<bool> estimatesUpToDate_{false}; ///< cleared without the lock
    ZeCQuantizedNormalBinning occlusalDirectionBinning_;
    ZeCQuantizedNormalBinning extraoralDirectionBinning_;
    ZeTNodeRevision occlusalDirectionBinningRevision_ CB_GUARDED_BY(section_) = -1;
};
