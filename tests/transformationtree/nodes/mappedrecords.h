#pragma once

#include "platform/datacontainer/models/zecmodelserializationidmapper.h"
#include "tests/support/scenario.h"
#include "tests/support/storedbytes.h"
#include "transformationtree/nodes/zectransformationnodeserializationidmapper.h"

inline auto& NodeMapper()
{
    return CbSingleton<ZeCTransformationNodeSerializationIDMapper>::GetInstance();
}

inline auto& ModelMapper() { return CbSingleton<ZeCModelSerializationIDMapper>::GetInstance(); }

inline void ClearMappers()
{
    NodeMapper().ClearMapping();
    ModelMapper().ClearMapping();
}

/// The number of nodes and models whose ids are resolved.
inline std::size_t CountMapped()
{
    CbArray<CyUniqueID> ids;
    NodeMapper().ListMappedModelIDs(ids);
    ModelMapper().ListMappedModelIDs(ids);
    return ids.GetCount();
}

/// Announces a node, so that its id is resolved.
inline void Map(const Node& node)
{
    (void)Stored([&](auto& stream) { NodeMapper().WriteNodeForInstantiation(stream, node); });
}

inline void Map(const Model& model)
{
    (void)Stored([&](auto& stream) { ModelMapper().WriteModel(stream, model); });
}

inline Bytes StructureOf(const ZeCTransformationNode& node)
{
    return Stored([&](auto& stream) { node.SerializeStructure(stream); });
}

inline std::size_t ReadStructure(ZeCTransformationNode& node, const Bytes& bytes)
{
    return ReadFrom(bytes, [&](auto& stream) { node.SerializeStructure(stream); });
}

/// An id of bytes that count up; the high digit of each is @p digit.
inline CyUniqueID CountingId(unsigned digit)
{
    CyUniqueID::Bytes bytes;
    for (unsigned i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(digit * 16 + i);
    }
    return CyUniqueID(bytes);
}

/// An attribute as applications have them.
class Tooth final : public ZeARTTIAttribute
{
public:
    static const CbRTTI RTTI;
    static IObject* CreateByFactory() { return new Tooth; }
    const CbRTTI& GetRTTI() const override { return RTTI; }
    void Serialize(CbStreamWriteBinary& stream) const override
    {
        stream.WriteVersion(1);
        stream << number;
    }
    void Serialize(CbStreamReadBinary& stream) override
    {
        stream.ReadKnownVersion(1, 1, __FILE__, __LINE__);
        stream >> number;
    }

    std::int32_t number = 0;

protected:
    ~Tooth() override = default;
};
inline const CbRTTI Tooth::RTTI(CB_TEXT("Tooth"), &CreateByFactory, nullptr,
                                &ZeARTTIAttribute::RTTI);
