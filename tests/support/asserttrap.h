#pragma once

#include "base/collections/tarray.h"
#include "base/misc/assert.h"
#include "tests/support/printing.h"

/// Stands in the door of assertions for the time of a scope: records what fails and lets the program go on, or throws
/// as a host does. Traps nest; those of several threads share the innermost one.
class ZAssertTrap
{
public:
    /// What a throwing trap throws; the text is the assertion's.
    struct SFailed
    {
        ZString expression;
    };
    enum class EMode
    {
        eGoOn,
        eThrow
    };

    explicit ZAssertTrap(EMode eMode = EMode::eGoOn);
    ZAssertTrap(const ZAssertTrap&) = delete;
    ZAssertTrap& operator=(const ZAssertTrap&) = delete;
    ~ZAssertTrap();

    uint32_t Count() const { return m_expressions.Size(); }
    const TArray<ZString>& Expressions() const { return m_expressions; }
    /// Empty when none has failed.
    ZString FirstExpression() const { return m_expressions.IsEmpty() ? ZString() : m_expressions[0]; }
    /// Message that came with the first failure.
    ZString FirstMessage() const { return m_messages.IsEmpty() ? ZString() : m_messages[0]; }
    void Clear();

private:
    static bool OnAssert(const char* szFile, int nLine, const char* szExpression, bool* pIgnoreFlag,
                         const char* szMessage, const char* szExtra);

    TArray<ZString> m_expressions;
    TArray<ZString> m_messages;
    ZAssertTrap* m_pOuter;
    FAssertHandler m_pOuterHandler;
    EMode m_eMode;
};
