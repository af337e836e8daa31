#include "platform/base/cbreferencecounted.h"
#include "platform/base/cbrtti.h"
#include "platform/base/cbsmartpointer.h"

#include <gtest/gtest.h>
#include <optional>

namespace
{

class Animal : public CbReferenceCounted, public IObject
{
public:
    static const CbRTTI RTTI;
    [[nodiscard]] const CbRTTI& GetRTTI() const override { return RTTI; }

    int legs = 4;

protected:
    Animal() = default;
    Animal(const Animal&) = default;
    ~Animal() override = default;
    [[nodiscard]] CbReferenceCounter& getReferenceCounter() const noexcept override
    {
        return CbReferenceCounted::getReferenceCounter();
    }
};

class Bird : public Animal
{
public:
    static const CbRTTI RTTI;
    [[nodiscard]] const CbRTTI& GetRTTI() const override { return RTTI; }
    static IObject* CreateByFactory() { return new Bird; }
    static IObject* CloneByFactory(const IObject& object)
    {
        return new Bird(static_cast<const Bird&>(object));
    }

protected:
    Bird() { legs = 2; }
    Bird(const Bird&) = default;
    ~Bird() override = default;
};

const CbRTTI Animal::RTTI(CB_TEXT("TestAnimal"), nullptr, nullptr);
const CbRTTI Bird::RTTI(CB_TEXT("TestBird"), &Bird::CreateByFactory, &Bird::CloneByFactory,
                        &Animal::RTTI);

TEST(ATypeRecord, MakesAndClonesObjectsByName)
{
    const auto create = CbRTTI::getCreate(CB_TEXT("TestBird"));
    ASSERT_NE(create, nullptr);
    const CbSmartPointer<IObject> object(create());
    EXPECT_TRUE(object->Is(Bird::RTTI));
    EXPECT_FALSE(object->Is(Animal::RTTI));
    EXPECT_TRUE(object->IsKindOf(Animal::RTTI));
    EXPECT_FALSE(Animal::RTTI.IsKindOf(Bird::RTTI));
    EXPECT_EQ(object->GetClassNameW(), CString(CB_TEXT("TestBird")));

    const auto bird = CbDynamicPointerCast<Bird>(object);
    bird->legs = 1;
    const auto clone =
        CbDynamicPointerCast<Bird>(CbSmartPointer<IObject>(Bird::RTTI.getClone()(*object)));
    ASSERT_TRUE(clone);
    EXPECT_EQ(clone->legs, 1);
    EXPECT_NE(clone, bird);
}

TEST(ATypeRecord, IsNotFoundForAnUnknownOrAbstractClass)
{
    EXPECT_EQ(CbRTTI::getCreate(CB_TEXT("TestAnimal")), nullptr);
    EXPECT_EQ(CbRTTI::Find(CB_TEXT("TestAnimal")), &Animal::RTTI);
    EXPECT_EQ(CbRTTI::getCreate(CB_TEXT("TestFish")), nullptr);
    EXPECT_EQ(CbRTTI::Find(CB_TEXT("testbird")), nullptr);
    EXPECT_EQ(CbRTTI::Find(CString()), nullptr);
}

TEST(ATypeRecord, IsRegisteredAsLongAsItLivesAndTheFirstOfANameStays)
{
    std::optional<CbRTTI> first;
    first.emplace(CB_TEXT("TestGuest"), nullptr, nullptr);
    {
        const CbRTTI second(CB_TEXT("TestGuest"), nullptr, nullptr);
        EXPECT_EQ(CbRTTI::Find(CB_TEXT("TestGuest")), &*first);
    }
    EXPECT_EQ(CbRTTI::Find(CB_TEXT("TestGuest")), &*first);
    first.reset();
    EXPECT_EQ(CbRTTI::Find(CB_TEXT("TestGuest")), nullptr);
}

} // namespace
