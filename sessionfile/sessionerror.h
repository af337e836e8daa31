#pragma once

#include <stdexcept>
#include <string>

namespace sessionfile
{

/// A session that cannot be read, or that nobody could read. The text is one line and says what is
/// wrong and where.
class SessionError : public std::runtime_error
{
public:
    enum class EKind
    {
        Unreadable,   ///< missing, cut short, no session, of an unknown version, or damaged
        Inconsistent, ///< undamaged, but its records make no sense, or not one tree
        Unwritable    ///< what should be written could not be read back
    };

    SessionError(EKind kind, const std::string& text);
    ~SessionError() override;

    [[nodiscard]] EKind GetKind() const noexcept { return kind_; }

private:
    EKind kind_;
};

} // namespace sessionfile
