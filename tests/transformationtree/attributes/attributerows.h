#pragma once

// The attribute classes as rows of a table: how an attribute is filled with extreme values, and
// what it shows then.

#include "tests/support/treematrices.h"
#include "tests/transformationtree/goldenfiles.h"
#include "transformationtree/transformationtree.h"

#include <concepts>
#include <type_traits>

using AreaProperties = ZeCAreaPropertiesAttribute;
using LoopCount = ZeCBackgroundOptimizationLoopCountAttribute;
using ComponentWarning = ZeCDisconnectedComponentWarningAttribute;
using ImageAreaData = ZeCImageAreaDataAttribute;
using JawSemantics = ZeCJawSemanticsAttribute;
using RegistrationHints = ZeCRegistrationHintsAttribute;
using Representative = ZeCRepresentativeAttribute;

// Texts in which different values differ, NaN and lone surrogates too.

template<class T>
requires std::integral<T> || std::is_enum_v<T> std::string TextOf(T value)
{
    return std::to_string(static_cast<std::int64_t>(value));
}

inline std::string TextOf(float value)
{
    std::ostringstream out;
    value == value ? out << value : out << std::hex << std::bit_cast<std::uint32_t>(value);
    return out.str();
}

template<class... T>
std::string LineOf(const T&... values)
{
    std::string line = ((TextOf(values) + ", ") + ...);
    return line.substr(0, line.size() - 2);
}

inline std::string TextOf(const CString& value)
{
    std::ostringstream out;
    for (const CbWChar unit : value.GetView()) {
        const bool isPlain = unit >= 0x20 && unit < 0x7F;
        isPlain ? out << static_cast<char>(unit) : out << '\\' << std::hex << unsigned{unit};
    }
    return out.str();
}

inline std::string TextOf(const CbVector3f& value)
{
    return TextOf(value.x) + ' ' + TextOf(value.y) + ' ' + TextOf(value.z);
}

inline std::string TextOf(const CbMatrix4Rf& matrix)
{
    std::string text = "id";
    for (std::size_t i = 0; i < 16; ++i) {
        const std::string value = TextOf(matrix.data()[i]);
        if (value != TextOf(c_matIdentityF.data()[i]))
            text += ' ' + std::to_string(i) + ':' + value;
    }
    return text;
}

inline std::string TextOf(const ZeCQuantizedNormalBinning& binning)
{
    std::string text;
    for (const auto& bin : binning.GetBins()) {
        text += '<' + LineOf(bin.code, bin.count, bin.sum[0], bin.sum[1], bin.sum[2]) + '>';
    }
    return text;
}

template<std::derived_from<const CySurfelCollectionBase> T>
std::string TextOf(const CbSmartPointer<T>& collection)
{
    const auto* const surfels = dynamic_cast<const ZeCSurfelCollectionQMT*>(collection.Get());
    return surfels != nullptr ? TextOf(surfels->GetNrSurfels()) + " surfels" : "null";
}

constexpr auto c_mostInt64 = std::numeric_limits<std::int64_t>::max();
constexpr auto c_leastInt64 = std::numeric_limits<std::int64_t>::min();
constexpr auto c_mostInt = std::numeric_limits<std::int32_t>::max();
constexpr auto c_leastInt = std::numeric_limits<std::int32_t>::min();
constexpr auto c_mostUint = std::numeric_limits<std::uint32_t>::max();

inline void Fill(AreaProperties& area)
{
    area.SetOrientationStrategy(AreaProperties::EOrientationStrategy{c_leastInt});
}
inline std::string Shown(const AreaProperties& area)
{
    return LineOf(area.GetOrientationStrategy());
}

inline void Fill(LoopCount& loops) { loops.SetOptimizationLoopCount(c_mostUint); }
inline std::string Shown(const LoopCount& loops)
{
    return LineOf(loops.GetOptimizationLoopCount());
}

inline void Fill(Representative& representative)
{
    representative.SetGridVoxel(c_leastInt, -1, c_mostInt);
}
inline std::string Shown(const Representative& representative)
{
    int x = 0;
    int y = 0;
    int z = 0;
    representative.GetGridVoxel(x, y, z);
    return LineOf(x, y, z);
}

