#pragma once

#include "tests/support/printing.h"

#include <gtest/gtest.h>

/// Text of the exception of this kind that the call has to throw.
template <class TException, class TCall, class... TArguments>
ZString MessageOf(TCall call, const TArguments&... arguments)
{
    try
    {
        call(arguments...);
    }
    catch (const TException& e)
    {
        return e.Message();
    }
    ADD_FAILURE() << "nothing was thrown";
    return ZString();
}
