#include "examples/scansession/scans/ply.h"

#include <algorithm>

namespace scansession
{

std::size_t SizeOf(PlyType type)
{
    switch (type) {
    case PlyType::Int8:
    case PlyType::UInt8:
        return 1;
    case PlyType::Int16:
    case PlyType::UInt16:
        return 2;
    case PlyType::Int32:
    case PlyType::UInt32:
    case PlyType::Float32:
        return 4;
    case PlyType::Float64:
        break;
    }
    return 8;
}

const PlyProperty* PlyElement::Find(std::string_view property, bool isList) const
{
    const auto found = std::find_if(properties.begin(), properties.end(), [&](const auto& p) {
        return p.name == property && p.isList == isList;
    });
    return found != properties.end() ? &*found : nullptr;
}

const PlyElement* PlyFile::Find(std::string_view element) const
{
    const auto found = std::find_if(elements.begin(), elements.end(),
                                    [&](const auto& e) { return e.name == element; });
    return found != elements.end() ? &*found : nullptr;
}

const std::string* PlyFile::FindInfo(std::string_view key) const
{
    const auto found = std::find_if(infos.begin(), infos.end(),
                                    [&](const auto& info) { return info.first == key; });
    return found != infos.end() ? &found->second : nullptr;
}

} // namespace scansession
