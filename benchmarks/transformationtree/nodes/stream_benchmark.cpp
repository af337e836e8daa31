// Storing a tree as records and reading it back, in memory.

#include "benchmarks/support/ratiobenchmark.h"
#include "benchmarks/transformationtree/manager/managedtree.h"
#include "benchmarks/transformationtree/walks/plaintree.h"
#include "platform/base/cbformat.h"
#include "platform/base/cystreamreadbinarybuffer.h"
#include "platform/base/cystreamwritebinarybuffer.h"
#include "transformationtree/nodes/zectransformationnodeserializationidmapper.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstring>
#include <stdexcept>

namespace
{

using Manager = ZeCTransformationNodeManager;

constexpr std::size_t c_size = 100000;

auto& mapper() { return CbSingleton<ZeCTransformationNodeSerializationIDMapper>::GetInstance(); }

// What the nodes of the tree hold.
struct Content
{
    Content()
    {
        for (std::size_t i = 0; i < c_size; ++i) {
            trafos.push_back(SomeTrafo(i));
            texts.push_back(CbFormat(CB_TEXT("scan %d"), static_cast<int>(i)));
            if (i > 0) isInner[father(i)] = true;
        }
    }

    // Makes the nodes, in pre-order, by their constructors and setters.
    [[nodiscard]] std::vector<Manager::Node> MakeNodes() const
    {
        auto& manager = CbSingleton<Manager>::GetInstance();
        std::vector<Manager::Node> nodes;
        nodes.reserve(c_size);
        for (std::size_t i = 0; i < c_size; ++i) {
            Manager::Node node;
            if (isInner[i]) {
                node = CbMake<ZeCTransformationNodeInner>();
            } else {
                node = CbMake<ZeCTransformationNodeLeaf>();
            }
            node->SetDescription(texts[i]);
            node->SetRelativeTrafo(trafos[i]);
            node->SetNodeRevision(static_cast<ZeTNodeRevision>(2 * i), 1);
            node->SetNodeRevision(static_cast<ZeTNodeRevision>(2 * i + 1), 2);
            node->SetVisible(true);
            if (i > 0) {
                manager.AppendChild(
                    CbStaticPointerCast<ZeCTransformationNodeInner>(nodes[father(i)]), node);
            }
            nodes.push_back(std::move(node));
        }
        return nodes;
    }

    [[nodiscard]] std::size_t father(std::size_t i) const
    {
        return static_cast<std::size_t>(fathers[i]);
    }

    std::vector<int> fathers = FanOut8(c_size);
    std::vector<bool> isInner = std::vector<bool>(c_size);
    std::vector<CbMatrix4Rd> trafos;
    std::vector<CString> texts;
};

// The records of a tree: all announcements, then all structures.
struct Records
{
    Records()
    {
        Write(stream);
        bytes.assign(stream.GetData(), stream.GetData() + stream.GetCount());
        mapper().ClearMapping();
    }

    void Write(CbStreamWriteBinary& out) const
    {
        for (const auto& node : nodes) mapper().WriteNodeForInstantiation(out, node);
        for (const auto& node : nodes) node->SerializeStructure(out);
    }

    Content content;
    std::vector<Manager::Node> nodes = content.MakeNodes();
    CyStreamWriteBinaryBuffer stream;
    std::vector<std::uint8_t> bytes;
};

// The reference: nodes that write the same bytes by hand.
class PackedWriter
{
public:
    explicit PackedWriter(std::size_t room) : bytes_(room) {}

