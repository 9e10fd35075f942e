#include <db2json/JsonLoader.h>

#include "DocumentReader.h"

#include <db2/InputStream.h>
#include <db2/Library.h>

#include <stdexcept>

namespace db2 {

JsonLoader::JsonLoader(InputStream& stream, DataInterface& data, CoreManager& core, unsigned int options,
                       kqtl::pod_vector<Migrator*>* migratorsRun)
    : LoadStrategy(stream, data, core, kLatestVersion, options, migratorsRun)
{
}

JsonLoader::~JsonLoader() = default;

Status JsonLoader::doLoad()
{
    unsigned int size = 0;
    if (!getStream().getSize(size))
    {
        logError(L"The stream has no content to load");
        return Status::kFailure;
    }
    try
    {
        json::DocumentReader(*this, size).read();
        return Status::kSuccess;
    }
    catch (const json::LoadFailure& failure)
    {
        return failure.status;
    }
    catch (const std::bad_alloc&)
    {
        logError(L"Memory is out while loading");
    }
    catch (const std::length_error&)
    {
        logError(L"A text or an array is too long to be loaded");
    }
    return Status::kFailure;
}

} // namespace db2
