#pragma once

#include "platform/base/cstring.h"
#include "platform/base/iobject.h"

/// Run-time type record of a class: name, factory functions and base record.
///
/// Records are static objects, compared by address. Construction registers a record under its name,
/// destruction takes it out again, so that objects can be made by class name. The registry outlives
/// all records.
///
/// Threads: the registry has its own lock; records do not change.
class PLATFORM_API CbRTTI
{
public:
    /// Makes an unowned object of the class by its default constructor.
    using CreateFunction = IObject* (*)();
    /// Makes an unowned copy of an object of exactly this class.
    using CloneFunction = IObject* (*)(const IObject&);

    /// @param name class name, with static storage
    /// @param create null for an abstract class
    /// @param clone null for a class that can't be copied
    /// @param base record of the base class, or null
    CbRTTI(const CbWChar* name, CreateFunction create, CloneFunction clone,
           const CbRTTI* base = nullptr);
    CbRTTI(const CbRTTI&) = delete;
    CbRTTI& operator=(const CbRTTI&) = delete;
    ~CbRTTI();

    /// What the constructor was given.
    [[nodiscard]] CString::View GetName() const noexcept { return name_; }
    [[nodiscard]] const CbRTTI* GetBase() const noexcept { return base_; }
    [[nodiscard]] CreateFunction getCreate() const noexcept { return create_; }
    [[nodiscard]] CloneFunction getClone() const noexcept { return clone_; }

    /// True if this is @p type or one of the records below it. Cost: linear in the depth.
    [[nodiscard]] bool IsKindOf(const CbRTTI& type) const noexcept;

    /// Returns the record registered under a class name, or null. If several modules register
    /// one name the first stays in force.
    [[nodiscard]] static const CbRTTI* Find(const CString& name);
    /// Returns the create function registered for a class name; null for an unknown or abstract
    /// class.
    [[nodiscard]] static CreateFunction getCreate(const CString& name);

private:
    CString::View name_;
    CreateFunction create_;
    CloneFunction clone_;
    const CbRTTI* base_;
};
