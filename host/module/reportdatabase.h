#pragma once

#include "host/files/outputfile.h"
#include "resource/core/iresourcedatabase.h"

namespace Host
{

/// The process's resource database while a report is written: has this one resource and no other.
class ZReportDatabase final : public IResourceDatabase
{
public:
    /// ZHostError when the file can't be written.
    ZReportDatabase(const ZResourceID& id, const std::string& sPath);
    ~ZReportDatabase();
    ZReportDatabase(const ZReportDatabase&) = delete;
    ZReportDatabase& operator=(const ZReportDatabase&) = delete;

    /// The file is complete and stands in its place. ZHostError when it does not.
    void Publish();

    IOutputStream* OpenOutputStream(const ZResourceID& id) override;
    void AddSourceDependency(const ZResourceID&) override {}
    void* OpenInputStream(const ZResourceID&, STypeID*, int, int) override { return nullptr; }
    SResourceInfo QuerySourceResource(const ZResourceID&) override { return {}; }
    ZFilePath GetResourceFilePath(const ZResourceID&) override { return {}; }
    bool BeginResourceUpdate(const ZResourceID&, int) override { return false; }
    void EndResourceUpdate(int) override {}

private:
    [[noreturn]] void Fail() const;

    ZResourceID m_id;
    ZOutputFile m_file;
};

} // namespace Host
