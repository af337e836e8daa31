#include "platform/attributes/zearttiattributecontainer.h"
#include "platform/base/cbexceptionstream.h"
#include "platform/base/cbexceptionwrongfileversion.h"
#include "platform/base/cystreamreadbinarybuffer.h"
#include "platform/base/cystreamwritebinarybuffer.h"

#include <gmock/gmock.h>

namespace
{

using testing::ElementsAre;

// An attribute that holds one number.
class Number : public ZeARTTIAttribute
{
public:
    void Serialize(CbStreamWriteBinary& stream) const override { stream << value; }
    void Serialize(CbStreamReadBinary& stream) override { stream >> value; }

    std::int32_t value = 0;

protected:
    ~Number() override = default;
};

template<class T>
IObject* create()
{
    return new T;
}
template<class T>
IObject* clone(const IObject& object)
{
    return new T(static_cast<const T&>(object));
}

class Cloned : public Number
{
public:
    static const CbRTTI RTTI;
    const CbRTTI& GetRTTI() const override { return RTTI; }

protected:
    ~Cloned() override = default;
    bool ResetAttribute() override
    {
        value = 0;
        return true;
    }
};
const CbRTTI Cloned::RTTI(CB_TEXT("Cloned"), &create<Cloned>, &clone<Cloned>,
                          &ZeARTTIAttribute::RTTI);

class Shared : public Number
{
public:
    static const CbRTTI RTTI;
    const CbRTTI& GetRTTI() const override { return RTTI; }

protected:
    ~Shared() override = default;
};
const CbRTTI Shared::RTTI(CB_TEXT("Shared"), &create<Shared>, nullptr, &ZeARTTIAttribute::RTTI);

// Of the same kind as Cloned but of another class.
class Derived : public Cloned
{
public:
    static const CbRTTI RTTI;
    const CbRTTI& GetRTTI() const override { return RTTI; }

protected:
    ~Derived() override = default;
};
const CbRTTI Derived::RTTI(CB_TEXT("Derived"), &create<Derived>, &clone<Derived>, &Cloned::RTTI);

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
        values.push_back(static_cast<const Number&>(*attribute).value);
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

    static void read(ZeARTTIAttributeContainer& into, const CyStreamWriteBinaryBuffer& bytes)
    {
        CyStreamReadBinaryBuffer stream(bytes);
        into.Serialize(stream);
        EXPECT_EQ(stream.Remaining(), 0u);
    }

    ZeARTTIAttributeContainer container;
};

TEST_F(AttributesOfANode, AreOneOfEachExactTypeInTheOrderOfTheirComing)
{
    container.SetAttribute(make<Derived>(3));
    container.SetAttribute(make<Cloned>(4));
    container.SetAttribute(nullptr);
    EXPECT_THAT(valuesOf(container), ElementsAre(4, 2, 3));
    EXPECT_THAT(container.GetTypes(), ElementsAre(&Cloned::RTTI, &Shared::RTTI, &Derived::RTTI));
    EXPECT_EQ(container.GetAttribute<Derived>()->value, 3);

    container.DeleteAttribute(Cloned::RTTI);
    container.DeleteAttribute(Cloned::RTTI);
    EXPECT_EQ(container.GetAttribute<Cloned>(), nullptr) << "a derived one is another type";
    container.DeleteAttributes({&Derived::RTTI, nullptr, &Shared::RTTI});
    EXPECT_TRUE(container.IsEmpty());
}

TEST_F(AttributesOfANode, StayWhenTheyAreReset)
{
    container.ResetAttributes();
    EXPECT_THAT(valuesOf(container), ElementsAre(0, 2)) << "Shared knows no reset";
}

TEST_F(AttributesOfANode, AreClonedOrSharedByACopyAndSharedWhenSet)
{
    ZeARTTIAttributeContainer copy;
    copy.SetAttribute(make<Derived>(9));
    copy.CopyFrom(container);
    EXPECT_THAT(valuesOf(copy), ElementsAre(1, 2)) << "the old content is gone";
    EXPECT_NE(copy.GetAttribute<Cloned>(), container.GetAttribute<Cloned>());
    EXPECT_EQ(copy.GetAttribute<Shared>(), container.GetAttribute<Shared>());

    ZeARTTIAttributeContainer joined;
    joined.SetAttribute(make<Derived>(9));
    joined.SetAttribute(make<Shared>(8));
    joined.SetAttributes(container);
    EXPECT_THAT(valuesOf(joined), ElementsAre(9, 2, 1));
    EXPECT_EQ(joined.GetAttribute<Cloned>(), container.GetAttribute<Cloned>());

    const auto before = container.GetAttribute<Cloned>();
    container.CopyFrom(container);
    container.SetAttributes(container);
    EXPECT_THAT(valuesOf(container), ElementsAre(1, 2));
    EXPECT_EQ(container.GetAttribute<Cloned>(), before);
}

