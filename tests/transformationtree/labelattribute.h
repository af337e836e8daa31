#pragma once

#include "platform/attributes/zearttiattribute.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/base/cbstreamreadbinary.h"
#include "platform/base/cbstreamwritebinary.h"
#include "platform/base/cstring.h"

#include <functional>
#include <string>
#include <utility>

/// An attribute that holds a text and can tell when it dies, and with it the node that it hangs on.
class LabelAttribute : public ZeARTTIAttribute
{
public:
    static const CbRTTI RTTI;

    explicit LabelAttribute(std::string text, std::function<void()> onDeath = {})
        : text_(std::move(text)), onDeath_(std::move(onDeath))
    {}

    static IObject* CreateByFactory() { return new LabelAttribute(""); }
    static IObject* CloneByFactory(const IObject& object)
    {
        return new LabelAttribute(dynamic_cast<const LabelAttribute&>(object).text_);
    }
    [[nodiscard]] const CbRTTI& GetRTTI() const override { return RTTI; }

    [[nodiscard]] const std::string& GetText() const { return text_; }

    void Serialize(CbStreamWriteBinary& stream) const override
    {
        stream << CString::FromUtf8(text_);
    }
    void Serialize(CbStreamReadBinary& stream) override
    {
        CString text;
        stream >> text;
        text_ = text.ToUtf8();
    }

protected:
    ~LabelAttribute() override
    {
        if (onDeath_) onDeath_();
    }
    bool ResetAttribute() override
    {
        text_.clear();
        return true;
    }

private:
    std::string text_;
    std::function<void()> onDeath_;
};

inline const CbRTTI LabelAttribute::RTTI(CB_TEXT("LabelAttribute"),
                                         &LabelAttribute::CreateByFactory,
                                         &LabelAttribute::CloneByFactory, &ZeARTTIAttribute::RTTI);
