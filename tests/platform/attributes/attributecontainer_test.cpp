#include "platform/attributes/zearttiattributecontainer.h"
#include "platform/base/cbclonableobject.h"
#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionwrongfileversion.h"
#include "tests/support/storedbytes.h"

#include <gmock/gmock.h>

namespace
{

using testing::ElementsAre;

// An attribute that holds one number.
class Cloned : public CbClonableObject<Cloned, ZeARTTIAttribute>
{
public:
    static const CbRTTI RTTI;
    void Serialize(CbStreamWriteBinary& stream) const override { stream << value; }
    void Serialize(CbStreamReadBinary& stream) override { stream >> value; }

    std::int32_t value = 0;

protected:
    ~Cloned() override = default;
    bool ResetAttribute() override
    {
        value = 0;
        return true;
    }
};
const CbRTTI Cloned::RTTI(CB_TEXT("Cloned"), &CreateByFactory, &CloneByFactory,
                          &ZeARTTIAttribute::RTTI);

// Of the same kind as Cloned but of another class, and shared by copies.
class Shared : public CbTypedObject<Shared, Cloned>
{
public:
    static const CbRTTI RTTI;

protected:
    ~Shared() override = default;
};
const CbRTTI Shared::RTTI(CB_TEXT("Shared"), &CreateByFactory, nullptr, &Cloned::RTTI);

template<class T>
CbSmartPointer<T> make(std::int32_t value)
{
    auto attribute = CbMake<T>();
    attribute->value = value;
    return attribute;
}

std::vector<std::int32_t> valuesOf(const ZeARTTIAttributeContainer& container)
{
    std::vector<std::int32_t> values;
    for (const auto& attribute : container) {
        values.push_back(static_cast<const Cloned&>(*attribute).value);
    }
    return values;
}

class AttributesOfANode : public testing::Test
{
protected:
    AttributesOfANode()
    {
        container.SetAttribute(make<Cloned>(1));
        container.SetAttribute(make<Shared>(2));
    }

    // What a writing function puts behind a version and a number of attributes.
    template<class Write>
    static Bytes record(std::uint32_t version, std::uint32_t count, Write write)
    {
        return Stored([&](auto& stream) {
            stream << version << count;
            write(stream);
        });
    }
    static void read(ZeARTTIAttributeContainer& into, const Bytes& bytes)
    {
        EXPECT_EQ(ReadFrom(bytes, [&](auto& stream) { into.Serialize(stream); }), 0U);
    }

    ZeARTTIAttributeContainer container;
};

TEST_F(AttributesOfANode, AreOneOfEachExactTypeInTheOrderOfTheirComing)
{
    container.SetAttribute(make<Cloned>(4));
    container.SetAttribute(nullptr);
    EXPECT_THAT(valuesOf(container), ElementsAre(4, 2));
    EXPECT_THAT(container.GetTypes(), ElementsAre(&Cloned::RTTI, &Shared::RTTI));
    container.DeleteAttribute(Cloned::RTTI);
    container.DeleteAttribute(Cloned::RTTI);
    EXPECT_EQ(container.GetAttribute<Cloned>(), nullptr) << "a derived one is another type";
    EXPECT_EQ(container.GetAttribute<Shared>()->value, 2);
    container.ResetAttributes();
    EXPECT_THAT(valuesOf(container), ElementsAre(0));
    container.DeleteAttributes({&Cloned::RTTI, nullptr, &Shared::RTTI});
    EXPECT_TRUE(container.IsEmpty());
}

TEST_F(AttributesOfANode, AreClonedOrSharedByACopyAndSharedWhenSet)
{
    ZeARTTIAttributeContainer copy;
    copy.SetAttribute(make<Shared>(9));
    copy.CopyFrom(container);
    EXPECT_THAT(valuesOf(copy), ElementsAre(1, 2)) << "the old content is gone";
    EXPECT_NE(copy.GetAttribute<Cloned>(), container.GetAttribute<Cloned>());
    EXPECT_EQ(copy.GetAttribute<Shared>(), container.GetAttribute<Shared>());

    ZeARTTIAttributeContainer joined;
    joined.SetAttribute(make<Shared>(8));
    joined.SetAttributes(container);
    EXPECT_THAT(valuesOf(joined), ElementsAre(2, 1));
    EXPECT_EQ(joined.GetAttribute<Cloned>(), container.GetAttribute<Cloned>());

    const auto before = container.GetAttribute<Cloned>();
    container.CopyFrom(container);
    container.SetAttributes(container);
    EXPECT_THAT(valuesOf(container), ElementsAre(1, 2));
    EXPECT_EQ(container.GetAttribute<Cloned>(), before);
}

TEST_F(AttributesOfANode, OfClassesThatCanNotBeMadeAreSkipped)
{
    for (const auto* name :
         {CB_TEXT("NobodyKnowsThis"), CB_TEXT("ZeARTTIAttribute"), CB_TEXT("")}) {
        read(container, record(1, 2, [&](auto& stream) {
                 stream << CString(name) << std::uint32_t{3};
                 stream.WriteBuffer("abc", 3);
                 stream << CString(CB_TEXT("Shared")) << std::uint32_t{4} << std::int32_t{7};
             }));
        EXPECT_THAT(valuesOf(container), ElementsAre(7)) << CString(name).ToUtf8();
    }
}

TEST_F(AttributesOfANode, ReadNoFurtherThanTheirLength)
{
    read(container, record(1, 2, [](auto& stream) {
             stream << CString(CB_TEXT("Shared")) << std::uint32_t{8} << std::int32_t{7}
                    << std::int32_t{8} << CString(CB_TEXT("Cloned")) << std::uint32_t{4}
                    << std::int32_t{9};
         }));
    EXPECT_THAT(valuesOf(container), ElementsAre(7, 9)) << "what is left unread is skipped";
    const auto tooShort = record(1, 1, [](auto& stream) {
        stream << CString(CB_TEXT("Shared")) << std::uint32_t{3} << std::int32_t{5};
    });
    EXPECT_THROW(read(container, tooShort), CbExceptionStream);
    EXPECT_THAT(valuesOf(container), ElementsAre(7, 9));
}

TEST_F(AttributesOfANode, SurviveAnyCutAndAnUnknownVersion)
{
    const auto bytes = Stored([&](auto& stream) { container.Serialize(stream); });
    ZeARTTIAttributeContainer other;
    other.SetAttribute(make<Shared>(9));
    ExpectCutsThrow<CbExceptionStream>(
        bytes, [&](const Bytes& cut) { read(other, cut); },
        [&](std::size_t) { EXPECT_THAT(valuesOf(other), ElementsAre(9)); });
    for (const std::uint32_t version : {0u, 2u}) {
        EXPECT_THROW(read(other, record(version, 0, [](auto&) {})), CbExceptionWrongFileVersion);
        EXPECT_THAT(valuesOf(other), ElementsAre(9));
    }
    read(other, bytes);
    EXPECT_THAT(valuesOf(other), ElementsAre(1, 2)) << "in place of the old ones";
    EXPECT_THAT(other.GetTypes(), ElementsAre(&Cloned::RTTI, &Shared::RTTI));
}

} // namespace
