#include "platform/base/cbcreate.h"
#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionwrongfileversion.h"
#include "platform/base/cbformat.h"
#include "tests/support/scenario.h"
#include "tests/transformationtree/attributes/attributerows.h"

#include <cctype>
#include <gmock/gmock.h>

namespace
{

using Attribute = CbSmartPointer<ZeARTTIAttribute>;

// Opens the reset of all attributes.
struct AnyReset : ZeARTTIAttribute
{
    using ZeARTTIAttribute::ResetAttribute;
};

class EachAttribute : public testing::TestWithParam<AttributeRow>
{
protected:
    EachAttribute() { row.fill(*filled); }

    [[nodiscard]] Attribute make() const { return CbCreate<ZeARTTIAttribute>(row.className); }
    [[nodiscard]] Bytes goldenOf(std::uint32_t version) const
    {
        return Golden(row.golden + ("_" + std::to_string(version) + ".bin"));
    }

    const AttributeRow row = GetParam();
    const Attribute fresh = make();
    const Attribute filled = make();
};

TEST_P(EachAttribute, HasDefaultsAndIsResetToThem)
{
    EXPECT_EQ(row.shown(*fresh), row.fresh);
    EXPECT_EQ(row.shown(*filled), row.filled);
    EXPECT_EQ(((*filled).*&AnyReset::ResetAttribute)(), row.isReset);
    EXPECT_EQ(row.shown(*filled), row.reset);
}

TEST_P(EachAttribute, IsClonedWhereItsClassCan)
{
    const auto clone = filled->GetRTTI().getClone();
    ASSERT_EQ(clone != nullptr, row.isCloned);
    if (!row.isCloned) return;
    const Attribute copy(static_cast<ZeARTTIAttribute*>(clone(*filled)));
    EXPECT_TRUE(copy->Is(filled->GetRTTI()));
    EXPECT_EQ(row.shown(*copy), row.filled);
    EXPECT_THROW(clone(*CbMake<ZeCSurfelCollectionQMT>()), std::bad_cast);
}

TEST_P(EachAttribute, KeepsOnlyWhatIsNotStoredWhereItReads)
{
    EXPECT_EQ(ReadRecord(*filled, RecordOf(*fresh)), 0U);
    EXPECT_EQ(row.shown(*filled), row.kept);
}

TEST_P(EachAttribute, ReadsTheGoldenFilesAndWritesTheNewest)
{
    EXPECT_EQ(HexOf(RecordOf(*filled)), HexOf(goldenOf(row.newestVersion)));
    for (std::uint32_t version = row.oldestVersion; version <= row.newestVersion; ++version) {
        const Attribute into = make();
        EXPECT_EQ(ReadRecord(*into, goldenOf(version)), 0U);
        EXPECT_EQ(row.shown(*into), row.read[version - row.oldestVersion]) << version;
    }
}

TEST_P(EachAttribute, StaysAsItIsWhereARecordIsOfAnotherVersionOrCut)
{
    std::string source = CString(row.className).ToUtf8();
    std::transform(source.begin(), source.end(), source.begin(), &tolower);
    for (std::uint32_t version : {0U, row.newestVersion + 1, c_mostUint}) {
        if (version >= row.oldestVersion && version <= row.newestVersion) continue;
        Bytes bytes = goldenOf(row.newestVersion);
        std::memcpy(bytes.data(), &version, sizeof version);
        ExpectThrowsFrom<CbExceptionWrongFileVersion>(source.c_str(), row.line,
                                                      [&] { ReadRecord(*filled, bytes); });
    }
    for (std::uint32_t version = row.oldestVersion; version <= row.newestVersion; ++version) {
        for (const Attribute& into : {fresh, filled}) {
            ExpectCutsThrow<CbExceptionStream>(goldenOf(version),
                                               [&](const Bytes& cut) { ReadRecord(*into, cut); });
        }
    }
    EXPECT_EQ(row.shown(*fresh), row.fresh);
    EXPECT_EQ(row.shown(*filled), row.filled);
}

INSTANTIATE_TEST_SUITE_P(All, EachAttribute, testing::ValuesIn(AttributeRows()),
                         [](const auto& row) { return std::string(row.param.golden); });

TEST(AnAssignedAttribute, BecomesAsTheOther)
{
    const auto expectAssigned = [](const auto& from, const auto& to) {
        Fill(*from);
        EXPECT_EQ(Shown(*to = *from), Shown(*from));
        EXPECT_EQ(Shown(*to = *to), Shown(*from));
    };
    expectAssigned(CbMake<ComponentWarning>(), CbMake<ComponentWarning>());
    expectAssigned(CbMake<RegistrationHints>(), CbMake<RegistrationHints>());
    expectAssigned(CbMake<Representative>(), CbMake<Representative>());
}

TEST(ANodesAttributes, ComeBackInTheirOrderAndAreIndependentAfterACopy)
{
    const auto node = CbMake<ZeCTransformationNodeInner>();
    const auto copy = CbMake<ZeCTransformationNodeInner>();
    const auto rows = AttributeRows();
    for (const auto& row : rows) {
        const auto attribute = CbCreate<ZeARTTIAttribute>(row.className);
        row.fill(*attribute);
        node->SetAttribute(attribute);
    }
    copy->CopyAttributesFrom(*node);
    ReadFrom(Stored([&](auto& stream) { node->SerializeAttributes(stream); }),
             [&](auto& stream) { node->SerializeAttributes(stream); });
    ASSERT_EQ(node->GetAllAttributes().size(), rows.size());
    auto attribute = node->GetAllAttributes().begin();
    for (const auto& row : rows) EXPECT_EQ(row.shown(**attribute++), row.read.back());
    EXPECT_EQ(copy->GetAllAttributes().GetTypes(), node->GetAllAttributes().GetTypes());

    node->CopyAttributesFrom(*copy);
    node->ResetAttributes();
    attribute = copy->GetAllAttributes().begin();
    for (const auto& row : rows) {
        EXPECT_EQ(row.shown(**attribute++), row.isCloned ? row.filled : row.reset);
    }
}

TEST(AnImageArea, TellsOfItselfInOneLine)
{
    const auto area = CbMake<ImageAreaData>();
    const auto expectLine = [&](const CbWChar* format, const void* animation) {
        EXPECT_EQ(area->ToString(), CbFormat(format, area.Get(), animation));
    };
    expectLine(CB_TEXT("Instance %X: running Tasks:0 "
                       "corrObjID:00000000-0000-0000-0000-000000000000 isCorr:0 corrLvl:0 "
                       "corrTrafo==id corrErr:340282346638528859811704183484516925440.000000 "
                       "isRelaxed:0 relxTrafo==id isImpress:0 spAnimation:%X "
                       "lastSuccCorrTrafo==id lastNodeRev:-1 lastAreaCorrRev:-1 "
                       "lastRefAreaCorrRev:-1 lastaGUID: lastaGUIDRef:-1"),
               nullptr);
    Fill(*area);
    area->SetCorrelationObjectID(CB_TEXT("object"));
    area->SetCorrelationError(0.25F);
    area->SetIsJawRelaxed(true);
    area->SetJawRelaxationTrafo(ToFloat(Shift(-0.0, 0, 0)));
    area->SetLastGUID(CB_TEXT("guid"));
    expectLine(CB_TEXT("Instance %X: running Tasks:4294967295 corrObjID:object isCorr:1 "
                       "corrLvl:-2147483648 corrTrafo!=id corrErr:0.250000 isRelaxed:1 "
                       "relxTrafo==id isImpress:1 spAnimation:%X lastSuccCorrTrafo!=id "
                       "lastNodeRev:9223372036854775807 lastAreaCorrRev:4294967296 "
                       "lastRefAreaCorrRev:-4294967297 lastaGUID:guid "
                       "lastaGUIDRef:-9223372036854775808"),
               area->GetAnimation().Get());
    area->SetLastSuccessfulCorrelationTrafo(c_matIdentityF);
    EXPECT_THAT(area->ToString().ToUtf8(),
                testing::ContainsRegex("corrTrafo!=id .*lastSuccCorrTrafo==id"));
}

TEST(AnImageArea, CountsTasksAndTurnsImpressions)
{
    const auto area = CbMake<ImageAreaData>();
    EXPECT_EQ(area->IncrementEnqueuedAreaCorrelationTasks(), 1U);
    EXPECT_EQ(area->IncrementEnqueuedAreaCorrelationTasks(), 2U);
    EXPECT_EQ(area->DecrementEnqueuedAreaCorrelationTasks(), 1U);
    EXPECT_EQ(area->GetImpressionMatrix(), c_matIdentityF);
    area->SetIsImpressionScan(true);
    EXPECT_EQ(TransformPoint({1, 2, 3}, area->GetImpressionMatrix()), (CbVector3f{-1, 2, -3}));
    EXPECT_EQ(Compose(area->GetImpressionMatrix(), area->GetImpressionMatrix()), c_matIdentityF);
    Fill(*area);
    EXPECT_EQ(TextOf(area->GetCorrelationMatrix()), TextOf(area->GetCorrelationTrafo()));
}

TEST(AnImageArea, BeginsWithTheNewestRevisionOfItsNode)
{
    const auto area = CbMake<ImageAreaData>();
    const auto expected = CbMake<ImageAreaData>();
    const Scenario tree("area(a, b)");
    tree["b"]->SetNodeRevision(c_mostInt64, 2);
    Fill(*area);
    area->InitFromAreaNode(nullptr);
    EXPECT_EQ(Shown(*area), Shown(*expected));
    Fill(*area);
    area->InitFromAreaNode(tree.GetInner("area"));
    expected->SetLastNodeRevision(c_mostInt64);
    expected->SetLastAreaCorrelationRevision(c_mostInt64);
    expected->SetLastRefAreaCorrelationRevision(c_mostInt64);
    EXPECT_EQ(Shown(*area), Shown(*expected));
}

TEST(AnImageArea, KeepsWhatAnOlderVersionDoesNotHave)
{
    const auto area = CbMake<ImageAreaData>();
    area->SetLastAreaCorrelationRevision(5);
    area->SetLastRefAreaCorrelationRevision(6);
    area->SetTimeChanged(CTime(7));
    for (const auto& [golden, kept] : {std::pair("imageareadata_0.bin", "5, 6, 7"),
                                       {"imageareadata_1.bin", "4294967296, -4294967297, 7"}}) {
        ReadRecord(*area, Golden(golden));
        EXPECT_EQ(LineOf(area->GetLastAreaCorrelationRevision(),
                         area->GetLastRefAreaCorrelationRevision(),
                         area->GetTimeChanged().GetTime()),
                  kept);
    }
}

TEST(TheJawsDirections, AreEstimatedAnewOnlyWhereAHistogramWasSet)
{
    const auto normals = [](int count, const CbVector3f& direction) {
        ZeCQuantizedNormalBinning binning;
        for (; count > 0; --count) binning.Add(ZeCQuantizedNormal(direction));
        return binning;
    };
    const auto mean = [](const auto& binning) {
        return binning.ComputeMeanDirectionAboveThresholdCount(1);
    };
    const auto expectStored = [](const JawSemantics& jaw, const CbVector3f& occlusal,
                                 const CbVector3f& extraoral, bool isUpToDate) {
        const Bytes bytes = RecordOf(jaw);
        EXPECT_EQ(HexOf(Bytes(bytes.begin() + 4, bytes.begin() + 29)),
                  HexOf(Stored([&](auto& stream) {
                      stream << occlusal.x << occlusal.y << occlusal.z;
                      stream << extraoral.x << extraoral.y << extraoral.z << isUpToDate;
                  })));
    };
    const auto x = normals(2, {-1, 0, 0});
    const auto y = normals(2, {0, 1, 0});
    const auto jaw = CbMake<JawSemantics>();
    expectStored(*jaw, {0, 0, -1}, {0, 0, 0}, false);
    jaw->SetOcclusalDirectionBinning(normals(1, {0, 1, 0}));
    EXPECT_EQ(jaw->GetOcclusalDirectionEstimate(), (CbVector3f{0, 0, -1})) << "one is not enough";
    jaw->SetExtraoralDirectionBinning(x);
    EXPECT_EQ(jaw->GetExtraoralDirectionEstimate(), mean(x));
    jaw->SetOcclusalDirectionBinning(y);
    EXPECT_EQ(jaw->GetOcclusalDirectionEstimate(), mean(y));
    expectStored(*jaw, mean(y), mean(x), true);

    Fill(*jaw);
    EXPECT_EQ(jaw->GetExtraoralDirectionEstimate(), (CbVector3f{0.5F, -0.25F, 1})) << "as read";
    jaw->SetOcclusalDirectionBinning(y);
    EXPECT_EQ(jaw->GetExtraoralDirectionEstimate(), (CbVector3f{1, 0, 0})) << "it has no histogram";
    Fill(*jaw);
    jaw->ResetAttribute();
    expectStored(*jaw, {0, 0, -1}, {0.5F, -0.25F, 1}, false);
}

TEST(AStoredSurfelCollection, MayBeMissingUnknownOrOfAnotherLength)
{
    const auto expectBlocks = [](auto& attribute, const Bytes& golden, std::size_t begin,
                                 const auto& get) {
        const Bytes head(golden.begin(), golden.begin() + static_cast<long>(begin));
        const auto record = [&](const auto& write) {
            return Stored([&](auto& stream) {
                stream.WriteBuffer(head.data(), head.size());
                write(stream);
            });
        };
        Bytes bytes = RecordOf(attribute);
        EXPECT_EQ(bytes.size(), begin + 1);
        EXPECT_EQ(bytes.back(), 0) << "none";

        ReadRecord(attribute, golden);
        const auto present = get(attribute);
        EXPECT_TRUE(present);
        EXPECT_EQ(ReadRecord(attribute, record([](auto& stream) { stream << false; })), 0U);
        EXPECT_EQ(get(attribute), present) << "stays";

        bytes = golden;
        bytes[begin + 5 + 44] = 1; // the length
        EXPECT_EQ(ReadRecord(attribute, bytes), 0U) << "a known class knows its own end";
        EXPECT_NE(get(attribute), present);

        for (const auto* name : {CB_TEXT("Unknown"), CB_TEXT("CySurfelCollectionBase"),
                                 CB_TEXT("ZeCRepresentativeAttribute")}) {
            ReadRecord(attribute, golden);
            const auto unknown = record([&](auto& stream) {
                stream << true << CString(name) << std::uint32_t{3} << std::int32_t{0};
            });
            EXPECT_EQ(ReadRecord(attribute, unknown), 1U) << "what follows is not touched";
            EXPECT_FALSE(get(attribute)) << CString(name).ToUtf8();
        }
        ReadRecord(attribute, golden);
        const auto tooShort = record([](auto& stream) {
            stream << true << CString(CB_TEXT("Unknown")) << c_mostUint << true;
        });
        EXPECT_THROW(ReadRecord(attribute, tooShort), CbExceptionStream);
        EXPECT_TRUE(get(attribute));
    };
    // Collections begin behind the version, and a display mode.
    expectBlocks(*CbMake<RegistrationHints>(), Golden("registrationhints_1.bin"), 8,
                 [](auto& hints) { return hints.GetRegistrationHintSurfelCollection(); });
    expectBlocks(*CbMake<ComponentWarning>(), Golden("componentwarning_1.bin"), 4,
                 [](auto& warning) { return warning.GetWarningSurfelCollection(); });
}

} // namespace
