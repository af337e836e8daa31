#include "platform/base/cbrtti.h"

#include <gtest/gtest.h>
#include <optional>

namespace
{

IObject* create() { return nullptr; }

const CbRTTI c_animal(CB_TEXT("TestAnimal"), nullptr, nullptr);
const CbRTTI c_bird(CB_TEXT("TestBird"), &create, nullptr, &c_animal);

TEST(ATypeRecord, IsFoundByItsExactNameAndKnowsItsBases)
{
    EXPECT_EQ(CbRTTI::getCreate(CB_TEXT("TestBird")), &create);
    EXPECT_EQ(CbRTTI::getCreate(CB_TEXT("TestAnimal")), nullptr) << "abstract";
    EXPECT_EQ(CbRTTI::Find(CB_TEXT("TestAnimal")), &c_animal);
    EXPECT_EQ(CbRTTI::getCreate(CB_TEXT("TestFish")), nullptr);
    EXPECT_EQ(CbRTTI::Find(CB_TEXT("testbird")), nullptr);
    EXPECT_EQ(CbRTTI::Find(CString()), nullptr);
    EXPECT_TRUE(c_bird.IsKindOf(c_animal));
    EXPECT_FALSE(c_animal.IsKindOf(c_bird));
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
