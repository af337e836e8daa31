#include "platform/datatree/cynode.h"

#include "platform/datatree/cydatamanager.h"

#include <utility>

const CbRTTI CyNode::RTTI(CB_TEXT("CyNode"), &CyNode::CreateByFactory, &CyNode::CloneByFactory);

CyNode::CyNode() = default;

CyNode::CyNode(const CyNode& /*other*/) : CyNode() {}

CyNode::~CyNode() = default;

CString CyNode::GetName() const { return nameId_.IsNil() ? name_ : nameId_.ToString(); }

bool CyNode::IsNamed(const CyUniqueID& id) const noexcept
{
    if (!nameId_.IsNil()) return nameId_ == id;
    const auto text = id.ToText();
    return name_.GetView() == CString::View(text.data(), text.size());
}

void CyNode::SetName(CString name) noexcept
{
    name_ = std::move(name);
    nameId_ = CyUniqueID();
}

void CyNode::SetName(const CyUniqueID& id) noexcept
{
    name_ = CString();
    nameId_ = id;
}

bool CyNode::IsSerializable() const { return false; }

IObject* CyNode::CreateData(const CString& /*className*/) { return nullptr; }

const CbRTTI& CyNode::GetRTTIData() const { return GetRTTI(); }

CbSmartPointer<CyNode> CyNode::GetParent() const
{
    const CyDataManager* const manager = GetDataManager();
    return manager != nullptr ? manager->parentOf(*this) : nullptr;
}

std::vector<CbSmartPointer<CyNode>> CyNode::GetChildren() const
{
    const CyDataManager* const manager = GetDataManager();
    return manager != nullptr ? manager->childrenOf(*this) : std::vector<CbSmartPointer<CyNode>>();
}

bool CyNode::isModified() const { return modified_; }

void CyNode::setModified(bool modified, bool /*passOn*/) { modified_ = modified; }
