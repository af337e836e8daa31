#include "tests/platform/datatree/datatreeaccess.h"

#include <gmock/gmock.h>
#include <memory>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using Write = CyDataHandleLockOnly<1>;

TEST(ADataTree, KeepsTheOrderOfInsertionAndMovesToTheEnd)
{
    SmallTree tree;
    const auto top = tree.manager.GetTopNode();
    EXPECT_THAT(top->GetChildren(), ElementsAre(tree.a, tree.e));
    EXPECT_THAT(tree.a->GetChildren(), ElementsAre(tree.b, tree.d));
    EXPECT_EQ(tree.c->GetParent(), tree.b);
    EXPECT_EQ(top->GetParent(), nullptr);

    Write moved(tree.manager, tree.b);
    EXPECT_TRUE(tree.manager.MoveNode(moved, top));
    EXPECT_THAT(top->GetChildren(), ElementsAre(tree.a, tree.e, tree.b));
    EXPECT_THAT(tree.a->GetChildren(), ElementsAre(tree.d));
    EXPECT_TRUE(tree.manager.MoveNode(moved, top)) << "to the same father";
    Write removed(tree.manager, tree.e);
    EXPECT_TRUE(tree.manager.RemoveNode(removed));
    EXPECT_THAT(top->GetChildren(), ElementsAre(tree.a, tree.b));
    EXPECT_EQ(tree.e->GetParent(), nullptr);
    EXPECT_EQ(tree.e->GetDataManager(), nullptr);
    EXPECT_TRUE(tree.manager.InsertNode(tree.c, tree.e)) << "what was removed may come back";
    TestAccess::CheckCounters(tree.manager);
}

TEST(ADataTree, RefusesNodesThatAreElsewhere)
{
    SmallTree tree;
    SmallTree other;
    const auto node = CbMake<CyNode>();
    EXPECT_FALSE(tree.manager.InsertNode(nullptr, node));
    EXPECT_FALSE(tree.manager.InsertNode(tree.a, nullptr));
    EXPECT_FALSE(tree.manager.InsertNode(other.a, node));
    EXPECT_FALSE(tree.manager.InsertNode(node, node));
    EXPECT_FALSE(tree.manager.InsertNode(tree.a, other.b));
    EXPECT_FALSE(tree.manager.InsertNode(tree.a, tree.e)) << "it hangs in here already";
    EXPECT_EQ(node->GetDataManager(), nullptr);
    EXPECT_THAT(node->GetChildren(), IsEmpty());
    TestAccess::CheckCounters(tree.manager);
    TestAccess::CheckCounters(other.manager);
}

struct Counted : CyNode
{
    explicit Counted(int& number) : number_(number) { ++number_; }

protected:
    ~Counted() override { --number_; }

private:
    int& number_;
};

TEST(ADataTree, OwnsItsNodesAndLetsAllGoHoweverDeep)
{
    int living = 0;
    {
        CyDataManager manager;
        auto father = manager.GetTopNode();
        for (int i = 0; i < 100'000; ++i) {
            CbSmartPointer<CyNode> node = CbMake<Counted>(living);
            ASSERT_TRUE(manager.InsertNode(father, node));
            if (i % 1000 == 0) {
                ASSERT_TRUE(manager.InsertNode(node, CbMake<Counted>(living)));
            }
            father = std::move(node);
        }
        EXPECT_EQ(living, 100'100);
        Write last(manager, father);
        father = nullptr;
        EXPECT_TRUE(manager.RemoveNode(last));
        EXPECT_EQ(living, 100'099);
    }
    EXPECT_EQ(living, 0);
}

TEST(ADataNode, IsCopiedWithoutItsPlaceAndName)
{
    SmallTree tree;
    tree.b->SetName(CB_TEXT("label"));
    const CbSmartPointer<CyNode> copy(static_cast<CyNode*>(CyNode::RTTI.getClone()(*tree.b)));
    EXPECT_TRUE(copy->GetName().IsEmpty());
    EXPECT_EQ(copy->GetDataManager(), nullptr);
}

} // namespace
