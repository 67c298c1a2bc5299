#pragma once

#include "base/misc/zstring.h"

namespace ResourceAnimation
{

/// Severities of messages for the user.
enum EMessageSeverity : int
{
    eMessage_Error = 0,
    eMessage_Warning = 1,
    eMessage_Info = 2
};

/// Takes a message and its severity: a member function with its object, or, when the object is null, a free function.
class ZMessageDelegate
{
public:
    using FFree = void (*)(const ZString& message, int nSeverity);

    explicit ZMessageDelegate(FFree pFunction) : m_pFunction(pFunction) {}

    /// METHOD is a member function of T that takes message and severity.
    template <class T, auto METHOD>
    static ZMessageDelegate Bind(T* pObject)
    {
        ZMessageDelegate result(nullptr);
        result.m_pObject = pObject;
        result.m_pMember = [](void* p, const ZString& message, int nSeverity)
        { (static_cast<T*>(p)->*METHOD)(message, nSeverity); };
        return result;
    }

    void operator()(const ZString& message, int nSeverity) const
    {
        if (m_pObject != nullptr)
            m_pMember(m_pObject, message, nSeverity);
        else if (m_pFunction != nullptr)
            m_pFunction(message, nSeverity);
    }

private:
    void* m_pObject = nullptr;
    void (*m_pMember)(void*, const ZString&, int) = nullptr;
    FFree m_pFunction = nullptr;
};

} // namespace ResourceAnimation
