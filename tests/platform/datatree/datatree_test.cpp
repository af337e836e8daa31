#include "tests/platform/datatree/datatreeaccess.h"

#include <gmock/gmock.h>

namespace
{

using testing::IsEmpty;

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

} // namespace