inline void Fill(ImageAreaData& area)
{
    CbMatrix4Rf trafo = ToFloat(Shift(2.5, -0.0, 0));
    trafo[3][2] = std::bit_cast<float>(0xFFF0BEADU);
    area.SetCorrelationObjectID(CB_TEXT("a\xD800z"));
    area.SetIsCorrelated(true);
    area.SetCorrelationLevel(ImageAreaData::ECorrelationLevel{c_leastInt});
    area.SetCorrelationTrafo(trafo);
    area.SetCorrelationError(std::bit_cast<float>(0xFFADBEEFU));
    trafo = CbMatrix4Rf();
    trafo[0][0] = trafo[2][2] = -1;
    area.SetJawRelaxationTrafo(trafo);
    area.SetIsImpressionScan(true);
    area.SetAnimation(CbMake<ZeCSurfelCollectionQMT>());
    area.SetLastSuccessfulCorrelationTrafo(ToFloat(Shift(0, 0, 7)));
    area.SetLastNodeRevision(c_mostInt64);
    area.SetLastAreaCorrelationRevision(1LL << 32);
    area.SetLastRefAreaCorrelationRevision(-(1LL << 32) - 1);
    area.SetLastGUID(CString(CString::View(CB_TEXT("\xDFFF\0"), 2)));
    area.SetTimeChanged(CTime(c_leastInt64 + 1));
    area.SetLastGUIDRevision(c_leastInt64);
    area.DecrementEnqueuedAreaCorrelationTasks();
}
inline std::string Shown(const ImageAreaData& area)
{
    return LineOf(area.GetCorrelationObjectID(), area.GetIsCorrelated(), area.GetCorrelationLevel(),
                  area.GetCorrelationTrafo(), area.GetCorrelationError(), area.GetIsJawRelaxed(),
                  area.GetJawRelaxationTrafo(), area.GetIsImpressionScan(),
                  area.GetLastNodeRevision(), area.GetLastGUID(), area.GetLastGUIDRevision(),
                  area.GetLastAreaCorrelationRevision(), area.GetLastRefAreaCorrelationRevision(),
                  area.GetTimeChanged().GetTime(), area.GetAnimation(),
                  area.GetLastSuccessfulCorrelationTrafo(),
                  area.GetNumEnqueuedAreaCorrelationTasks());
}

/// Such estimates can only be read.
inline void Fill(JawSemantics& jaw) { ReadRecord(jaw, Golden("jawsemantics_1.bin")); }
inline std::string Shown(const JawSemantics& jaw)
{
    return LineOf(jaw.GetOcclusalDirectionEstimate(), jaw.GetExtraoralDirectionEstimate(),
                  jaw.GetOcclusalDirectionBinning(), jaw.GetExtraoralDirectionBinning(),
                  jaw.GetOcclusalDirectionBinningRevision());
}

inline void Fill(RegistrationHints& hints)
{
    const auto surfels = CbMake<ZeCSurfelCollectionQMT>(
        1U, true, ZeCSurfelContainer::ESurfelAttributeSet::Complete, nullptr);
    surfels->GetPositionAccessor()[0] = {1, -2, 0.5F};
    hints.SetRegistrationHintSurfelCollection(surfels);
    hints.SetDisplayMode(RegistrationHints::ESurfelCollectionDisplayMode{c_mostUint});
    hints.SetComputationStatus(RegistrationHints::EComputationStatus{c_leastInt});
    hints.SetTriangulations(RegistrationHints::Triangulations(3));
    hints.SetHintsComputedRevision(c_mostInt64);
}
inline std::string Shown(const RegistrationHints& hints)
{
    return LineOf(hints.GetRegistrationHintSurfelCollection(), hints.GetDisplayMode(),
                  hints.GetComputationStatus(), hints.GetTriangulations().size(),
                  hints.GetHintsComputedRevision());
}

inline void Fill(ComponentWarning& warning)
{
    warning.SetWarningSurfelCollection(
        CbMake<ZeCSurfelCollectionQMT>(ZeCSurfelContainer::ESurfelAttributeSet::Subsampled));
    warning.SetWarningComputedRevision(c_leastInt64);
}
inline std::string Shown(const ComponentWarning& warning)
{
    return LineOf(warning.GetWarningSurfelCollection(), warning.GetWarningComputedRevision());
}

/// A class, and what its attributes show.
struct AttributeRow
{
    const CbWChar* className = nullptr;
    unsigned line = 0;            ///< of the class's source, where other versions are refused
    const char* golden = nullptr; ///< files of all versions begin so; they hold what Fill() sets
    std::uint32_t oldestVersion = 1;
    std::uint32_t newestVersion = 1;
    bool isCloned = false;
    bool isReset = true;
    std::string fresh;
    std::string filled;
    std::string reset{};             ///< a filled one; as a fresh one where it is empty
    std::vector<std::string> read{}; ///< into a fresh one, in all versions; as a filled one
    std::string kept{}; ///< after a fresh one is read into a filled one; as a fresh one

    void (*fill)(ZeARTTIAttribute&) = nullptr;
    std::string (*shown)(const ZeARTTIAttribute&) = nullptr;

