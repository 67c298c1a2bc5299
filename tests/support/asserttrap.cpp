#include "tests/support/asserttrap.h"

#include <mutex>

namespace
{
std::mutex g_mutex;
ZAssertTrap* g_pInnermost = nullptr;
} // namespace

ZAssertTrap::ZAssertTrap(EMode eMode) : m_eMode(eMode)
{
    const std::lock_guard lock(g_mutex);
    m_pOuter = std::exchange(g_pInnermost, this);
    m_pOuterHandler = SetAssertHandler(&OnAssert);
}

ZAssertTrap::~ZAssertTrap()
{
    const std::lock_guard lock(g_mutex);
    g_pInnermost = m_pOuter;
    SetAssertHandler(m_pOuterHandler);
}

void ZAssertTrap::Clear()
{
    const std::lock_guard lock(g_mutex);
    m_expressions.Clear();
    m_messages.Clear();
}

bool ZAssertTrap::OnAssert(const char*, int, const char* szExpression, bool*, const char* szMessage, const char*)
{
    const std::lock_guard lock(g_mutex);
    if (g_pInnermost == nullptr)
        return false;
    g_pInnermost->m_expressions.Add(ZString::AllocateFromCString(szExpression));
    g_pInnermost->m_messages.Add(ZString::AllocateFromCString(szMessage));
    if (g_pInnermost->m_eMode == EMode::eThrow)
        throw SFailed{ZString::AllocateFromCString(szExpression)};
    return true;
}
