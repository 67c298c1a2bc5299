#include "resource/animation/packer/packerbinding.h"

#include "base/component/componentmanager.h"
#include "base/misc/trace.h"

namespace ResourceAnimation
{

ZPackerBinding::ZPackerBinding() : m_pPackerUtility(CreateComponent<IPackerUtility>(PACKER_UTILITY))
{
    ZASSERT_OR_HALT_TEXT(m_pPackerUtility != nullptr, "m_pPackerUtility != 0");
}

ZPackerBinding::~ZPackerBinding()
{
    m_pPackerUtility->Release();
}

bool ZPackerBinding::Bind(IResourcePackerContext* pContext)
{
    m_pContext = pContext;
    if (pContext == nullptr)
    {
        ZTRACE(ITraceListener::eTrace_Failure, "ZAnimationPackerBase",
               "Invalid IResourcePackerContext pointer specified.");
        return false;
    }
    if (!m_pPackerUtility->SetContext(pContext))
        return false;
    ZString platform;
    if (!m_pPackerUtility->GetOption("t", platform))
    {
        ZTRACE(ITraceListener::eTrace_Failure, "ZAnimationPackerBase",
               "No target platform specified. Use '-t:<platform_name>' when running this packer.");
        return false;
    }
    return true;
}

ZString ZPackerBinding::ReadTargetPlatform() const
{
    ZString platform;
    const bool bSuccess = m_pPackerUtility->GetOption("t", platform);
    ZASSERT(bSuccess);
    return platform;
}

} // namespace ResourceAnimation
