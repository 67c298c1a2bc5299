#pragma once

#include "base/misc/assert.h"
#include "base/misc/zstring.h"

namespace ResourceAnimation
{

/// What a packer or scanner reports to its user. Carries one finished message.
class ZAnimationException
{
public:
    explicit ZAnimationException(const ZString& message) : m_sMessage(message) {}
    virtual ~ZAnimationException() = default;
    const ZString& Message() const { return m_sMessage; }
    operator ZString() const { return m_sMessage; }

private:
    ZString m_sMessage;
};

class ZAnimationPackerException : public ZAnimationException
{
public:
    using ZAnimationException::ZAnimationException;
};

class ZRigPackerException : public ZAnimationException
{
public:
    using ZAnimationException::ZAnimationException;
};

class ZAnimationDatabaseFactoryException : public ZAnimationException
{
public:
    using ZAnimationException::ZAnimationException;
};

/// Faults of a scene. The scene reader turns them into ZAnimationException, so packers and scanner see one kind.
class ZFbxException
{
public:
    explicit ZFbxException(const ZString& message) : m_sMessage(message) {}
    virtual ~ZFbxException() = default;
    const ZString& Message() const { return m_sMessage; }
    operator ZString() const { return m_sMessage; }

private:
    ZString m_sMessage;
};

/// A required property, node or stack is missing.
class ZFbxObjectDoesNotExistException : public ZFbxException
{
public:
    using ZFbxException::ZFbxException;
};

/// A property has another data type than required.
class ZFbxInvalidTypeException : public ZFbxException
{
public:
    using ZFbxException::ZFbxException;
};

/// The file can't be loaded.
class ZFbxImportFailedException : public ZFbxException
{
public:
    using ZFbxException::ZFbxException;
};

} // namespace ResourceAnimation
