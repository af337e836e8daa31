#include "sessionfile/sessionreader.h"

#include "platform/datacontainer/models/zecmodelserializationidmapper.h"
#include "sessionfile/crc32.h"
#include "sessionfile/modelstandin.h"
#include "sessionfile/sessionformat.h"
#include "sessionfile/sessionmappings.h"
#include "sessionfile/sessionsection.h"
#include "transformationtree/nodes/zectransformationnodeserializationidmapper.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace sessionfile
{

namespace
{

using Node = CbSmartPointer<ZeCTransformationNode>;
using Inner = CbSmartPointer<ZeCTransformationNodeInner>;

std::string textOf(const CyUniqueID& id) { return id.ToString().ToUtf8(); }

std::string textOf(const ZeCTransformationNode& node) { return textOf(node.GetID()); }

/// The id of a node or a model, nil for null.
template<class T>
CyUniqueID idOf(const CbSmartPointer<T>& object)
{
    return object ? object->GetID() : CyUniqueID();
}

CyUniqueID readID(CbStreamReadBinary& stream)
{
    CyUniqueID id;
    id.Serialize(stream);
    return id;
}

/// The reader of one session.
class Reader
{
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : file_("session", bytes, c_headerBytes) {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader();

    LoadedSession Read();

private:
    /// What was met so far of an announced node.
    struct Seen
    {
        bool record = false;
        bool father = false; ///< one that lists it
        bool attributes = false;
    };

    SessionSection openSection(ESection section, const std::string& name);
    void readModels(std::uint32_t count);
    void instantiate(SessionSection& section, std::uint32_t count);
    void readStructure(SessionSection& section);
    void readNode(SessionSection& section);
    void readAttributes(SessionSection& section);
    ZeCTransformationNode& findNode(const SessionSection& section, const CyUniqueID& id) const;
    Inner findRoot(const SessionSection& section) const;
    void requireOneTree(const SessionSection& section, const Inner& root);

    SessionSection file_;
    SessionMappings mappings_; // goes after the nodes, which are cut first
    std::vector<Node> nodes_;
    std::unordered_map<const ZeCTransformationNode*, Seen> seen_;
    // Stored models of unknown classes: by those that stand in their place, and those without an id
    // that could be read, of which some have found their place.
    std::unordered_map<const ZeCModelQMT*, std::span<const std::uint8_t>> unread_;
    std::vector<std::span<const std::uint8_t>> nameless_;
    std::size_t placed_ = 0;
    UnknownRecords unknown_;
    Inner root_; ///< null until all has been checked
};

Reader::~Reader()
{
    if (root_) return;
    // Nodes that were read may stand above themselves: then nothing but a cut would free them.
    for (const auto& node : nodes_) {
        ZeCTransformationNodeInner* const inner = node->AsInner();
        if (inner != nullptr) std::fill(inner->BeginChild(), inner->EndChild(), nullptr);
    }
}

LoadedSession Reader::Read()
{
    SessionSection nodes = openSection(ESection::Nodes, "nodes");
    SessionSection structure = openSection(ESection::Structure, "structure");
    SessionSection attributes = openSection(ESection::Attributes, "attributes");

    // What is announced must be paid for in bytes before it takes memory.
    std::uint32_t nodeCount = 0;
    std::uint32_t modelCount = 0;
    nodes.ReadRecord([&] { nodes.GetStream() >> nodeCount >> modelCount; });
    if (nodeCount > structure.GetSize() / c_smallestStructureRecord) {
        nodes.Refuse(std::to_string(nodeCount) + " nodes, whose structure has " +
                     std::to_string(structure.GetSize()) + " bytes");
    }
    if (modelCount > nodeCount) {
        nodes.Refuse(std::to_string(modelCount) + " models for " + std::to_string(nodeCount) +
                     " nodes");
    }
    readModels(modelCount);
    if (file_.GetStream().Remaining() != 0) file_.RefuseToRead("more bytes than sections");

    instantiate(nodes, nodeCount);
    readStructure(structure);
    readAttributes(attributes);
    const Inner root = findRoot(structure);
    requireOneTree(structure, root);
    root_ = root;
    return {root, std::move(unknown_)};
}

SessionSection Reader::openSection(ESection section, const std::string& name)
{
    auto& stream = file_.GetStream();
    if (stream.Remaining() < c_sectionHeaderBytes) {
        file_.RefuseToRead("cut short in front of section " + name);
    }
    std::uint32_t kind = 0;
    std::uint64_t length = 0;
    std::uint32_t checksum = 0;
    stream >> kind >> length >> checksum;
    if (kind != static_cast<std::uint32_t>(section)) {
        file_.RefuseToRead("section " + std::to_string(kind) + " in the place of section " + name);
    }
    const std::size_t offset = file_.GetOffset();
    if (length > stream.Remaining()) {
        file_.RefuseToRead("cut short: section " + name + " has " + std::to_string(length) +
                           " bytes, " + std::to_string(stream.Remaining()) + " are there");
    }
    const auto bytes = stream.ReadView(static_cast<std::size_t>(length));
    if (Crc32(bytes) != checksum) {
        file_.RefuseToRead("section " + name + " is damaged: its checksum is wrong");
    }
    return {name, bytes, offset};
}

void requireClassName(SessionSection& section)
{
    std::uint32_t units = 0;
    section.Peek() >> units;
    if (units > c_longestClassName)
        section.Refuse("class name of " + std::to_string(units) + " units");
}

void Reader::readModels(std::uint32_t count)
{
    auto& mapper = CbSingleton<ZeCModelSerializationIDMapper>::GetInstance();
    std::vector<CbSmartPointer<const ZeCModelQMT>> models;
    for (std::uint32_t i = 1; i <= count; ++i) {
        SessionSection section = openSection(ESection::Model, "model " + std::to_string(i));
        if (section.GetSize() < c_smallestModel) section.Refuse("too short");
        section.ReadRecord([&] {
            requireClassName(section);
            const auto stored = section.GetBytes();
            if (!IsOfUnknownClass(stored)) {
                models.push_back(mapper.ReadModel(section.GetStream()));
                // A short one is filled up.
                if (stored.size() > c_smallestModel) section.RequireEnd();
            } else if (auto standIn = MapStandIn(stored)) {
                unread_.emplace(standIn.Get(), stored);
                models.push_back(std::move(standIn));
            } else {
                nameless_.push_back(stored);
            }
        });
    }
    for (const auto& model : models) {
        const CyUniqueID id = model->GetID();
        if (id.IsNil() || mapper.GetModel(id) != model) {
            file_.Refuse("model id " + textOf(id) + " is nil or that of two models");
        }
    }
}

void Reader::instantiate(SessionSection& section, std::uint32_t count)
{
    auto& mapper = CbSingleton<ZeCTransformationNodeSerializationIDMapper>::GetInstance();
    nodes_.reserve(count);
    seen_.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        section.ReadRecord([&] {
            requireClassName(section);
            nodes_.push_back(mapper.ReadNodeAndInstantiate(section.GetStream()));
        });
        seen_.emplace(nodes_.back().Get(), Seen());
    }
    section.RequireEnd();
    for (const auto& node : nodes_) {
        if (mapper.GetNode(node->GetID()) != node) {
            section.Refuse("node id " + textOf(*node) + " is nil or that of two nodes");
        }
    }
}

void Reader::readStructure(SessionSection& section)
{
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
        section.ReadRecord([&] { readNode(section); });
    }
    section.RequireEnd();
}

void Reader::readNode(SessionSection& section)
{
    auto& stream = section.GetStream();
    const CyUniqueID id = readID(stream);
    ZeCTransformationNode& node = findNode(section, id);
    if (std::exchange(seen_[&node].record, true)) section.Refuse("second record of " + textOf(id));

    // The node's own reader takes what it does not know for null.
    auto links = section.Peek();
    (void)links.ReadAndCompareVersion(1);
    const CyUniqueID father = readID(links);
    const CyUniqueID model = readID(links);
    const auto& models = CbSingleton<ZeCModelSerializationIDMapper>::GetInstance();
    if (!model.IsNil() && !models.GetModel(model) && placed_ < nameless_.size()) {
        unread_.emplace(MapStandIn(model).Get(), nameless_[placed_++]);
    }
    node.SerializeStructure(stream);
    if (const auto unread = unread_.find(node.GetModel().Get()); unread != unread_.end()) {
        unknown_.KeepModel(node.GetModel(), unread->second);
    }
    if (node.GetID() != id)
        section.Refuse("record of " + textOf(node) + " as that of " + textOf(id));
    if (idOf(node.GetFather()) != father) {
        section.Refuse("father " + textOf(father) + " is no inner node of the session");
    }
    if (idOf(node.GetModel()) != model) {
        section.Refuse("model " + textOf(model) + " is not in the session");
    }
}

void Reader::readAttributes(SessionSection& section)
{
    std::uint32_t count = 0;
    auto& stream = section.GetStream();
    section.ReadRecord([&] { stream >> count; });
    for (; count > 0; --count) {
        section.ReadRecord([&] {
            const CyUniqueID id = readID(stream);
            ZeCTransformationNode& node = findNode(section, id);
            if (std::exchange(seen_[&node].attributes, true)) {
                section.Refuse("second record of " + textOf(id));
            }
            auto container = section.Peek();
            node.SerializeAttributes(stream);
            const std::size_t bytes = container.Remaining() - stream.Remaining();
            unknown_.KeepAttributes(id, container.ReadView(bytes));
        });
    }
    section.RequireEnd();
}

ZeCTransformationNode& Reader::findNode(const SessionSection& section, const CyUniqueID& id) const
{
    const auto& mapper = CbSingleton<ZeCTransformationNodeSerializationIDMapper>::GetInstance();
    const auto node = mapper.GetNode(id);
    if (!node) section.Refuse("node " + textOf(id) + " was not announced");
    return *node; // lives as long as nodes_
}

Inner Reader::findRoot(const SessionSection& section) const
{
    Node root;
    for (const auto& node : nodes_) {
        if (node->GetFather()) continue;
        if (root) section.Refuse("two roots, " + textOf(*root) + " and " + textOf(*node));
        root = node;
    }
    const Inner inner(root ? root->AsInner() : nullptr);
    if (!inner) section.Refuse("no inner node is the root");
    return inner;
}

/// Walks down from the root. No node is met twice, so the walk ends even if there are rings.
void Reader::requireOneTree(const SessionSection& section, const Inner& root)
{
    std::size_t met = 1;
    std::vector<const ZeCTransformationNodeInner*> open{root.Get()};
    while (!open.empty()) {
        const ZeCTransformationNodeInner& father = *open.back();
        open.pop_back();
        for (auto child = father.BeginChild(); child != father.EndChild(); ++child) {
            if (!*child) section.Refuse("a child of " + textOf(father) + " was not announced");
            if (!(*child)->IsChildOf(father)) {
                section.Refuse(textOf(father) + " lists " + textOf(**child) +
                               ", which names another father");
            }
            if (std::exchange(seen_[child->Get()].father, true)) {
                section.Refuse(textOf(father) + " lists " + textOf(**child) + " twice");
            }
            ++met;
            if (const auto* const inner = (*child)->AsInner()) open.push_back(inner);
        }
    }
    if (met != nodes_.size()) {
        section.Refuse("the root leads to " + std::to_string(met) + " of " +
                       std::to_string(nodes_.size()) + " nodes");
    }
}

} // namespace

void RequireHeader(std::span<const std::uint8_t> bytes)
{
    const SessionSection file("session", bytes, 0);
    if (bytes.size() < c_headerBytes ||
        !std::equal(c_magic.begin(), c_magic.end(), bytes.begin())) {
        file.RefuseToRead("is no session");
    }
    std::uint32_t version = 0;
    CyStreamReadBinaryBuffer(bytes.subspan(c_magic.size())) >> version;
    if (version != c_version) {
        file.RefuseToRead("version " + std::to_string(version) +
                          " of the format is not known, only " + std::to_string(c_version));
    }
}

LoadedSession ReadSession(std::span<const std::uint8_t> bytes)
{
    RequireHeader(bytes);
    return Reader(bytes.subspan(c_headerBytes)).Read();
}

} // namespace sessionfile
