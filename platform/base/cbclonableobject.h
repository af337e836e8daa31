#pragma once

#include "platform/base/cbtypedobject.h"

/// As CbTypedObject, for a class whose objects can be cloned.
///
/// @tparam Class has a copy constructor; makes this class a friend if that is not public
template<class Class, class Base>
class CbClonableObject : public CbTypedObject<Class, Base>
{
public:
    using CbTypedObject<Class, Base>::CbTypedObject;

    /// Makes an unowned copy by the copy constructor.
    /// Throws: std::bad_cast for an object of another class.
    [[nodiscard]] static IObject* CloneByFactory(const IObject& object)
    {
        return new Class(dynamic_cast<const Class&>(object));
    }

protected:
    ~CbClonableObject() override = default;
};
