// Restructuring of a whole tree in the data manager, under one lock.

#include "benchmarks/support/ratiobenchmark.h"
#include "benchmarks/transformationtree/manager/managedtree.h"
#include "benchmarks/transformationtree/walks/plaintree.h"
#include "transformationtree/tree/zectransformationtreeutility.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace
{

using Utility = ZeCTransformationTreeUtility;

constexpr std::size_t c_fanOut = 16;

void addSubtree(std::vector<int>& fathers, int father, std::size_t leaves)
{
    const int top = static_cast<int>(fathers.size());
    fathers.push_back(father);
    std::size_t part = 1;
    while (part * c_fanOut < leaves) part *= c_fanOut;
    for (std::size_t left = leaves > 1 ? leaves : 0; left > 0;) {
        const std::size_t next = std::min(part, left);
        addSubtree(fathers, top, next);
        left -= next;
    }
}

// Each inner node has 16 children, as long as there are leaves.
std::vector<int> balanced(std::size_t leaves)
{
    std::vector<int> fathers;
    addSubtree(fathers, -1, leaves);
    return fathers;
}

std::vector<int> flat(std::size_t leaves) { return OneFather(leaves + 1); }

// 16 leaves for each child of the top.
std::vector<int> small(std::size_t leaves)
{
    std::vector<int> fathers{-1};
    for (std::size_t left = leaves; left > 0; left -= std::min(c_fanOut, left)) {
        addSubtree(fathers, 0, std::min(c_fanOut, left));
    }
    return fathers;
}

// A root with two children: the tree to restructure, and a small one beside it.
class Place
{
public:
    explicit Place(std::vector<int> shape) : shape_(std::move(shape)) {}

    void Build()
    {
        utility_.RemoveSubtree(copy_, false);
        copy_ = nullptr;
        const auto lock = lockRoot();
        utility_.RemoveChildren(root_, false);
        for (auto* const shape : {&shape_, &beside_}) {
            const auto top = BuildNodes(*shape).front();
            manager_.AppendChild(root_, top);
        }
    }
    void Merge()
    {
        const auto lock = lockRoot();
        utility_.MergeInnerNodes(tree(), child(1), SomeTrafo(1), false);
    }
    void MergeMany()
    {
        const auto lock = lockRoot();
        const auto top = tree();
        const std::vector<Utility::Node> sources(top->BeginChild(), top->EndChild());
        for (const auto& source : sources) {
            utility_.MergeInnerNodes(CbStaticPointerCast<ZeCTransformationNodeInner>(source),
                                     child(1), SomeTrafo(1), false);
        }
    }
    void Copy()
    {
        copy_ = utility_.CopySubtree(
            tree(), ZeCTransformationNode::EAttributesToCopy::PropertiesAndModel, nullptr, false);
    }
    void Normalize()
    {
        const auto lock = lockRoot();
        utility_.NormalizeTreeStructure(tree(), int{c_fanOut}, false);
    }
    void Collapse()
    {
        const auto lock = lockRoot();
        utility_.CollapseAll(tree(), false);
    }

private:
    [[nodiscard]] ZeCTransformationNodeManager::WriteHandle lockRoot() const
    {
        return manager_.GetSingleWriteHandleLocked(root_);
    }
    [[nodiscard]] Utility::Inner child(int index) const
    {
        return CbStaticPointerCast<ZeCTransformationNodeInner>(root_->BeginChild()[index]);
    }
    [[nodiscard]] Utility::Inner tree() const { return child(0); }

    ZeCTransformationNodeManager& manager_ =
        CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    Utility& utility_ = CbSingleton<Utility>::GetInstance();
    ManagedTree managed_{OneFather(2)};
    Utility::Inner root_ = manager_.GetRootNode();
    std::vector<int> shape_;
    std::vector<int> beside_ = OneFather(2);
    Utility::Node copy_;
};

RatioBenchmark restructureBenchmark(const std::string& work, std::size_t leaves,
                                    std::vector<int> (*shapeOf)(std::size_t), void (Place::*edit)())
{
    return {work, leaves, leaves, "the same tree made of plain nodes", 0, [=] {
                const auto shape = shapeOf(leaves);
                const auto place = std::make_shared<Place>(shape);
                const auto plain = std::make_shared<std::unique_ptr<PlainNode>>();
                return RatioBenchmark::Pair{[=] { std::invoke(edit, *place); },
                                            [=] { *plain = BuildPlainTree(shape); },
                                            [=] { place->Build(); }, [=] { plain->reset(); }};
            }};
}

} // namespace

std::vector<RatioBenchmark> RestructureBenchmarks()
{
    const std::pair<const char*, void (Place::*)()> works[] = {
        {"restructure/merge", &Place::Merge},
        {"restructure/copy", &Place::Copy},
        {"restructure/normalize", &Place::Normalize},
        {"restructure/collapse", &Place::Collapse},
    };
    std::vector<RatioBenchmark> benchmarks;
    for (const std::size_t leaves : {1000, 100000}) {
        for (const auto& [work, edit] : works) {
            benchmarks.push_back(restructureBenchmark(work, leaves, balanced, edit));
            benchmarks.push_back(
                restructureBenchmark(std::string(work) + "/flat", leaves, flat, edit));
        }
        benchmarks.push_back(
            restructureBenchmark("restructure/merge/many", leaves, small, &Place::MergeMany));
    }
    return benchmarks;
}
