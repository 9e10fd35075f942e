#pragma once

#include <db2/db2.h>

#include <new>

namespace db2test {

/// Defines an element of type Null whose metadata reports its destruction, to see what a template destroys and when.
class TracedDefinition : public db2::ElementMetaDataDef
{
public:
    /// @param destructions  raised by one for each of its records that is destroyed; outlives the records.
    explicit TracedDefinition(int& destructions)
        : ElementMetaDataDef(db2::AttributeType::kNull), destructions_(destructions)
    {
    }

    void getMemoryRequirements(db2::MemoryFormat& format) const override
    {
        format.add(sizeof(Record), alignof(Record));
    }

    const db2::ElementMetaData* makeMetaData(const wchar_t* name, db2::MemoryResource& resource) const override
    {
        void* const place = resource.take(sizeof(Record), alignof(Record));
        return place != nullptr ? ::new (place) Record(*this, name, resource) : nullptr;
    }

private:
    class Record : public db2::ElementMetaData
    {
    public:
        Record(const TracedDefinition& definition, const wchar_t* name, db2::MemoryResource& resource)
            : ElementMetaData(definition, name, resource), destructions_(definition.destructions_)
        {
        }
        ~Record() override { ++destructions_; }

        ElementMetaData* clone(db2::MemoryResource&) const override { return nullptr; }
        bool doCompare(const ElementMetaData&) const override { return true; }

    private:
        int& destructions_;
    };

    int& destructions_;
};

} // namespace db2test
