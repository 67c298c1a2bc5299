#pragma once

#include "base/component/componentbase.h"
#include "base/component/componentcreateinfo.h"
#include "system/serializer/binaryserializer.h"

class ZBinarySerializerImpl final : public TCountedComponent<ZBinarySerializerImpl, IBinarySerializer>
{
public:
    explicit ZBinarySerializerImpl(ZComponentCreateInfo& info);
    bool Serialize(const ZObjectRef& object) override;

private:
    IOutputStream* m_pStream = nullptr;
    EEndian m_eEndian = NATIVE_ENDIAN;
};
