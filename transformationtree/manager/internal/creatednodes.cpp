#include "transformationtree/manager/internal/creatednodes.h"

CreatedNodes::~CreatedNodes()
{
    for (; !nodes_.empty(); nodes_.pop_back()) {
        const Manager::Node& node = nodes_.back();
        if (!node) continue;
        manager_.RemoveChild(node->GetFather(), node);
        manager_.DeleteNode(node);
    }
}

CreatedNodes::Manager::Leaf CreatedNodes::CreateLeaf(const CbSmartPointer<const ZeCModelQMT>& model)
{
    nodes_.emplace_back(); // its place first, so that no node is created that has none
    auto leaf = manager_.CreateLeafNode(model);
    nodes_.back() = leaf;
    return leaf;
}

CreatedNodes::Manager::Inner CreatedNodes::CreateInner(const CString& description)
{
    nodes_.emplace_back();
    auto inner = manager_.CreateInnerNode();
    nodes_.back() = inner;
    inner->SetDescription(description);
    return inner;
}
