// Stores a tree in a file and restores it, and shows what a damaged file gives.
//
// The library writes records to streams; what a file looks like is the application's. Here it is
// that of sessionfile/, which checks that the records make one tree before it gives it out.
//
// Prints:
//     stored 2 scans
//     restored 2 scans: "first" at 0 mm, "second" at 7.5 mm
//     same ids and revisions: yes
//     half of the file: refused
#include <filesystem>
#include <iostream>
#include <random>
#include <sessionfile/sessionerror.h>
#include <sessionfile/sessionfile.h>
#include <string>
#include <transformationtree/transformationtree.h>

namespace
{

using Inner = CbSmartPointer<ZeCTransformationNodeInner>;

Inner makeTree()
{
    auto& manager = CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    const Inner root = manager.CreateInnerNode();
    double x = 0;
    for (const auto* description : {CB_TEXT("first"), CB_TEXT("second")}) {
        const auto leaf = manager.CreateLeafNode(CbMake<ZeCModelQMT>());
        leaf->SetDescription(description);
        CbMatrix4Rd pose;
        pose[3][0] = x;
        leaf->SetRelativeTrafo(pose);
        manager.AppendChild(root, leaf);
        x += 7.5;
    }
    return root;
}

bool areAlike(const ZeCTransformationNode& a, const ZeCTransformationNode& b)
{
    constexpr auto c_both = ZeCTransformationNode::c_allRevisions;
    auto other = b.BeginNode();
    for (const auto& [node, trafo] : a.Nodes()) {
        if (!other) return false;
        const auto twin = (*other).GetNode();
        if (node.GetID() != twin->GetID()) return false;
        if (node.GetNodeRevision(c_both) != twin->GetNodeRevision(c_both)) return false;
        ++other;
    }
    return !other;
}

} // namespace

int main()
{
    namespace fs = std::filesystem;
    const fs::path path = fs::temp_directory_path() /
                          ("storeandrestore" + std::to_string(std::random_device{}()) + ".session");
    const Inner root = makeTree();
    sessionfile::SaveSession(path, root, {});
    std::cout << "stored " << root->GetNrLeafNodes() << " scans\n";

    // The tree that comes back is in no data manager; SetRootNode() would bring it there.
    const Inner restored = sessionfile::LoadSession(path).root;
    std::cout << "restored " << restored->GetNrLeafNodes() << " scans:";
    const char* separator = " ";
    for (const auto& [leaf, trafo] : restored->Leaves()) {
        std::cout << separator << '"' << leaf.GetDescription().ToUtf8() << "\" at " << trafo[3][0]
                  << " mm";
        separator = ", ";
    }
    std::cout << "\nsame ids and revisions: " << (areAlike(*root, *restored) ? "yes" : "no");

    fs::resize_file(path, fs::file_size(path) / 2);
    try {
        const auto half = sessionfile::LoadSession(path);
        std::cout << "\nhalf of the file: accepted\n";
    } catch (const sessionfile::SessionError&) { // its text says what is wrong, and where
        std::cout << "\nhalf of the file: refused\n";
    }
    fs::remove(path);
    CbSingleton<ZeCTransformationNodeManager>::GetInstance().DeleteChildren(root);
    CbSingleton<ZeCTransformationNodeManager>::GetInstance().DeleteNode(root);
}
