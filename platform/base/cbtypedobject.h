#pragma once

#include "platform/base/cbrtti.h"
#include "platform/base/iobject.h"

/// What a class that is made by its name adds to its base: the record of its objects, and the
/// function that makes them.
///
/// The class itself has a public `static const CbRTTI RTTI`, which names both functions. It stands
/// in one library, since records are compared by address.
///
/// @code
/// // in the header
/// class Tooth : public CbTypedObject<Tooth, ZeARTTIAttribute>
/// {
/// public:
///     static const CbRTTI RTTI;
/// };
/// // in the source
/// const CbRTTI Tooth::RTTI(CB_TEXT("Tooth"), &CreateByFactory, nullptr, &ZeARTTIAttribute::RTTI);
/// @endcode
///
/// @tparam Class the class itself; has a default constructor
/// @tparam Base its base, an IObject
template<class Class, class Base>
class CbTypedObject : public Base
{
public:
    using Base::Base;

    /// Makes an unowned object by the default constructor. A record holds the function of the
    /// library that has the class, whose address differs from that in other libraries.
    [[nodiscard]] static IObject* CreateByFactory() { return new Class; }

    /// Returns the record of the class.
    [[nodiscard]] const CbRTTI& GetRTTI() const override { return Class::RTTI; }

protected:
    ~CbTypedObject() override = default;
};