    void Write(const std::vector<const PlainNode*>& nodes)
    {
        end_ = bytes_.data();
        for (const PlainNode* const node : nodes) {
            const auto& type = node->children.empty() ? ZeCTransformationNodeLeaf::RTTI
                                                      : ZeCTransformationNodeInner::RTTI;
            writeUnits(type.GetName().data(), type.GetName().size());
            write(node->id);
        }
        for (const PlainNode* const node : nodes) {
            write(std::uint32_t{1});
            write(node->father != nullptr ? node->father->id : c_noId);
            write(c_noId);
            write(std::uint32_t{1});
            write(node->trafo);
            writeUnits(node->description.data(), node->description.size() / sizeof(CbWChar));
            write(node->id);
            write(node->revisions);
            write(node->visible);
            if (node->children.empty()) {
                write(std::uint32_t{2});
                write(false);
                continue;
            }
            write(std::uint32_t{1});
            write(std::int64_t{-1});
            write(static_cast<std::uint32_t>(node->children.size()));
            for (const auto& child : node->children) write(child->id);
        }
    }
    [[nodiscard]] std::size_t GetCount() const
    {
        return static_cast<std::size_t>(end_ - bytes_.data());
    }

private:
    static constexpr std::array<std::uint64_t, 2> c_noId{};

    template<class T>
    void write(const T& value)
    {
        std::memcpy(end_, &value, sizeof value);
        end_ += sizeof value;
    }
    void writeUnits(const void* units, std::size_t count)
    {
        write(static_cast<std::uint32_t>(count));
        std::memcpy(end_, units, count * sizeof(CbWChar));
        end_ += count * sizeof(CbWChar);
    }

    std::vector<std::uint8_t> bytes_;
    std::uint8_t* end_ = nullptr;
};

// In pre-order, described as the nodes that are measured.
void collect(PlainNode& node, const Content& content, std::vector<const PlainNode*>& nodes)
{
    const CString& text = content.texts[nodes.size()];
    node.description.assign(reinterpret_cast<const char*>(text.GetString()),
                            text.GetLength() * sizeof(CbWChar));
    nodes.push_back(&node);
    for (const auto& child : node.children) collect(*child, content, nodes);
}

RatioBenchmark writeBenchmark()
{
    return {"stream/write", c_size, c_size, "packing the same records by hand", 4, [] {
                const auto records = std::make_shared<Records>();
                const std::shared_ptr<PlainNode> plain = BuildPlainTree(records->content.fathers);
                const auto nodes = std::make_shared<std::vector<const PlainNode*>>();
                collect(*plain, records->content, *nodes);
                const auto packed = std::make_shared<PackedWriter>(2 * records->bytes.size());
                return RatioBenchmark::Pair{
                    [=] {
                        records->Write(records->stream);
                        if (records->stream.GetCount() != records->bytes.size())
                            throw std::logic_error("the records have changed");
                    },
                    [=, keep = plain] {
                        packed->Write(*nodes);
                        if (packed->GetCount() != records->bytes.size())
                            throw std::logic_error("these are other records");
                    },
                    [=] {
                        mapper().ClearMapping();
                        records->stream.Empty();
                    }};
            }};
}

// Has the allocator put in order what was freed, which it would do in the middle of a reading.
void settleFreedMemory()
{
    std::vector<char> large(1 << 20);
    benchmark::DoNotOptimize(large.data());
}

RatioBenchmark readBenchmark()
{
    return {"stream/read", c_size, c_size, "creating and filling the nodes", 2, [] {
                const auto records = std::make_shared<Records>();
                const auto made = std::make_shared<std::vector<Manager::Node>>();
                const auto read = std::make_shared<std::vector<Manager::Node>>();
                return RatioBenchmark::Pair{[=] {
                                                CyStreamReadBinaryBuffer stream(records->bytes);
                                                for (std::size_t i = 0; i < c_size; ++i) {
                                                    read->push_back(
                                                        mapper().ReadNodeAndInstantiate(stream));
                                                }
                                                for (const auto& node : *read)
                                                    node->SerializeStructure(stream);
                                            },
                                            [=] { *made = records->content.MakeNodes(); },
                                            [=] {
                                                mapper().ClearMapping();
                                                read->clear();
                                                settleFreedMemory();
                                            },
                                            [=] {
                                                made->clear();
                                                settleFreedMemory();
                                            }};
            }};
}

} // namespace

std::vector<RatioBenchmark> StreamBenchmarks() { return {writeBenchmark(), readBenchmark()}; }
