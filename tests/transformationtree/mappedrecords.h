#pragma once

#include "platform/datacontainer/zecmodelserializationidmapper.h"
#include "tests/support/scenario.h"
#include "tests/support/storedbytes.h"
#include "transformationtree/zectransformationnodeserializationidmapper.h"

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
