#pragma once

#include "base/misc/export.h"

#include <cstdlib>

/// Thrown for a condition that must never occur. It carries no message.
struct Z_EXPORT zhalt_exception
{
    unsigned char m_unused = 0;
};

/// Reports a failed assertion to the handler in force. True: the program goes on behind the assertion. False: it stops
/// there. `pIgnoreFlag` belongs to the assertion's site; a handler that sets it hears no more of that site.
Z_EXPORT bool assertFunctionMsg(const char* szFile, int nLine, const char* szExpression, bool* pIgnoreFlag,
                                const char* szMessage, const char* szExtra);

/// A handler may also throw: that is how a host turns a failed assertion into the failure of one asset.
using FAssertHandler = bool (*)(const char* szFile, int nLine, const char* szExpression, bool* pIgnoreFlag,
                                const char* szMessage, const char* szExtra);

/// Returns the handler so far. Null restores the default, which prints to standard error and stops the program.
Z_EXPORT FAssertHandler SetAssertHandler(FAssertHandler pHandler);

/// Active in every build. The text is what a user will report, so it may differ from the expression; the message, a C
/// string that is made only when the assertion fails, names the asset and the thing.
#define ZASSERT_MESSAGE(expression, text, message)                                                                     \
    do                                                                                                                 \
    {                                                                                                                  \
        static bool s_bIgnoreAssert = false;                                                                           \
        if (!(expression)) [[unlikely]]                                                                                \
        {                                                                                                              \
            if (!s_bIgnoreAssert && !assertFunctionMsg(__FILE__, __LINE__, text, &s_bIgnoreAssert, message, ""))       \
                std::abort();                                                                                          \
        }                                                                                                              \
    } while (false)

#define ZASSERT_TEXT(expression, text) ZASSERT_MESSAGE(expression, text, "")
#define ZASSERT(expression) ZASSERT_TEXT(expression, #expression)

/// For conditions behind which the code could not go on without touching memory that is not its own.
#define ZASSERT_OR_HALT_MESSAGE(expression, text, message)                                                             \
    do                                                                                                                 \
    {                                                                                                                  \
        ZASSERT_MESSAGE(expression, text, message);                                                                    \
        if (!(expression)) [[unlikely]]                                                                                \
            throw zhalt_exception();                                                                                   \
    } while (false)

#define ZASSERT_OR_HALT_TEXT(expression, text) ZASSERT_OR_HALT_MESSAGE(expression, text, "")
#define ZASSERT_OR_HALT(expression) ZASSERT_OR_HALT_TEXT(expression, #expression)
