#pragma once

#include "platform/base/cbclonableobject.h"
#include "platform/base/cbobject.h"
#include "platform/base/cbrtti.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/base/cstring.h"
#include "platform/base/cyuniqueid.h"
#include "platform/datatree/cydatatreeentry.h"

#include <atomic>
#include <vector>

class CyDataManager;

/// A node of the application's data tree.
///
/// A node is in at most one data manager, which alone links it to parent and children. Whether
/// other state may be touched is a matter of the manager's locks, see CyDataManager.
///
/// Threads: GetDataManager, GetParent and GetChildren are safe beside edits of the data tree, as
/// long as the manager lives; the rest is unguarded.
class PLATFORM_API CyNode : public CbClonableObject<CyNode, CbObject>
{
public:
    /// The record of this class.
    static const CbRTTI RTTI;

    /// Makes a node in no manager and without label.
    CyNode();
    /// Makes a node in no manager and without label: nothing of the other's base is copied.
    CyNode(const CyNode& other);
    CyNode& operator=(const CyNode&) = delete;

    /// True if the application stores the node by itself. False here.
    [[nodiscard]] virtual bool IsSerializable() const;
    /// Makes the data object of the given class that belongs to the node, unowned. Null here.
    [[nodiscard]] virtual IObject* CreateData(const CString& className);
    /// Returns the record of the node's data: the record of its class.
    [[nodiscard]] virtual const CbRTTI& GetRTTIData() const;

    /// The label; empty by default.
    [[nodiscard]] CString GetName() const;
    /// True if the label is the text of an id.
    [[nodiscard]] bool IsNamed(const CyUniqueID& id) const noexcept;
    /// Labels the node with any text.
    void SetName(CString name) noexcept;
    /// Labels the node with the text of an id, which is written out when it is asked for. The nil
    /// id gives the empty label.
    void SetName(const CyUniqueID& id) noexcept;

    /// Returns the manager that holds the node, or null.
    [[nodiscard]] CyDataManager* GetDataManager() const noexcept
    {
        return dataManager_.load(std::memory_order_acquire);
    }
    /// Returns the parent in the data tree; null for the top node and outside any manager.
    [[nodiscard]] CbSmartPointer<CyNode> GetParent() const;
    /// Returns a snapshot of the children in the data tree, in the order of their insertion. Empty
    /// outside any manager.
    [[nodiscard]] std::vector<CbSmartPointer<CyNode>> GetChildren() const;

protected:
    ~CyNode() override;

    /// The flag of this node, false from the start.
    [[nodiscard]] virtual bool isModified() const;
    /// Sets the flag of this node. The second argument is for nodes that pass it on.
    virtual void setModified(bool modified, bool passOn);

private:
    friend class CyDataManager;
    friend struct datatreetests::TestAccess;

    std::atomic<CyDataManager*> dataManager_{nullptr}; ///< written under the manager's mutex
    mutable CyDataTreeEntry entry_{*this};             ///< guarded by the manager's mutex
    CString name_;                                     ///< a label that is not the text of an id
    CyUniqueID nameId_; ///< the id whose text is the label, nil for none
    bool modified_ = false;
};
