#pragma once

#include "platform/attributes/zearttiattribute.h"
#include "platform/base/cbclonableobject.h"
#include "platform/base/cbcriticalsection.h"
#include "transformationtree/transformationtreeapi.h"

/// How many loops of the background optimisation a node has been through. A reset keeps the count.
///
/// Threads: guards itself.
class TRANSFORMATIONTREE_API ZeCBackgroundOptimizationLoopCountAttribute
    : public CbClonableObject<ZeCBackgroundOptimizationLoopCountAttribute, ZeARTTIAttribute>
{
public:
    /// The record of this class.
    static const CbRTTI RTTI;

    ZeCBackgroundOptimizationLoopCountAttribute() = default;
    /// Copies the count.
    ZeCBackgroundOptimizationLoopCountAttribute(
        const ZeCBackgroundOptimizationLoopCountAttribute& other);
    ZeCBackgroundOptimizationLoopCountAttribute&
    operator=(const ZeCBackgroundOptimizationLoopCountAttribute&) = delete;

    /// The number of loops; all values are kept as they are.
    [[nodiscard]] unsigned int GetOptimizationLoopCount() const;
    void SetOptimizationLoopCount(unsigned int count);

    /// Writes version 1: version and count.
    void Serialize(CbStreamWriteBinary& stream) const override;
    /// Reads what was written.
    /// Throws: CbExceptionWrongFileVersion, CbExceptionStream; the count stays as it was.
    void Serialize(CbStreamReadBinary& stream) override;

protected:
    ~ZeCBackgroundOptimizationLoopCountAttribute() override;

private:
    void writeVersion1(CbStreamWriteBinary& stream) const;
    void readVersion1(CbStreamReadBinary& stream);

    mutable CbCriticalSection section_;
    unsigned int optimizationLoopCount_ CB_GUARDED_BY(section_) = 0;
};
