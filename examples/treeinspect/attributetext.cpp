#include "examples/treeinspect/attributetext.h"

#include "examples/treeinspect/posetext.h"
#include "examples/treeinspect/subtree.h"
#include "platform/datacontainer/surfels/zecsurfelcontainer.h"
#include "transformationtree/transformationtree.h"

#include <cstdint>
#include <limits>

namespace treeinspect
{

namespace
{

void PrintSurfels(const CbSmartPointer<const CySurfelCollectionBase>& collection, std::ostream& out)
{
    if (!collection) {
        out << "no surfels";
    } else if (const auto surfels = CbDynamicPointerCast<const ZeCSurfelContainer>(collection)) {
        out << surfels->GetNrSurfels() << " surfels";
    } else {
        out << collection->GetClassNameW().ToUtf8();
    }
}

void PrintDirections(const CbVector3f& mean, const ZeCQuantizedNormalBinning& binning,
                     std::ostream& out)
{
    std::uint64_t count = 0;
    for (const auto& bin : binning.GetBins()) count += bin.count;
    out << mean.x << ' ' << mean.y << ' ' << mean.z << " of " << count << " directions";
}

void Print(const ZeCAreaPropertiesAttribute& area, std::ostream& out)
{
    out << "orientation strategy " << static_cast<std::int32_t>(area.GetOrientationStrategy());
}

void Print(const ZeCBackgroundOptimizationLoopCountAttribute& loops, std::ostream& out)
{
    out << loops.GetOptimizationLoopCount() << " loops";
}

void Print(const ZeCDisconnectedComponentWarningAttribute& warning, std::ostream& out)
{
    PrintSurfels(warning.GetWarningSurfelCollection(), out);
}

void Print(const ZeCImageAreaDataAttribute& area, std::ostream& out)
{
    out << (area.GetIsCorrelated() ? "correlated" : "not correlated") << " to "
        << Quoted(area.GetCorrelationObjectID()) << ", level "
        << static_cast<std::int32_t>(area.GetCorrelationLevel()) << ", error "
        << area.GetCorrelationError() << ", pose ";
    PrintPose(area.GetCorrelationTrafo(), out);
    out << ", jaw " << (area.GetIsJawRelaxed() ? "relaxed" : "not relaxed") << ", pose ";
    PrintPose(area.GetJawRelaxationTrafo(), out);
    out << (area.GetIsImpressionScan() ? ", impression" : ", no impression") << ", revisions "
        << area.GetLastNodeRevision() << ' ' << area.GetLastAreaCorrelationRevision() << ' '
        << area.GetLastRefAreaCorrelationRevision() << ", last GUID " << Quoted(area.GetLastGUID())
        << " of revision " << area.GetLastGUIDRevision() << ", changed at "
        << area.GetTimeChanged().GetTime();
}

void Print(const ZeCJawSemanticsAttribute& jaw, std::ostream& out)
{
    out << "occlusal ";
    PrintDirections(jaw.GetOcclusalDirectionEstimate(), jaw.GetOcclusalDirectionBinning(), out);
    out << " of revision " << jaw.GetOcclusalDirectionBinningRevision() << ", extraoral ";
    PrintDirections(jaw.GetExtraoralDirectionEstimate(), jaw.GetExtraoralDirectionBinning(), out);
}

void Print(const ZeCRegistrationHintsAttribute& hints, std::ostream& out)
{
    PrintSurfels(hints.GetRegistrationHintSurfelCollection(), out);
    out << ", display mode " << static_cast<std::uint32_t>(hints.GetDisplayMode());
}

void Print(const ZeCRepresentativeAttribute& representative, std::ostream& out)
{
    constexpr int c_none = std::numeric_limits<int>::max();
    int x = 0;
    int y = 0;
    int z = 0;
    representative.GetGridVoxel(x, y, z);
    if (x == c_none && y == c_none && z == c_none) {
        out << "no voxel";
    } else {
        out << "voxel " << x << ' ' << y << ' ' << z;
    }
}

template<class T>
void PrintIf(const ZeARTTIAttribute& attribute, std::ostream& out)
{
    if (!attribute.Is(T::RTTI)) return;
    out << ": ";
    Print(static_cast<const T&>(attribute), out);
}

template<class... T>
void PrintAs(const ZeARTTIAttribute& attribute, std::ostream& out)
{
    (PrintIf<T>(attribute, out), ...);
}

} // namespace

void PrintAttribute(const ZeARTTIAttribute& attribute, std::ostream& out)
{
    out << attribute.GetClassNameW().ToUtf8();
    PrintAs<ZeCAreaPropertiesAttribute, ZeCBackgroundOptimizationLoopCountAttribute,
            ZeCDisconnectedComponentWarningAttribute, ZeCImageAreaDataAttribute,
            ZeCJawSemanticsAttribute, ZeCRegistrationHintsAttribute, ZeCRepresentativeAttribute>(
        attribute, out);
}

} // namespace treeinspect
