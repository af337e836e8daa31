#pragma once

#include "sessionfile/crc32.h"
#include "sessionfile/sessionerror.h"
#include "sessionfile/sessionreader.h"
#include "sessionfile/sessionwriter.h"
#include "tests/transformationtree/nodes/mappedrecords.h"

#include <algorithm>
#include <concepts>
#include <cstring>
#include <gmock/gmock.h>

inline Bytes SessionOf(const Inner& root)
{
    return Stored([&](auto& stream) { sessionfile::WriteSession(stream, root, {}); });
}

inline Bytes SessionOf(const sessionfile::LoadedSession& session)
{
    return Stored(
        [&](auto& stream) { sessionfile::WriteSession(stream, session.root, session.unknown); });
}

/// The text of the error that a call ends in, or nothing.
template<std::invocable Call>
std::string ErrorOf(const Call& call, sessionfile::SessionError::EKind* kind = nullptr)
{
    try {
        call();
        return {};
    } catch (const sessionfile::SessionError& error) {
        if (kind != nullptr) *kind = error.GetKind();
        return error.what();
    }
}
/// The same of reading bytes. What is read can be written and read again.
inline std::string ErrorOf(const Bytes& bytes, sessionfile::SessionError::EKind* kind = nullptr)
{
    const auto read = [&] {
        const auto session = sessionfile::ReadSession(bytes);
        EXPECT_TRUE(session.root);
        EXPECT_TRUE(sessionfile::ReadSession(SessionOf(session)).root);
    };
    return ErrorOf(read, kind);
}

/// Expects an error of a kind, whose text holds a reason.
template<class Source>
void ExpectError(const Source& source, sessionfile::SessionError::EKind kind,
                 const std::string& reason)
{
    auto actual = sessionfile::SessionError::EKind{-1};
    EXPECT_THAT(ErrorOf(source, &actual), testing::HasSubstr(reason));
    EXPECT_EQ(actual, kind) << reason;
}

/// root(cluster*(a*, b), c*) where a and c share a model. Rings may be made of it.
struct SampleTree
{
    SampleTree()
    {
        LinkByHand(root, cluster);
        LinkByHand(cluster, a);
        LinkByHand(cluster, b);
        LinkByHand(root, c);
        cluster->SetModel(CbMake<ZeCModelQMT>(), 7);
        cluster->SetAttribute(CbMake<Tooth>());
        c->SetRelativeTrafo(CbMatrix4Rd({0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1}));
        root->SetDescription(CB_TEXT("root"));
        b->SetIsNewEntryScan(true);
    }
    SampleTree(const SampleTree&) = delete;
    SampleTree& operator=(const SampleTree&) = delete;
    ~SampleTree()
    {
        for (const auto& inner : {root, cluster}) {
            if (inner) TestAccess::Children(*inner).Clear();
        }
    }

    Inner root = CbMake<ZeCTransformationNodeInner>();
    Inner cluster = CbMake<ZeCTransformationNodeInner>();
    Model scan = CbMake<ZeCModelQMT>(
        CbMake<ZeCSurfelCollectionQMT>(2U, true, ZeCSurfelContainer::ESurfelAttributeSet::Complete,
                                       nullptr),
        true);
    Leaf a = CbMake<ZeCTransformationNodeLeaf>(scan);
    Leaf b = CbMake<ZeCTransformationNodeLeaf>(nullptr);
    Leaf c = CbMake<ZeCTransformationNodeLeaf>(scan);
};

/// The records of a session, to be spoiled before they are put together.
struct Records
{
    explicit Records(const SampleTree& tree)
    {
        for (const Node& node :
             {Node(tree.c), Node(tree.root), Node(tree.b), Node(tree.a), Node(tree.cluster)}) {
            announcements.push_back(Stored(
                [&](auto& stream) { NodeMapper().WriteNodeForInstantiation(stream, node); }));
            structure.push_back(Stored([&](auto& stream) {
                NodeMapper().WriteNodeByReference(stream, node);
                node->SerializeStructure(stream);
            }));
        }
        attributes.push_back(Stored([&](auto& stream) {
            NodeMapper().WriteNodeByReference(stream, tree.cluster);
            tree.cluster->SerializeAttributes(stream);
        }));
        for (const Model& model : {tree.scan, tree.cluster->GetModel()}) {
            models.push_back(
                Stored([&](auto& stream) { ModelMapper().WriteModel(stream, model); }));
            models.back().resize(std::max<std::size_t>(models.back().size(), 1024));
        }
        nodeCount = static_cast<std::uint32_t>(announcements.size());
        ClearMappers();
    }

    [[nodiscard]] Bytes Join() const
    {
        return Stored([&](auto& stream) {
            stream.WriteBuffer("\x89SESS\r\n\x1A", 8);
            stream.WriteVersion(1);
            const auto modelCount = static_cast<std::uint32_t>(models.size());
            section(stream, 1, announcements, [&](auto& to) { to << nodeCount << modelCount; });
            section(stream, 2, structure, [](auto&) {});
            const auto attributeCount = static_cast<std::uint32_t>(attributes.size());
            section(stream, 3, attributes, [&](auto& to) { to << attributeCount; });
            for (const auto& model : models) section(stream, 4, {model}, [](auto&) {});
        });
    }

    std::vector<Bytes> announcements;
    std::vector<Bytes> structure;
    std::vector<Bytes> attributes;
    std::vector<Bytes> models;
    std::uint32_t nodeCount;

private:
    template<class WriteCounts>
    static void section(CbStreamWriteBinary& stream, std::uint32_t number,
                        const std::vector<Bytes>& records, const WriteCounts& writeCounts)
    {
        CyStreamWriteBinaryBuffer content;
        writeCounts(content);
        for (const auto& record : records) content.WriteBuffer(record.data(), record.size());
        stream << number << std::uint64_t{content.GetCount()}
               << sessionfile::Crc32(content.GetBytes());
        stream.WriteBuffer(content.GetData(), content.GetCount());
    }
};

/// Gives all classes of a name another one of the same length.
inline void RenameClass(Bytes& bytes, const CString& name, const CString& other)
{
    const auto stored = [](const CString& text) {
        return Stored([&](auto& stream) { stream << text; });
    };
    const Bytes from = stored(name);
    const Bytes to = stored(other);
    for (auto at = bytes.begin();;) {
        at = std::search(at, bytes.end(), from.begin(), from.end());
        if (at == bytes.end()) return;
        at = std::copy(to.begin(), to.end(), at);
    }
}

/// Makes the checksums of all sections right that lie in the bytes as a whole.
inline void RepairChecksums(Bytes& bytes)
{
    for (std::size_t at = 12; at + 16 <= bytes.size();) {
        std::uint64_t length = 0;
        std::memcpy(&length, &bytes[at + 4], sizeof length);
        if (length > bytes.size() - at - 16) return;
        const auto size = static_cast<std::size_t>(length);
        const std::uint32_t crc = sessionfile::Crc32(std::span(bytes).subspan(at + 16, size));
        std::memcpy(&bytes[at + 12], &crc, sizeof crc);
        at += 16 + size;
    }
}
