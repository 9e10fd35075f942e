#include <db2json/JsonSaver.h>

#include "DocumentWriter.h"

#include <db2/Library.h>

#include <new>
#include <stdexcept>

namespace db2 {

JsonSaver::JsonSaver(OutputStream& stream, const wchar_t* typeString, unsigned int options)
    : SaveStrategy(stream, typeString, kFormatVersion, options)
{
}

JsonSaver::~JsonSaver() = default;

/// Takes a step of writing and says how it went. The step returns a Status of its own.
template <class Step>
Status JsonSaver::write(Step step)
{
    try
    {
        const Status status = step();
        if (status == Status::kSuccess && !document_->isGood())
        {
            logError(L"The stream did not take everything that was to be saved");
            return Status::kFailure;
        }
        return status;
    }
    catch (const std::bad_alloc&)
    {
        logError(L"Memory is out while saving");
    }
    catch (const std::length_error&)
    {
        logError(L"A text is too long to be saved");
    }
    return Status::kFailure;
}

Status JsonSaver::saveHeader(const kqtl::pod_vector<Module*>& modules)
{
    return write([&] {
        document_ = std::make_unique<json::DocumentWriter>(*this, getStream());
        document_->begin(modules);
        return Status::kSuccess;
    });
}

Status JsonSaver::saveSubtree(Node& root)
{
    return write([&] { return document_->writeSubtree(root); });
}

Status JsonSaver::onPostSave()
{
    const Status status = write([&] {
        document_->end();
        return Status::kSuccess;
    });
    if (status != Status::kSuccess)
        return status;
    return document_->leftReferencesOut() ? Status::kReferenceNotSaved : Status::kSuccess;
}

} // namespace db2
