#include "platform/base/cbweakpointer.h"
#include "tests/platform/base/counted.h"

#include <concepts>
#include <gtest/gtest.h>

namespace
{

class Derived : public Counted
{
protected:
    ~Derived() override = default;
};

template<class From, class To>
concept Converts = std::convertible_to<CbSmartPointer<From>, CbSmartPointer<To>>;
static_assert(Converts<Derived, const Counted> && !Converts<Counted, Derived>);
static_assert(!Converts<const Counted, Counted>);
static_assert(!std::convertible_to<Counted*, CbSmartPointer<Counted>>);
static_assert(sizeof(CbSmartPointer<Counted>) == sizeof(void*));

class ASmartPointer : public testing::Test
{
protected:
    ~ASmartPointer() override { EXPECT_EQ(Counted::alive, 0) << "objects are left"; }
};

TEST_F(ASmartPointer, KeepsItsObjectAsLongAsAReferenceIsLeft)
{
    auto first = CbMake<Counted>(1);
    EXPECT_EQ(first->GetReferences(), 1);
    CbSmartPointer<const Counted> second = first;
    auto third = first;
    EXPECT_EQ(first->GetReferences(), 3);
    first = nullptr;
    third = std::move(third);
    const auto moved = std::move(third);
    EXPECT_EQ(second->GetReferences(), 2);
    EXPECT_EQ(second, moved);
    EXPECT_FALSE(third); // NOLINT: moved from
}

TEST_F(ASmartPointer, CanBeAssignedFromInsideTheObjectThatItReleases)
{
    auto node = CbMake<Counted>(0);
    auto* last = node.Get();
    for (int number = 1; number <= 3; ++number) {
        last->child = CbMake<Counted>(number);
        last = last->child.Get();
    }
    node = node->child;
    EXPECT_EQ(node->number, 1);
    node = std::move(node->child);
    EXPECT_EQ(node->number, 2);
    EXPECT_EQ(Counted::alive, 2);
}

TEST_F(ASmartPointer, CopiesOfAnObjectStartUnowned)
{
    const auto original = CbMake<Counted>(1);
    const auto other = original;
    const CbWeakPointer<Counted> watch(original);
    const auto copy = CbMake<Counted>(*original);
    *copy = *original;
    EXPECT_EQ(copy->GetReferences(), 1);
    EXPECT_EQ(watch.Lock(), original);
}

} // namespace
