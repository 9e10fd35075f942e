#include <db2/ChangeList.h>

#include <algorithm>

namespace db2 {
namespace {

// Up to so many entries a scan is faster than an index.
constexpr std::size_t kScanUpTo = 32;

// An index costs as much as some dozens of scans, and memory. So many of a whole list are made before it, in vain when
// many entries are to be taken out and saving all of it when only a few are.
constexpr std::size_t kScansBeforeIndex = 32;

// What stands where an entry was taken out: an address that nobody else has, because null is an entry like any other.
char holeMark;
constexpr void* kHole = &holeMark;

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
    scanned_ = 0;
    forgetPositions();
}

/// Frees them, too: clearing an index costs what it once held, and the lists live on from unit to unit.
void ChangeListBase::forgetPositions() const
{
    if (!positions_.empty())
        positions_ = Positions();
    positionsEnd_ = 0;
    hasRepeats_ = false;
}

void ChangeListBase::reverse()
{
    closeHoles();
    forgetPositions();
    std::reverse(entries_.begin(), entries_.end());
}

void ChangeListBase::replacePointer(std::size_t index, void* pointer)
{
    closeHoles();
    forgetPositions();
    entries_[index] = pointer;
}

/// Also forgets the positions, which are others then.
void ChangeListBase::closeHoles() const
{
    if (holes_ == 0)
        return;
    const auto end = std::remove(entries_.begin(), entries_.end(), kHole);
    entries_.resize(static_cast<std::size_t>(end - entries_.begin()));
    holes_ = 0;
    scanned_ = 0;
    forgetPositions();
}

void ChangeListBase::removePointer(void* pointer)
{
    if (empty())
        return;
    const std::size_t found = takePosition(pointer);
    entries_[found] = kHole;
    ++holes_;
    while (!entries_.empty() && entries_.back() == kHole) // what is taken out in reverse leaves no holes at all
    {
        entries_.pop_back();
        --holes_;
    }
    positionsEnd_ = std::min(positionsEnd_, entries_.size());
}

/// Finds the entry to take out.
std::size_t ChangeListBase::takePosition(void* pointer)
{
    const bool hasIndex = positionsEnd_ != 0;
    const bool isScanned = !hasIndex && scanned_ / kScansBeforeIndex < entries_.size();
    if (entries_.size() > kScanUpTo && !isScanned)
        return takeFromIndex(pointer);
    forgetPositions();
    const std::size_t found = std::min(findFrom(0, pointer), entries_.size() - 1);
    scanned_ += found + 1;
    return found;
}

/// Makes the index true for all entries, and then for the list without the one that is found.
std::size_t ChangeListBase::takeFromIndex(void* pointer)
{
    for (; positionsEnd_ < entries_.size(); ++positionsEnd_)
        if (entries_[positionsEnd_] != kHole)
            hasRepeats_ = !positions_.emplace(entries_[positionsEnd_], positionsEnd_).second || hasRepeats_;

    const std::size_t last = entries_.size() - 1; // never a hole
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
