#include <db2/ChangeList.h>

#include <algorithm>

namespace db2 {
namespace {

// Below, a scan is faster than an index.
constexpr std::size_t kScanUpTo = 32;

} // namespace

ChangeListBase& ChangeListBase::operator=(const ChangeListBase& other)
{
    if (this != &other)
    {
        clear();
        entries_ = other.closed();
    }
    return *this;
}

void ChangeListBase::clear()
{
    entries_.clear();
    holes_ = 0;
    forgetPositions();
}

void ChangeListBase::forgetPositions() const
{
    positions_.clear();
    positionsEnd_ = 0;
    hasRepeats_ = false;
}

void ChangeListBase::reverse()
{
    closeHoles();
    std::reverse(entries_.begin(), entries_.end());
}

void ChangeListBase::replacePointer(std::size_t index, void* pointer)
{
    closeHoles();
    entries_[index] = pointer;
}

/// Also forgets the positions, which are others then.
void ChangeListBase::closeHoles() const
{
    const auto end = std::remove(entries_.begin(), entries_.end(), nullptr);
    entries_.resize(static_cast<std::size_t>(end - entries_.begin()));
    holes_ = 0;
    forgetPositions();
}

void ChangeListBase::removePointer(void* pointer)
{
    if (empty())
        return;
    const std::size_t found = takePosition(pointer);
    entries_[found] = nullptr;
    ++holes_;
    while (!entries_.empty() && entries_.back() == nullptr) // what is taken out in reverse leaves no holes at all
    {
        entries_.pop_back();
        --holes_;
    }
    positionsEnd_ = std::min(positionsEnd_, entries_.size());
}

/// Finds the entry to take out, and makes the positions true for the list without it.
std::size_t ChangeListBase::takePosition(void* pointer)
{
    const std::size_t last = entries_.size() - 1; // never a hole
    if (entries_.size() <= kScanUpTo)
    {
        forgetPositions();
        return std::min(findFrom(0, pointer), last);
    }
    for (; positionsEnd_ < entries_.size(); ++positionsEnd_)
        if (void* const entry = entries_[positionsEnd_])
            hasRepeats_ = !positions_.emplace(entry, positionsEnd_).second || hasRepeats_;

    auto at = positions_.find(pointer);
    const bool isAbsent = at == positions_.end();
    const std::size_t position = isAbsent ? last : at->second;
    if (isAbsent)
        at = positions_.find(entries_[last]);
    const std::size_t repeat = hasRepeats_ ? findFrom(position + 1, entries_[position]) : entries_.size();
    if (at->second == position && repeat < entries_.size())
        at->second = repeat;
    else if (at->second == position)
        positions_.erase(at);
    return position;
}

std::size_t ChangeListBase::findFrom(std::size_t position, const void* pointer) const
{
    while (position < entries_.size() && entries_[position] != pointer)
        ++position;
    return position;
}

} // namespace db2
