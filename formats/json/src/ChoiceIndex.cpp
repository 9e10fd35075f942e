#include "ChoiceIndex.h"

#include <db2/EnumAttributeMetaData.h>

#include <algorithm>
#include <bit>
#include <functional>
#include <numeric>

namespace db2::json {
namespace {

constexpr unsigned int kScannedChoices = 16;   // up to so many, a scan is as fast
constexpr std::size_t kMaxEntries = 1024 * 64; // then the index starts anew, so that its memory is bounded

int scan(const EnumAttributeMetaData& metaData, std::wstring_view choice)
{
    for (unsigned int i = 0; i < metaData.getNumChoices(); ++i)
        if (metaData.getChoice(i) == choice)
            return static_cast<int>(i);
    return -1;
}

} // namespace

int ChoiceIndex::find(const EnumAttributeMetaData& metaData, std::wstring_view choice)
{
    return metaData.getNumChoices() <= kScannedChoices ? scan(metaData, choice) : choicesOf(metaData).find(choice);
}

const ChoiceIndex::Choices& ChoiceIndex::choicesOf(const EnumAttributeMetaData& metaData)
{
    const auto known = records_.find(&metaData);
    if (known != records_.end())
        return known->second;
    if (entries_ > kMaxEntries)
    {
        records_.clear();
        entries_ = 0;
    }
    const Choices& made = records_.emplace(&metaData, Choices(metaData)).first->second;
    entries_ += metaData.getNumChoices();
    return made;
}

// --- The choices of one record ---

ChoiceIndex::Choices::Choices(const EnumAttributeMetaData& metaData)
    : starts_(std::bit_ceil(std::size_t{metaData.getNumChoices()}) + 1), choices_(metaData.getNumChoices())
{
    const int count = static_cast<int>(choices_.size());
    std::vector<Choice> unsorted;
    unsorted.reserve(choices_.size());
    for (int i = 0; i < count; ++i)
        unsorted.emplace_back(metaData.getChoice(static_cast<unsigned int>(i)), i);

    for (const Choice& choice : unsorted)
        ++starts_[bucketOf(choice.first)];
    std::partial_sum(starts_.begin(), starts_.end(), starts_.begin());
    for (const Choice& choice : unsorted) // each bucket from its end
        choices_[--starts_[bucketOf(choice.first)]] = choice;
    for (std::size_t bucket = 0; bucket + 1 < starts_.size(); ++bucket)
        std::sort(choices_.data() + starts_[bucket], choices_.data() + starts_[bucket + 1]);
}

int ChoiceIndex::Choices::find(std::wstring_view choice) const
{
    const std::size_t bucket = bucketOf(choice);
    const Choice* const begin = choices_.data() + starts_[bucket];
    const Choice* const end = choices_.data() + starts_[bucket + 1];
    const Choice* const found = std::lower_bound(begin, end, Choice(choice, 0)); // the first of equal ones
    return found != end && found->first == choice ? found->second : -1;
}

std::size_t ChoiceIndex::Choices::bucketOf(std::wstring_view choice) const
{
    return std::hash<std::wstring_view>()(choice) & (starts_.size() - 2);
}

} // namespace db2::json
