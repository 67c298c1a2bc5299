#include "base/misc/assert.h"

#include <atomic>
#include <cstdio>

namespace
{

bool PrintAndStop(const char* szFile, int nLine, const char* szExpression, bool*, const char* szMessage, const char*)
{
    std::fprintf(stderr, "%s:%d: assertion failed: %s %s\n", szFile, nLine, szExpression, szMessage);
    return false;
}

std::atomic<FAssertHandler> g_pHandler{&PrintAndStop};

} // namespace

bool assertFunctionMsg(const char* szFile, int nLine, const char* szExpression, bool* pIgnoreFlag,
                       const char* szMessage, const char* szExtra)
{
    return g_pHandler.load()(szFile, nLine, szExpression, pIgnoreFlag, szMessage, szExtra);
}

FAssertHandler SetAssertHandler(FAssertHandler pHandler)
{
    return g_pHandler.exchange(pHandler ? pHandler : &PrintAndStop);
}
