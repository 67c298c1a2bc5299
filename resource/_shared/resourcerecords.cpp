#include "resource/_shared/resourcerecords.h"

#include "base/typeinfo/ttype.h"

namespace
{

template <class T, size_t N>
void RegisterRecord(const STypeField (&fields)[N])
{
    static const TRecordType<T> s_type(fields);
    static const ZTypeRegistration s_registration(&s_type);
}

template <class T>
void RegisterArray()
{
    static const TArrayType<T> s_type;
    static const ZTypeRegistration s_registration(&s_type);
}

} // namespace

void RegisterResourceRecords()
{
    static const TScalarType<ZTime> s_time(sizeof(int64_t), [](const ZTime& time, ZString& text)
                                           { ZVariantRef(time.m_nNanoseconds).AppendText(text); });
    static const ZTypeRegistration s_timeRegistration(&s_time);

    using SMessage = SBuildResourceMessage;
    static const STypeField s_message[] = {Z_FIELD(SMessage, bFailed), Z_FIELD(SMessage, resourceID),
                                           Z_FIELD(SMessage, sMessage)};
    RegisterRecord<SMessage>(s_message);
    RegisterArray<SMessage>();

    using SResult = SLoadResourceResult;
    static const STypeField s_result[] = {Z_FIELD(SResult, nFileVersion), Z_FIELD(SResult, sFilePath),
                                          Z_FIELD(SResult, sOutputMessage), Z_FIELD(SResult, sErrorMessage),
                                          Z_FIELD(SResult, aSubResourceMessages)};
    RegisterRecord<SResult>(s_result);
    RegisterArray<SResult>();
    static const STypeField s_results[] = {Z_FIELD(SLoadResourceResultArray, array)};
    RegisterRecord<SLoadResourceResultArray>(s_results);

    using SInfo = SResourceInfo;
    static const STypeField s_info[] = {Z_FIELD(SInfo, bExists), Z_FIELD(SInfo, bIsReadOnly),
                                        Z_FIELD(SInfo, lastModificationTime)};
    RegisterRecord<SInfo>(s_info);

    using SStatus = SResourceSourceControlStatus;
    static const STypeField s_status[] = {Z_FIELD(SStatus, clientFile),     Z_FIELD(SStatus, depotFile),
                                          Z_FIELD(SStatus, headAction),     Z_FIELD(SStatus, headType),
                                          Z_FIELD(SStatus, action),         Z_FIELD(SStatus, type),
                                          Z_FIELD(SStatus, otherOpenUser),  Z_FIELD(SStatus, changeList),
                                          Z_FIELD(SStatus, nHeadChange),    Z_FIELD(SStatus, nHeadRevision),
                                          Z_FIELD(SStatus, nHaveRevision),  Z_FIELD(SStatus, bValid),
                                          Z_FIELD(SStatus, bInChangeList),  Z_FIELD(SStatus, bInOurChangeList),
                                          Z_FIELD(SStatus, bLocked),        Z_FIELD(SStatus, bOurLock),
                                          Z_FIELD(SStatus, otherLockUser),  Z_FIELD(SStatus, bSubmitLocked),
                                          Z_FIELD(SStatus, bOurSubmitLock), Z_FIELD(SStatus, otherSubmitLockUser),
                                          Z_FIELD(SStatus, sErrorMessage)};
    RegisterRecord<SStatus>(s_status);
}
