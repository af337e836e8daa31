// Storing a tree as records and reading it back, in memory.

#include "benchmarks/support/ratiobenchmark.h"
#include "benchmarks/transformationtree/managedtree.h"
#include "benchmarks/transformationtree/plaintree.h"
#include "platform/base/cbformat.h"
#include "platform/base/cystreamreadbinarybuffer.h"
#include "platform/base/cystreamwritebinarybuffer.h"
#include "transformationtree/zectransformationnodeserializationidmapper.h"

#include <cstring>
#include <stdexcept>

namespace
{

using Manager = ZeCTransformationNodeManager;

constexpr std::size_t c_size = 100000;

auto& mapper() { return CbSingleton<ZeCTransformationNodeSerializationIDMapper>::GetInstance(); }

void fill(ZeCTransformationNode& node, std::size_t index)
{
    node.SetDescription(CbFormat(CB_TEXT("scan %d"), static_cast<int>(index)));
    node.SetRelativeTrafo(SomeTrafo(index));
    node.SetNodeRevision(static_cast<long long>(2 * index), 1);
    node.SetNodeRevision(static_cast<long long>(2 * index + 1), 2);
    node.SetVisible(true);
}

std::vector<Manager::Node> makeNodes(const std::vector<int>& shape)
{
    auto nodes = BuildNodes(shape);
    for (std::size_t i = 0; i < nodes.size(); ++i) fill(*nodes[i], i);
    return nodes;
}

void forget(const std::vector<Manager::Node>& nodes)
{
    auto& manager = CbSingleton<Manager>::GetInstance();
    for (const auto& node : nodes) manager.DeleteNode(node);
}

// The records of a tree, one behind the other.
struct Records
{
    Records()
    {
        nodes = makeNodes(FanOut8(c_size));
        CyStreamWriteBinaryBuffer stream;
        for (const auto& node : nodes) {
            mapper().WriteNodeForInstantiation(stream, node);
            ends.push_back(stream.GetCount());
        }
        for (const auto& node : nodes) {
            node->SerializeStructure(stream);
            ends.push_back(stream.GetCount());
        }
        bytes.assign(stream.GetData(), stream.GetData() + stream.GetCount());
        mapper().ClearMapping();
        forget(nodes);
    }

    std::vector<Manager::Node> nodes;
    std::vector<std::uint8_t> bytes;
    std::vector<std::size_t> ends;
};

RatioBenchmark writeBenchmark()
{
    return {"stream/write", c_size, c_size, "copying the same records", 4, [] {
                const auto records = std::make_shared<Records>();
                const auto stream = std::make_shared<CyStreamWriteBinaryBuffer>();
                const auto copy =
                    std::make_shared<std::vector<std::uint8_t>>(records->bytes.size());
                return RatioBenchmark::Pair{
                    [=] {
                        for (const auto& node : records->nodes) {
                            mapper().WriteNodeForInstantiation(*stream, node);
                        }
                        for (const auto& node : records->nodes) node->SerializeStructure(*stream);
                        if (stream->GetCount() != records->bytes.size())
                            throw std::logic_error("the records have changed");
                    },
                    [=] {
                        std::size_t begin = 0;
                        for (const std::size_t end : records->ends) {
                            std::memcpy(copy->data() + begin, records->bytes.data() + begin,
                                        end - begin);
                            begin = end;
                        }
                    },
                    [=] {
                        mapper().ClearMapping();
                        stream->Empty();
                    }};
            }};
}

RatioBenchmark readBenchmark()
{
    return {"stream/read", c_size, c_size, "creating and filling the nodes", 2, [] {
                const auto records = std::make_shared<Records>();
                const auto shape = std::make_shared<std::vector<int>>(FanOut8(c_size));
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
                                            [=] { *made = makeNodes(*shape); },
                                            [=] {
                                                mapper().ClearMapping();
                                                read->clear();
                                            },
                                            [=] {
                                                forget(*made);
                                                made->clear();
                                            }};
            }};
}

} // namespace

std::vector<RatioBenchmark> StreamBenchmarks() { return {writeBenchmark(), readBenchmark()}; }
