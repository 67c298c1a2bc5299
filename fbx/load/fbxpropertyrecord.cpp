#include "fbx/load/fbxpropertyrecord.h"

#include "fbx/file/fbxrecord.h"
#include "fbx/types/fbxpropertytypes.h"

namespace
{

const double* CopyMatrix(const SFbxRecord& record, uint32_t nFirst, FbxArena& arena)
{
    double* pMatrix = arena.AllocateArray<double>(16);
    for (uint32_t n = 0; n < 16; ++n)
    {
        const SFbxValue* pValue = record.Value(nFirst + n);
        pMatrix[n] = pValue ? pValue->AsDouble() : (n % 5 == 0 ? 1.0 : 0.0);
    }
    return pMatrix;
}

} // namespace

bool FbxParseProperty(const SFbxRecord& record, bool bLabel, const FbxFileTime& fileTime, FbxArena& arena,
                      SFbxPropertyData& data)
{
    const uint32_t nFlagsAt = bLabel ? 3 : 2;
    if (record.nValues <= nFlagsAt || !record.pValues[0].IsText() || !record.pValues[1].IsText())
        return false;
    const SFbxTypeInfo* pType = FbxFindType(record.Text(1));
    if (!pType)
        return false;
    data.name = arena.CopyText(record.Text(0));
    data.typeName = pType->name;
    data.eType = pType->eType;
    data.nChannels = pType->nChannels;
    data.nFlags = FbxParseFlags(record.Text(nFlagsAt));

    const uint32_t nFirst = nFlagsAt + 1;
    const SFbxValue* pFirst = record.Value(nFirst);
    if (!pFirst)
        return true;
    if (data.nChannels == 0)
    {
        data.text = arena.CopyText(pFirst->AsText());
        return true;
    }
    if (data.eType == EFbxType::eDouble4x4)
    {
        data.pMatrix = CopyMatrix(record, nFirst, arena);
        data.values[0] = data.pMatrix[0];
        return true;
    }
    for (uint32_t n = 0; n < data.nChannels && nFirst + n < record.nValues; ++n)
        data.values[n] = record.pValues[nFirst + n].AsDouble();
    data.integer = pFirst->AsInt64();
    if (data.eType == EFbxType::eTime && !fileTime.IsOfScenes())
    {
        data.integer = fileTime.Ticks(data.integer);
        data.values[0] = static_cast<double>(data.integer);
    }
    // Old files write booleans and enumerations as words now and then.
    if (pFirst->IsText() && !pFirst->AsText().empty())
    {
        const char c = pFirst->AsText()[0];
        data.integer = c == 'T' || c == 't' || c == 'Y' || c == 'y';
        data.values[0] = static_cast<double>(data.integer);
    }
    return true;
}
