// Bytes that were cut, damaged or made to harm.

#include "sessionfile/sessionfile.h"
#include "tests/sessionfile/sessionrecords.h"
#include "tests/support/failingallocations.h"
#include "tests/support/tempfolder.h"
#include "transformationtree/attributes/zecdisconnectedcomponentwarningattribute.h"
#include "transformationtree/attributes/zecregistrationhintsattribute.h"

#include <functional>
#include <gmock/gmock.h>

using namespace sessionfile;
using EKind = SessionError::EKind;
using testing::HasSubstr;
using Collection = ZeCSurfelCollectionQMT;

TEST(Session, IsUnreadableWhereverItIsCutOrDamaged)
{
    const SampleTree tree;
    Bytes bytes = SessionOf(tree.root);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        ExpectError(Bytes(bytes.begin(), bytes.begin() + static_cast<long>(length)),
                    EKind::Unreadable, length < 12 ? "no session" : "cut short");
    }
    for (auto& byte : bytes) {
        byte ^= 0x10;
        ExpectError(bytes, EKind::Unreadable, "");
        byte ^= 0x10;
    }
    bytes.push_back(0);
    EXPECT_EQ(ErrorOf(bytes), "session: more bytes than sections");
}

TEST(Session, IsInconsistentWhereverASectionIsCut)
{
    const struct
    {
        const char* name;
        std::vector<Bytes> Records::*section;
        const CbWChar* attribute = CB_TEXT("Tooth");
    } cases[] = {{"announcements", &Records::announcements},
                 {"structure", &Records::structure},
                 {"attributes", &Records::attributes},
                 {"attributes of an unknown class", &Records::attributes, CB_TEXT("Molar")},
                 {"models", &Records::models}};
    for (const auto& [name, section, attribute] : cases) {
        SCOPED_TRACE(name);
        Records records{SampleTree()};
        RenameClass(records.attributes[0], CB_TEXT("Tooth"), attribute);
        Bytes& last = (records.*section).back();
        while (!last.empty()) {
            last.pop_back();
            ExpectError(records.Join(), EKind::Inconsistent, "");
        }
    }
}

class HarmfulSession : public TempFolder
{};

// Each as large as 4 MiB allow.
TEST_F(HarmfulSession, TakesLittleMemoryWhateverItsBytesSay)
{
    constexpr std::size_t c_most = std::size_t{4} << 20;
    const auto fill = [](std::vector<Bytes>& records, std::size_t bytes) {
        const Bytes record = records[0];
        records.assign(bytes / record.size(), record);
    };
    const auto surfel = [] {
        return CbMake<Collection>(1U, true, Collection::ESurfelAttributeSet::Complete, nullptr);
    };
    const auto plain = [] { return CbMake<ZeCTransformationNodeLeaf>(); };
    const auto withModel = [&] {
        return CbMake<ZeCTransformationNodeLeaf>(CbMake<ZeCModelQMT>(surfel(), surfel()));
    };
    const auto withAttributes = [&] {
        const Leaf leaf = plain();
        const auto hints = CbMake<ZeCRegistrationHintsAttribute>();
        hints->SetRegistrationHintSurfelCollection(surfel());
        leaf->SetAttribute(hints);
        const auto warning = CbMake<ZeCDisconnectedComponentWarningAttribute>();
        warning->SetWarningSurfelCollection(surfel());
        leaf->SetAttribute(warning);
        return leaf;
    };
    const auto star = [](const std::function<Leaf()>& makeLeaf) {
        const Inner root = CbMake<ZeCTransformationNodeInner>();
        LinkByHand(root, makeLeaf());
        const std::size_t one = SessionOf(root).size();
        LinkByHand(root, makeLeaf());
        const std::size_t each = SessionOf(root).size() - one;
        for (std::size_t i = 4; i < c_most / each; ++i) LinkByHand(root, makeLeaf());
        return SessionOf(root);
    };
    const SampleTree tree;
    Records announcements(tree);
    fill(announcements.announcements, c_most);
    announcements.nodeCount = static_cast<std::uint32_t>(announcements.announcements.size());
    Records models(tree);
    fill(models.models, c_most);
    Records attributes(tree); // of classes without a name
    constexpr std::uint32_t c_count = c_most / 8;
    attributes.attributes[0].resize(20);
    const auto* const count = reinterpret_cast<const std::uint8_t*>(&c_count);
    attributes.attributes[0].insert(attributes.attributes[0].end(), count, count + sizeof c_count);
    attributes.attributes[0].resize(24 + 8 * c_count);
    Bytes unknown = star([&] {
        const Leaf leaf = plain();
        leaf->SetAttribute(CbMake<Tooth>());
        return leaf;
    });
    RenameClass(unknown, CB_TEXT("Tooth"), CB_TEXT("Molar"));
    RepairChecksums(unknown);
    tree.root->SetDescription(CString(std::u16string(c_most / 2 - 2000, u'x')));

    for (const auto& bytes :
         {announcements.Join(), models.Join(), star(plain), star(withModel), star(withAttributes),
          SessionOf(tree.root), attributes.Join(), unknown}) {
        EXPECT_GT(bytes.size(), c_most - 20000);
        const auto path = Write("a.session", std::string(bytes.begin(), bytes.end()));
        const std::size_t before = AllocatedBytes();
        StartAllocationPeak();
        try {
            (void)LoadSession(path);
        } catch (const SessionError&) {
        }
        EXPECT_LT(AllocationPeak() - before, 4 * c_most);
        EXPECT_EQ(AllocatedBytes(), before);
    }
}
