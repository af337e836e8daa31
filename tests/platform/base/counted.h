#pragma once

#include "platform/base/cbreferencecounted.h"
#include "platform/base/cbsmartpointer.h"
#include "platform/base/cbweakpointer.h"

#include <atomic>
#include <functional>

/// A reference-counted object that knows how many of its kind are alive, with a strong link to a
/// child and a weak one to a father.
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
    CbWeakPointer<Counted> father;
    std::function<void()> farewell; ///< called by the destructor

protected:
    ~Counted() override
    {
        if (farewell) farewell();
        --alive;
    }
};
