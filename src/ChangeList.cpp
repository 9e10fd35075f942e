#include <db2/ChangeList.h>

#include <algorithm>
#include <unordered_map>

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

/// Where the first of the entries equal to a pointer stands.
struct ChangeListBase::Index
{
    std::unordered_map<void*, std::size_t> positions;
    std::size_t end = 0;     ///< the entries before it are indexed
    bool hasRepeats = false; ///< among them
};

ChangeListBase::ChangeListBase() = default;

ChangeListBase::ChangeListBase(const ChangeListBase& other) : entries_(other.closed()) {}

ChangeListBase::~ChangeListBase() = default;

ChangeListBase& ChangeListBase::operator=(const ChangeListBase& other)
{
    if (this != &other)
    {
        clear();
        entries_ = other.closed();
    }
    return *this;
}

void ChangeListBase::clearAll()
{
    entries_.clear();
    holes_ = 0;
    scanned_ = 0;
    index_.reset();
}

void ChangeListBase::reverse()
{
    closeHoles();
    index_.reset();
    std::reverse(entries_.begin(), entries_.end());
}

void ChangeListBase::replacePointer(std::size_t index, void* pointer)
{
    closeHoles();
    index_.reset();
    entries_[index] = pointer;
}

/// Also drops the index, whose positions are others then.
void ChangeListBase::dropHoles() const
{
    const auto end = std::remove(entries_.begin(), entries_.end(), kHole);
    entries_.resize(static_cast<std::size_t>(end - entries_.begin()));
    holes_ = 0;
    scanned_ = 0;
    index_.reset();
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
    if (entries_.empty())
        clearAll();
    else if (holes_ > kScanUpTo && holes_ > entries_.size() / 2)
        dropHoles(); // else a list that entries come to and go from in turn would grow without end
    else if (index_ != nullptr)
        index_->end = std::min(index_->end, entries_.size());
}

/// Finds the entry to take out.
std::size_t ChangeListBase::takePosition(void* pointer)
{
    const bool isScanned = index_ == nullptr && scanned_ / kScansBeforeIndex < entries_.size();
    if (entries_.size() > kScanUpTo && !isScanned)
        return takeFromIndex(pointer);
    index_.reset();
    const std::size_t found = std::min(findFrom(0, pointer), entries_.size() - 1);
    scanned_ += found + 1;
    return found;
}

/// Makes the index true for all entries, and then for the list without the one that is found.
std::size_t ChangeListBase::takeFromIndex(void* pointer)
{
    if (index_ == nullptr)
        index_ = std::make_unique<Index>();
    auto& positions = index_->positions;
    for (std::size_t& i = index_->end; i < entries_.size(); ++i)
        if (entries_[i] != kHole)
            index_->hasRepeats = !positions.emplace(entries_[i], i).second || index_->hasRepeats;

    const std::size_t last = entries_.size() - 1; // never a hole
    auto at = positions.find(pointer);
    const bool isAbsent = at == positions.end();
    const std::size_t position = isAbsent ? last : at->second;
    if (isAbsent)
        at = positions.find(entries_[last]);
    const std::size_t repeat = index_->hasRepeats ? findFrom(position + 1, entries_[position]) : entries_.size();
    if (at->second == position && repeat < entries_.size())
        at->second = repeat;
    else if (at->second == position)
        positions.erase(at);
    return position;
}

std::size_t ChangeListBase::findFrom(std::size_t position, const void* pointer) const
{
    while (position < entries_.size() && entries_[position] != pointer)
        ++position;
    return position;
}

} // namespace db2
