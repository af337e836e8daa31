// Session files. Most inputs get lengths and checksums that are right, so that what is behind them
// is reached; they are session files all the same, which treeinspect reads too.

#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/treewalks.h"
#include "tests/sessionfile/sessionrecords.h"
#include "tests/support/managerfixture.h"

#include <random>

using namespace sessionfile;

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace
{

constexpr std::size_t c_header = 12;
constexpr std::size_t c_sectionHeader = 16;

struct RootedTree : NodeManagerTest
{
    void TestBody() override {}

    void ExpectValid(const Inner& root)
    {
        manager().SetRootNode(root);
        const auto lock = manager().GetSingleReadHandleLocked(root);
        EXPECT_TRUE(manager().IsValid());
    }
};

/// Where the sections of a session begin that lie in it as a whole.
std::vector<std::size_t> sectionsOf(const Bytes& bytes)
{
    std::vector<std::size_t> sections;
    for (std::size_t at = c_header; at + c_sectionHeader <= bytes.size();) {
        std::uint64_t length = 0;
        std::memcpy(&length, &bytes[at + 4], sizeof length);
        if (length > bytes.size() - at - c_sectionHeader) break;
        sections.push_back(at);
        at += c_sectionHeader + static_cast<std::size_t>(length);
    }
    return sections;
}

/// Changes the content of the section at a place, and its length.
void mutateSection(Bytes& bytes, std::size_t at, std::size_t room)
{
    std::uint64_t length = 0;
    std::memcpy(&length, &bytes[at + 4], sizeof length);
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at + c_sectionHeader);
    const auto end = begin + static_cast<std::ptrdiff_t>(length);
    Bytes content(begin, end);
    content.resize(content.size() + room);
    if (content.empty()) return;
    content.resize(LLVMFuzzerMutate(content.data(), content.size() - room, content.size()));
    length = content.size();
    std::memcpy(&bytes[at + 4], &length, sizeof length);
    bytes.insert(bytes.erase(begin, end), content.begin(), content.end());
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed)
{
    std::minstd_rand random(seed);
    Bytes bytes(data, data + size);
    const auto sections = sectionsOf(bytes);
    if (sections.empty() || random() % 8 == 0) return LLVMFuzzerMutate(data, size, maxSize);
    mutateSection(bytes, sections[random() % sections.size()], maxSize - size);
    RepairChecksums(bytes);
    std::copy(bytes.begin(), bytes.end(), data);
    return bytes.size();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    LoadedSession session;
    try {
        const LittleMemory memory(size);
        session = ReadSession({data, size});
    } catch (const SessionError& error) {
        EXPECT_NE(error.GetKind(), SessionError::EKind::Unwritable);
        return 0;
    }
    const Bytes bytes = SessionOf(session); // what is of unknown classes is in it as well
    const Inner root = session.root;
    EXPECT_EQ(SessionOf(ReadSession(bytes)), bytes);
    const std::size_t count = CountTree(root);
    EXPECT_NE(count, 0U);
    WalkTree(root, count);
    RootedTree().ExpectValid(root);
    return 0;
}
