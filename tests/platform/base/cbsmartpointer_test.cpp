#include "tests/platform/base/counted.h"

#include <concepts>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace
{

class Derived : public Counted
{
public:
    using Counted::Counted;

protected:
    ~Derived() override = default;
};

class INamed : public IReferenceCounted
{
public:
    [[nodiscard]] virtual int GetName() const = 0;

protected:
    ~INamed() override = default;
};

// Reached through an interface that knows nothing of the embedded block.
class Named : public Counted, public INamed
{
public:
    [[nodiscard]] int GetName() const override { return 42; }

protected:
    ~Named() override = default;
    [[nodiscard]] CbReferenceCounter& getReferenceCounter() const noexcept override
    {
        return Counted::getReferenceCounter();
    }
};

template<class From, class To>
concept Converts = std::convertible_to<CbSmartPointer<From>, CbSmartPointer<To>>;
static_assert(Converts<Derived, Counted> && Converts<Counted, const Counted>);
static_assert(Converts<Derived, const Counted> && Converts<Named, INamed>);
static_assert(!Converts<Counted, Derived> && !Converts<const Counted, Counted>);
static_assert(!Converts<Counted, INamed>);
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

TEST_F(ASmartPointer, WorksThroughAnInterface)
{
    CbSmartPointer<INamed> named = CbMake<Named>();
    EXPECT_EQ(named->GetName(), 42);
    const auto object = CbDynamicPointerCast<Named>(named);
    ASSERT_TRUE(object);
    EXPECT_EQ(object->GetReferences(), 2);
    EXPECT_FALSE(CbDynamicPointerCast<Derived>(named));
    named = nullptr;
    EXPECT_EQ(object->GetReferences(), 1);
}

TEST_F(ASmartPointer, CastsWithoutLosingOrAddingReferences)
{
    const CbSmartPointer<Counted> base = CbMake<Derived>(5);
    EXPECT_EQ(CbStaticPointerCast<Derived>(base)->number, 5);
    EXPECT_EQ(CbConstPointerCast<Counted>(CbSmartPointer<const Counted>(base)), base);
    EXPECT_FALSE(CbStaticPointerCast<Derived>(CbSmartPointer<Counted>()));
    EXPECT_FALSE(CbDynamicPointerCast<Derived>(CbMake<Counted>()));
    EXPECT_EQ(base->GetReferences(), 1);
}

TEST_F(ASmartPointer, CopiesOfAnObjectStartUnowned)
{
    const auto original = CbMake<Counted>(1);
    const auto other = original;
    const CbWeakPointer<Counted> watch(original);
    const auto copy = CbMake<Counted>(*original);
    EXPECT_EQ(copy->GetReferences(), 1);
    *copy = *original;
    EXPECT_EQ(copy->GetReferences(), 1);
    EXPECT_EQ(watch.Lock(), original);
}

TEST(SmartPointersThreads, CountTogether)
{
    {
        const auto shared = CbMake<Counted>();
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([shared] {
                for (int i = 0; i < 20000; ++i) {
                    const auto mine = shared;
                    const auto another = mine;
                }
            });
        }
        threads.clear();
        EXPECT_EQ(shared->GetReferences(), 1);
    }
    EXPECT_EQ(Counted::alive, 0);
}

} // namespace
