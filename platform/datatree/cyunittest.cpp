#include "platform/datatree/cyunittest.h"

#include "platform/base/cbexception.h"

#include <cstdarg>
#include <cstdio>
#include <exception>
#include <utility>

CyUnitTest::~CyUnitTest() = default;

void CyUnitTest::Run()
{
    for (std::size_t index = 0; index < getNumberOfSubtests(); ++index) {
        const std::string subtest = getSubtestName(index);
        try {
            if (runUnitTest(subtest)) continue;
            SetError();
            Write(eError, "Subtest %s is not known", subtest.c_str());
        } catch (const std::exception& exception) {
            SetError();
            Write(eError, "Subtest %s threw %s", subtest.c_str(), exception.what());
        } catch (...) {
            SetError();
            Write(eError, "Subtest %s threw an unknown exception", subtest.c_str());
        }
    }
}

std::vector<CyUnitTest::Line> CyUnitTest::GetLog() const
{
    const CbCriticalSectionLock lock(section_);
    return log_;
}

void CyUnitTest::Write(EMessageType type, const char* format, ...)
{
    const CbCriticalSectionLock lock(section_);
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    if (length < 0) {
        throw CbException(CB_HERE, std::string("cannot apply the format '") + format + "'");
    }

    std::string text(static_cast<std::size_t>(length), '\0');
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    va_end(arguments);
    log_.push_back({type, std::move(text)});
}