TEST_F(AttributesOfANode, AreStoredWithNameAndLength)
{
    container.DeleteAttribute(Shared::RTTI);
    CyStreamWriteBinaryBuffer bytes;
    container.Serialize(bytes);
    const auto written = bytes.GetBytes();
    EXPECT_THAT(std::vector<int>(written.begin(), written.end()),
                ElementsAre(1, 0, 0, 0, // version
                            1, 0, 0, 0, // number of attributes
                            6, 0, 0, 0, 'C', 0, 'l', 0, 'o', 0, 'n', 0, 'e', 0, 'd', 0, //
                            4, 0, 0, 0, // bytes of the first one
                            1, 0, 0, 0));
}

TEST_F(AttributesOfANode, ComeBackFromAStreamInPlaceOfTheOldOnes)
{
    CyStreamWriteBinaryBuffer bytes;
    container.Serialize(bytes);
    ZeARTTIAttributeContainer other;
    other.SetAttribute(make<Derived>(9));
    read(other, bytes);
    EXPECT_THAT(valuesOf(other), ElementsAre(1, 2));
    EXPECT_THAT(other.GetTypes(), ElementsAre(&Cloned::RTTI, &Shared::RTTI));
}

TEST_F(AttributesOfANode, OfClassesThatCanNotBeMadeAreSkipped)
{
    for (const auto* name :
         {CB_TEXT("NobodyKnowsThis"), CB_TEXT("ZeARTTIAttribute"), CB_TEXT("")}) {
        CyStreamWriteBinaryBuffer bytes;
        bytes.WriteVersion(1);
        bytes << std::uint32_t{2} << CString(name) << std::uint32_t{3};
        bytes.WriteBuffer("abc", 3);
        bytes << CString(CB_TEXT("Shared")) << std::uint32_t{4} << std::int32_t{7};
        read(container, bytes);
        EXPECT_THAT(valuesOf(container), ElementsAre(7)) << CString(name).ToUtf8();
    }
}

TEST_F(AttributesOfANode, ReadNoFurtherThanTheirLength)
{
    CyStreamWriteBinaryBuffer longer;
    longer.WriteVersion(1);
    longer << std::uint32_t{2} << CString(CB_TEXT("Shared")) << std::uint32_t{8} << std::int32_t{7}
           << std::int32_t{8};
    longer << CString(CB_TEXT("Cloned")) << std::uint32_t{4} << std::int32_t{9};
    read(container, longer);
    EXPECT_THAT(valuesOf(container), ElementsAre(7, 9)) << "what is left unread is skipped";

    CyStreamWriteBinaryBuffer shorter;
    shorter.WriteVersion(1);
    shorter << std::uint32_t{1} << CString(CB_TEXT("Shared")) << std::uint32_t{3}
            << std::int32_t{5};
    EXPECT_THROW(read(container, shorter), CbExceptionStream);
    EXPECT_THAT(valuesOf(container), ElementsAre(7, 9));
}

TEST_F(AttributesOfANode, SurviveAnyCutAndAnUnknownVersion)
{
    CyStreamWriteBinaryBuffer bytes;
    container.Serialize(bytes);
    ZeARTTIAttributeContainer other;
    other.SetAttribute(make<Derived>(9));
    for (std::size_t length = 0; length < bytes.GetCount(); ++length) {
        CyStreamReadBinaryBuffer cut(bytes.GetData(), length);
        EXPECT_THROW(other.Serialize(cut), CbExceptionStream) << length;
        EXPECT_THAT(valuesOf(other), ElementsAre(9)) << length;
    }
    for (const std::uint32_t version : {0u, 2u}) {
        CyStreamWriteBinaryBuffer record;
        record.WriteVersion(version);
        record << std::uint32_t{0};
        try {
            read(other, record);
            ADD_FAILURE() << version;
        } catch (const CbExceptionWrongFileVersion& exception) {
            EXPECT_EQ(exception.GetFile(), "zearttiattributecontainer");
        }
        EXPECT_THAT(valuesOf(other), ElementsAre(9));
    }
}

} // namespace