    /// For the names of tests.
    friend void PrintTo(const AttributeRow& row, std::ostream* out) { *out << row.golden; }

    /// With the functions of an attribute class.
    template<class T>
    AttributeRow Of() const
    {
        AttributeRow row = *this;
        if (row.reset.empty()) row.reset = row.fresh;
        if (row.read.empty()) row.read = {row.filled};
        if (row.kept.empty()) row.kept = row.fresh;
        row.fill = [](ZeARTTIAttribute& attribute) { Fill(static_cast<T&>(attribute)); };
        row.shown = [](const ZeARTTIAttribute& attribute) {
            return Shown(static_cast<const T&>(attribute));
        };
        return row;
    }
};

inline std::vector<AttributeRow> AttributeRows()
{
    const std::string freshArea = "00000000-0000-0000-0000-000000000000, 0, 0, id, 3.40282e+38, 0, "
                                  "id, 0, -1, , -1, -1, -1, 0, ";
    const std::string storedArea =
        "a\\d800z, 1, -2147483648, id 12:2.5 13:-0 14:fff0bead, ffadbeef, 0, id 0:-1 10:-1, 1, "
        "9223372036854775807, \\dfff\\0, -9223372036854775808, ";
    const std::string storedJaw =
        "7fc00001 -0 2, 0.5 -0.25 1, <0, 3, -3145728, 0, 1572864>"
        "<255, 4294967295, 4503599626321920, -4503599626321920, 1>, , -9223372036854775808";
    return {AttributeRow{.className = CB_TEXT("ZeCAreaPropertiesAttribute"),
                         .line = 51,
                         .golden = "areaproperties",
                         .fresh = "0",
                         .filled = "-2147483648",
                         .read = {"0"}}
                .Of<AreaProperties>(),
            AttributeRow{.className = CB_TEXT("ZeCBackgroundOptimizationLoopCountAttribute"),
                         .line = 51,
                         .golden = "loopcount",
                         .isCloned = true,
                         .isReset = false,
                         .fresh = "0",
                         .filled = "4294967295",
                         .reset = "4294967295"}
                .Of<LoopCount>(),
            AttributeRow{.className = CB_TEXT("ZeCRepresentativeAttribute"),
                         .line = 41,
                         .golden = "representative",
                         .isCloned = true,
                         .fresh = "2147483647, 2147483647, 2147483647",
                         .filled = "-2147483648, -1, 2147483647"}
                .Of<Representative>(),
            AttributeRow{
                .className = CB_TEXT("ZeCImageAreaDataAttribute"),
                .line = 259,
                .golden = "imageareadata",
                .oldestVersion = 0,
                .newestVersion = 2,
                .fresh = freshArea + "null, id, 0",
                .filled = storedArea + "4294967296, -4294967297, -9223372036854775807, 0 surfels, "
                                       "id 14:7, 4294967295",
                .read = {storedArea + "-1, -1, 0, null, id, 0",
                         storedArea + "4294967296, -4294967297, 0, null, id, 0",
                         storedArea + "4294967296, -4294967297, -9223372036854775807, null, id, 0"},
                .kept = freshArea + "0 surfels, id 14:7, 4294967295"}
                .Of<ImageAreaData>(),
            AttributeRow{.className = CB_TEXT("ZeCJawSemanticsAttribute"),
                         .line = 124,
                         .golden = "jawsemantics",
                         .fresh = "0 0 -1, 1 0 0, , , -1",
                         .filled = storedJaw}
                .Of<JawSemantics>(),
            AttributeRow{.className = CB_TEXT("ZeCRegistrationHintsAttribute"),
                         .line = 85,
                         .golden = "registrationhints",
                         .isCloned = true,
                         .fresh = "null, 0, 0, 0, -1",
                         .filled = "1 surfels, 4294967295, -2147483648, 3, 9223372036854775807",
                         .reset = "1 surfels, 0, 0, 0, 9223372036854775807",
                         .read = {"1 surfels, 4294967295, 0, 0, -1"},
                         .kept = "1 surfels, 0, -2147483648, 3, 9223372036854775807"}
                .Of<RegistrationHints>(),
            AttributeRow{.className = CB_TEXT("ZeCDisconnectedComponentWarningAttribute"),
                         .line = 66,
                         .golden = "componentwarning",
                         .isCloned = true,
                         .fresh = "null, -1",
                         .filled = "0 surfels, -9223372036854775808",
                         .reset = "0 surfels, -9223372036854775808",
                         .read = {"0 surfels, -1"},
                         .kept = "0 surfels, -9223372036854775808"}
                .Of<ComponentWarning>()};
}
