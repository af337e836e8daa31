#pragma once

#include "platform/attributes/zearttiattribute.h"
#include "platform/base/cbcriticalsection.h"
#include "platform/base/cbtypedobject.h"
#include "transformationtree/transformationtreeapi.h"

#include <cstdint>

/// How the area below a node is to be treated. Copies of nodes share the attribute.
///
/// Threads: guards itself.
class TRANSFORMATIONTREE_API ZeCAreaPropertiesAttribute
    : public CbTypedObject<ZeCAreaPropertiesAttribute, ZeARTTIAttribute>
{
public:
    /// The application's; all values are kept as they are.
    enum class EOrientationStrategy : std::int32_t
    {
        Default = 0
    };

    /// The record of this class.
    static const CbRTTI RTTI;

    ZeCAreaPropertiesAttribute() = default;
    ZeCAreaPropertiesAttribute(const ZeCAreaPropertiesAttribute&) = delete;
    ZeCAreaPropertiesAttribute& operator=(const ZeCAreaPropertiesAttribute&) = delete;

    /// The strategy, default until it is set; not stored.
    [[nodiscard]] EOrientationStrategy GetOrientationStrategy() const;
    void SetOrientationStrategy(EOrientationStrategy strategy);

    /// Writes version 1: the version alone. The strategy is not stored.
    void Serialize(CbStreamWriteBinary& stream) const override;
    /// Reads the version and sets the default strategy.
    /// Throws: CbExceptionWrongFileVersion, CbExceptionStream; the attribute stays as it was.
    void Serialize(CbStreamReadBinary& stream) override;

    /// Sets the default strategy and returns true.
    bool ResetAttribute() override;

protected:
    ~ZeCAreaPropertiesAttribute() override;

private:
    mutable CbCriticalSection section_;
    EOrientationStrategy
        orientationStrategy_ CB_GUARDED_BY(section_) = EOrientationStrategy::Default;
};
