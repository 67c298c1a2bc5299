#pragma once

#include "resource/core/iresourcepacker.h"

namespace ResourceAnimation
{

/// A packer's tie to its host: the utility that knows the options and the context that takes messages. Part of every
/// packer; one host call.
class ZPackerBinding
{
public:
    ZPackerBinding(const ZPackerBinding&) = delete;
    ZPackerBinding& operator=(const ZPackerBinding&) = delete;

protected:
    /// Assertion: "m_pPackerUtility != 0".
    ZPackerBinding();
    ~ZPackerBinding();

    /// Binds the context and checks that a platform was given. Misuse by the host is traced.
    bool Bind(IResourcePackerContext* pContext);
    /// Value of the option "t". Assertion: "bSuccess".
    ZString ReadTargetPlatform() const;

    IPackerUtility* m_pPackerUtility; ///< owned
    IResourcePackerContext* m_pContext = nullptr;
};

} // namespace ResourceAnimation
