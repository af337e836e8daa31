#pragma once

#include "platform/base/platformapi.h"

/// Access to optional interfaces of an object by name.
class PLATFORM_API IExtensionInterface
{
protected:
    // First, since the order of the virtual functions is part of the interface.
    virtual ~IExtensionInterface() = default;

public:
    /// Returns the extension of that name, owned by the object. An unknown name gives null, or
    /// throws CbExceptionUnknownExtension if @p throwIfUnknown is true.
    [[nodiscard]] virtual const IExtensionInterface* GetExtension(const char* name,
                                                                  bool throwIfUnknown) const = 0;
    [[nodiscard]] virtual IExtensionInterface* GetExtension(const char* name,
                                                            bool throwIfUnknown) = 0;

protected:
    IExtensionInterface() = default;
    IExtensionInterface(const IExtensionInterface&) = default;
    IExtensionInterface& operator=(const IExtensionInterface&) = default;
};
