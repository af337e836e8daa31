#include "examples/scansession/sessiontree.h"

#include "transformationtree/zectransformationnodemanager.h"
#include "transformationtree/zectransformationtreeutility.h"

namespace scansession
{

SessionTree::SessionTree()
{
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    const auto root = manager.CreateRootNode();
    SetRoot(root);
    modelNode_ = manager.CreateInnerNode();
    modelNode_->SetDescription(CB_TEXT("Model"));
    const auto lock = manager.GetSingleWriteHandleLocked(root);
    manager.AppendChild(root, modelNode_);
}

SessionTree::~SessionTree() = default;

void SessionTree::Clear()
{
    CbSingleton<ZeCTransformationTreeUtility>::GetInstance().RemoveChildren(modelNode_, true);
}

} // namespace scansession
