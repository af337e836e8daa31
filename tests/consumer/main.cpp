// Uses the library as an application does: through its installed headers and by class name.

#include <iostream>
#include <transformationtree/transformationtree.h>

namespace
{

// Classes register themselves while the library is loaded: nothing here mentions the leaf class.
CbSmartPointer<IObject> createByName(const CString& name)
{
    const auto create = CbRTTI::getCreate(name);
    return CbSmartPointer<IObject>(create != nullptr ? create() : nullptr);
}

bool check(bool condition, const char* what)
{
    if (!condition) std::cerr << "consumer: " << what << "\n";
    return condition;
}

} // namespace

int main()
{
    const CString className = CB_TEXT("ZeCTransformationNodeLeaf");
    const auto object = createByName(className);
    if (!check(object && object->GetClassNameW() == className, "no leaf by class name")) return 1;
    if (!check(!createByName(CB_TEXT("NoSuchClass")), "an unknown class was made")) return 1;

    CyDataManager dataManager;
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    if (!check(manager.SetDataManager(dataManager, dataManager.GetTopNode()), "not linked"))
        return 1;
    const auto root = manager.CreateRootNode();
    const auto lock = manager.GetSingleWriteHandleLocked(root);
    manager.AppendChild(root, manager.CreateLeafNode(nullptr));
    const bool walked = check(root->GetNrLeafNodes() == 1, "the leaf is not found");
    manager.UnsetRootNode();
    return walked && check(manager.UnsetDataManager(), "still linked") ? 0 : 1;
}
