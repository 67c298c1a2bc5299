#include "resource/core/iresourcedatabase.h"

namespace
{
IResourceDatabase* g_pDatabase = nullptr;
} // namespace

IResourceDatabase* GetResourceDatabase()
{
    return g_pDatabase;
}

void SetResourceDatabase(IResourceDatabase* pDatabase)
{
    g_pDatabase = pDatabase;
}
