#pragma once

#include "platform/base/cbreferencecounted.h"
#include "platform/base/cbsmartpointer.h"

#include <atomic>
#include <functional>

/// A reference-counted object that knows how many of its kind are alive and may have a child.
class Counted : public CbReferenceCounted
{
public:
    explicit Counted(int value = 0) : number(value) { ++alive; }
    Counted(const Counted& other) : CbReferenceCounted(other), number(other.number) { ++alive; }
    Counted& operator=(const Counted&) = default;

    [[nodiscard]] int GetReferences() const { return getReferenceCounter().GetCount(); }

    static inline std::atomic<int> alive{0};

    int number;
    CbSmartPointer<Counted> child;
    std::function<void()> farewell; ///< called by the destructor

protected:
    ~Counted() override
    {
        if (farewell) farewell();
        --alive;
    }
};
