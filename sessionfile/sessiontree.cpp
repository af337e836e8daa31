#include "sessionfile/sessiontree.h"

#include "transformationtree/manager/zectransformationnodemanager.h"
#include "transformationtree/tree/zectransformationtreeutility.h"

namespace sessionfile
{

namespace
{

const CString& ModelDescription()
{
    static const CString description = CB_TEXT("Model");
    return description;
}

} // namespace

SessionTree::SessionTree()
{
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    const auto root = manager.CreateRootNode();
    SetRoot(root);
    modelNode_ = manager.CreateInnerNode();
    modelNode_->SetDescription(ModelDescription());
    const auto lock = manager.GetSingleWriteHandleLocked(root);
    manager.AppendChild(root, modelNode_);
}

SessionTree::SessionTree(const Inner& root)
{
    CbSingleton<ZeCTransformationNodeManager>::GetInstance().SetRootNode(root);
    SetRoot(root);
    for (auto child = root->BeginChild(); child != root->EndChild() && !modelNode_; ++child) {
        if ((*child)->GetDescription() == ModelDescription()) {
            modelNode_ = Inner((*child)->AsInner());
        }
    }
}

SessionTree::~SessionTree() = default;

void SessionTree::Clear()
{
    CbSingleton<ZeCTransformationTreeUtility>::GetInstance().RemoveChildren(modelNode_, true);
}

} // namespace sessionfile
