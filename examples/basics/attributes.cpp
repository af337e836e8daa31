// Hangs typed attributes on nodes: one of the library's, and one of the application's own.
//
// Prints:
//     operator: Miller
//     voxel: 3 4 5
//     the copy has its own: Miller, the first one says Smith by now
//     after a reset: nobody, none
#include <cstdint>
#include <iostream>
#include <limits>
#include <platform/attributes/zearttiattribute.h>
#include <platform/base/cbstreamreadbinary.h>
#include <platform/base/cbstreamwritebinary.h>
#include <string>
#include <transformationtree/transformationtree.h>
#include <utility>

namespace
{

/// Who took a scan. The record makes the class known by its name, so that sessions can store it.
class OperatorAttribute : public CbClonableObject<OperatorAttribute, ZeARTTIAttribute>
{
public:
    static const CbRTTI RTTI;

    void SetName(CString name) { name_ = std::move(name); }
    [[nodiscard]] std::string GetName() const { return name_.ToUtf8(); }

    void Serialize(CbStreamWriteBinary& stream) const override
    {
        stream.WriteVersion(c_version);
        stream << name_;
    }
    void Serialize(CbStreamReadBinary& stream) override
    {
        stream.ReadKnownVersion(c_version, c_version, "operatorattribute", 1);
        stream >> name_;
    }

protected:
    bool ResetAttribute() override
    {
        name_ = CB_TEXT("nobody");
        return true;
    }

private:
    static constexpr std::uint32_t c_version = 1;

    CString name_ = CB_TEXT("nobody");
};

const CbRTTI OperatorAttribute::RTTI(CB_TEXT("OperatorAttribute"), &CreateByFactory,
                                     &CloneByFactory, &ZeARTTIAttribute::RTTI);

std::string voxelOf(const ZeCTransformationNode& node)
{
    const auto attribute = node.GetAllAttributes().GetAttribute<ZeCRepresentativeAttribute>();
    if (!attribute) return "unknown"; // null if the node has none
    int x = 0, y = 0, z = 0;
    attribute->GetGridVoxel(x, y, z);
    if (x == std::numeric_limits<int>::max()) return "none";
    return std::to_string(x) + ' ' + std::to_string(y) + ' ' + std::to_string(z);
}

std::string operatorOf(const ZeCTransformationNode& node)
{
    const auto attribute = node.GetAllAttributes().GetAttribute<OperatorAttribute>();
    return attribute ? attribute->GetName() : "unknown";
}

} // namespace

int main()
{
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    const auto leaf = manager.CreateLeafNode(CbMake<ZeCModelQMT>());

    const auto takenBy = CbMake<OperatorAttribute>();
    takenBy->SetName(CB_TEXT("Miller"));
    leaf->SetAttribute(takenBy); // at most one of each class
    const auto voxel = CbMake<ZeCRepresentativeAttribute>();
    voxel->SetGridVoxel(3, 4, 5);
    leaf->SetAttribute(voxel);
    std::cout << "operator: " << operatorOf(*leaf) << "\nvoxel: " << voxelOf(*leaf) << '\n';

    const auto twin = manager.CreateLeafNode(CbMake<ZeCModelQMT>());
    twin->CopyAttributesFrom(*leaf);
    takenBy->SetName(CB_TEXT("Smith")); // needs a write handle if the node is below a root
    std::cout << "the copy has its own: " << operatorOf(*twin) << ", the first one says "
              << operatorOf(*leaf) << " by now\n";

    leaf->ResetAttributes();
    std::cout << "after a reset: " << operatorOf(*leaf) << ", " << voxelOf(*leaf) << '\n';

    manager.DeleteNode(leaf);
    manager.DeleteNode(twin);
}
