#pragma once

#include <cassert>
#include <exception>
#include <utility>

/// Policy of CbCheckReturn: a result nobody looked at stops a debug build.
struct CbCheckReturnPolicyAssert
{
    /// Called by the destructor of such a result.
    static void OnUnchecked() noexcept { assert(!"a CbCheckReturn was never looked at"); }
};

/// A result that the caller must look at.
///
/// Looking is the conversion to T, or Acknowledge() if the result does not matter; a cast to
/// void is not enough. Moving hands the duty on. A result that goes while an exception unwinds is
/// excused.
template<class T, class Policy>
class [[nodiscard]] CbCheckReturn
{
public:
    /// Implicit, so that functions return the plain value.
    CbCheckReturn(T value) noexcept : value_(std::move(value)) {} // NOLINT: results convert freely
    /// Takes the duty over from the other one.
    CbCheckReturn(CbCheckReturn&& other) noexcept
        : value_(std::move(other.value_)), checked_(std::exchange(other.checked_, true))
    {}
    CbCheckReturn& operator=(CbCheckReturn&&) = delete;
    ~CbCheckReturn()
    {
        if (!checked_ && std::uncaught_exceptions() == unwinding_) Policy::OnUnchecked();
    }

    /// Looks at the result.
    operator const T&() const noexcept // NOLINT: that is how the caller looks
    {
        checked_ = true;
        return value_;
    }

    /// Says that the result was seen and does not matter.
    void Acknowledge() const noexcept { checked_ = true; }

private:
    T value_;
    int unwinding_ = std::uncaught_exceptions();
    mutable bool checked_ = false;
};
