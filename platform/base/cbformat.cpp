#include "platform/base/cbformat.h"

#include "platform/base/cbexception.h"

#include <array>
#include <charconv>
#include <string>

namespace
{

/// The unit behind a percent sign.
enum class EDirective : char
{
    Text = 's',
    Signed = 'd',
    Unsigned = 'u',
    LowerHex = 'x',
    UpperHex = 'X',
    Floating = 'f',
    Percent = '%'
};

} // namespace

/// Walks a format and puts the arguments in. Where the next one comes from is the caller's
/// business.
class CbFormatter
{
public:
    explicit CbFormatter(const CbWChar* format) : format_(format != nullptr ? format : CB_TEXT(""))
    {}

    /// @param next takes the directive and returns its argument
    template<class Next>
    CString Run(Next next)
    {
        for (const CbWChar* unit = format_; *unit != 0; ++unit) {
            if (*unit != CbWChar{'%'}) {
                result_.push_back(*unit);
                continue;
            }
            const EDirective directive = directiveAt(*++unit);
            if (directive == EDirective::Percent) {
                result_.push_back(*unit);
            } else {
                append(directive, next(directive));
            }
        }
        return CString(CString::View(result_));
    }

    /// Throws for a format that does not fit its arguments.
    [[noreturn]] void Fail(const std::string& what) const
    {
        throw CbException(CB_HERE, what + " in the format \"" + CString(format_).ToUtf8() + '"');
    }

private:
    using Kind = CbFormatArgument::Kind;

    [[nodiscard]] EDirective directiveAt(CbWChar unit) const
    {
        using enum EDirective;
        for (const auto known : {Text, Signed, Unsigned, LowerHex, UpperHex, Floating, Percent}) {
            if (unit == static_cast<CbWChar>(known)) return known;
        }
        Fail("unknown directive");
    }

    void append(EDirective directive, const CbFormatArgument& argument)
    {
        const Kind wanted = directive == EDirective::Text       ? Kind::Text
                            : directive == EDirective::Floating ? Kind::Floating
                                                                : Kind::Integer;
        if (argument.kind_ != wanted) {
            Fail(std::string("argument of another type than %") + static_cast<char>(directive));
        }
        const std::size_t first = result_.size();
        switch (directive) {
        case EDirective::Text:
            result_.append(argument.text_);
            break;
        case EDirective::Signed:
            if (argument.isSigned_) {
                appendNumber(argument.signed_, 10);
            } else {
                appendNumber(argument.unsigned_, 10);
            }
            break;
        case EDirective::Unsigned:
            appendNumber(argument.unsigned_, 10);
            break;
        case EDirective::Floating:
            appendNumber(argument.floating_, std::chars_format::fixed, 6);
            break;
        case EDirective::LowerHex:
            appendNumber(argument.unsigned_, 16);
            break;
        case EDirective::UpperHex:
            appendNumber(argument.unsigned_, 16);
            toUpper(first);
            break;
        case EDirective::Percent: // takes no argument
            break;
        }
    }

    template<class... Args>
    void appendNumber(Args... args)
    {
        std::array<char, 400> text; // the largest double has 309 digits before the point
        const auto end = std::to_chars(text.data(), text.data() + text.size(), args...).ptr;
        result_.append(text.data(), end);
    }

    void toUpper(std::size_t first)
    {
        for (std::size_t i = first; i < result_.size(); ++i) {
            if (result_[i] >= CbWChar{'a'}) result_[i] = static_cast<CbWChar>(result_[i] - 32);
        }
    }

    const CbWChar* format_;
    std::basic_string<CbWChar> result_;
};

CString CbFormatArguments(const CbWChar* format, std::initializer_list<CbFormatArgument> arguments)
{
    CbFormatter formatter(format);
    auto next = arguments.begin();
    CString result = formatter.Run([&](EDirective directive) {
        if (next == arguments.end()) {
            formatter.Fail(std::string("no argument left for %") + static_cast<char>(directive));
        }
        return *next++;
    });
    if (next != arguments.end()) formatter.Fail("more arguments than directives");
    return result;
}

CString CbFormatV(const CbWChar* format, std::va_list arguments)
{
    // A list handed to a function as it is may not be used by a lambda on all systems.
    std::va_list list;
    va_copy(list, arguments);
    const auto next = [&list](EDirective directive) -> CbFormatArgument {
        switch (directive) {
        case EDirective::Text:
            return va_arg(list, const CbWChar*);
        case EDirective::Floating:
            return va_arg(list, double);
        case EDirective::Signed:
            return va_arg(list, std::int32_t);
        case EDirective::Unsigned:
        case EDirective::LowerHex:
        case EDirective::UpperHex:
        case EDirective::Percent: // takes no argument, and never asks for one
            break;
        }
        return va_arg(list, std::uint32_t);
    };
    try {
        CString result = CbFormatter(format).Run(next);
        va_end(list);
        return result;
    } catch (...) {
        va_end(list);
        throw;
    }
}
