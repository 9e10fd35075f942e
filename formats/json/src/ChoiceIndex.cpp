#include "ChoiceIndex.h"

#include <db2/EnumAttributeMetaData.h>

namespace db2::json {
namespace {

constexpr unsigned int kScannedChoices = 16;   // up to so many, a scan is as fast
constexpr std::size_t kMaxEntries = 1024 * 64; // then the index starts anew, so that its memory is bounded

} // namespace

int ChoiceIndex::find(const EnumAttributeMetaData& metaData, std::wstring_view choice)
{
    const unsigned int count = metaData.getNumChoices();
    if (count <= kScannedChoices)
    {
        for (unsigned int i = 0; i < count; ++i)
            if (metaData.getChoice(i) == choice)
                return static_cast<int>(i);
        return -1;
    }
    const auto known = records_.find(&metaData);
    const Choices* choices = known != records_.end() ? &known->second : nullptr;
    if (choices == nullptr)
    {
        if (entries_ > kMaxEntries)
        {
            records_.clear();
            entries_ = 0;
        }
        Choices& made = records_[&metaData];
        made.reserve(count);
        for (unsigned int i = 0; i < count; ++i)
            made.try_emplace(metaData.getChoice(i), static_cast<int>(i));
        entries_ += count;
        choices = &made;
    }
    const auto found = choices->find(choice);
    return found != choices->end() ? found->second : -1;
}

} // namespace db2::json
