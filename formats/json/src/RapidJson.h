#pragma once

/// RapidJSON, as this library uses it: in a namespace of its own, so that a host that links this library statically and
/// uses RapidJSON itself, perhaps set up otherwise, does not get two different classes of one name.

#define RAPIDJSON_NAMESPACE db2::json::rapidjson
#define RAPIDJSON_NAMESPACE_BEGIN namespace db2::json::rapidjson {
#define RAPIDJSON_NAMESPACE_END }

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <rapidjson/writer.h>

#include <cstddef>
#include <cstdlib>
#include <new>

namespace db2::json {

/// RapidJSON's own allocator hands a null pointer to code that does not look.
class ThrowingAllocator
{
public:
    static const bool kNeedFree = true;

    void* Malloc(std::size_t bytes) { return Realloc(nullptr, 0, bytes); }

    void* Realloc(void* block, std::size_t, std::size_t bytes)
    {
        if (bytes == 0)
        {
            Free(block);
            return nullptr;
        }
        void* const moved = std::realloc(block, bytes);
        if (moved == nullptr)
            throw std::bad_alloc();
        return moved;
    }

    static void Free(void* block) { std::free(block); }
};

} // namespace db2::json
