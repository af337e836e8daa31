#pragma once

#include "examples/scansession/scans/inputerror.h"

#include <gtest/gtest.h>
#include <string>

/// The text of the InputError that @p action throws; a failure where it throws none.
template<class Action>
std::string InputErrorOf(Action action)
{
    try {
        action();
    } catch (const scansession::InputError& error) {
        return error.what();
    }
    ADD_FAILURE() << "no InputError";
    return {};
}
