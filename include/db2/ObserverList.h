#pragma once

#include <kqtl/pod_vector.h>

#include <algorithm>
#include <cstddef>

namespace db2 {

/// The observers of a layer, called in the order of their registration. An observer that comes or goes while a
/// notification runs does so when that one has ended. Owns no observer.
template <class Observer>
class ObserverList
{
public:
    void add(Observer* observer)
    {
        if (notifying_)
            additions_.push_back(observer);
        else
            observers_.push_back(observer);
    }

    /// Takes out the first equal entry; nothing when there is none.
    void remove(Observer* observer)
    {
        if (notifying_)
            removals_.push_back(observer);
        else
            erase(observer);
    }

    [[nodiscard]] bool isEmpty() const { return observers_.empty(); }

    /// Calls a member of every observer. An exception of an observer passes through, and what is pending then stays so
    /// until the next notification that ends.
    template <class... Parameters, class... Arguments>
    void notify(void (Observer::*member)(Parameters...), Arguments&&... arguments)
    {
        if (observers_.empty()) // as most lists are; what is pending waits for an observer's call to end
            return;
        notifying_ = true;
        for (std::size_t i = 0; i < observers_.size(); ++i)
            if (observers_[i] != nullptr)
                (observers_[i]->*member)(arguments...);
        flush();
    }

private:
    void erase(Observer* observer)
    {
        const auto found = std::find(observers_.begin(), observers_.end(), observer);
        if (found != observers_.end())
            observers_.erase(found);
    }

    void flush()
    {
        notifying_ = false;
        for (Observer* const observer : removals_)
            erase(observer);
        removals_.clear();
        if (additions_.empty())
            return;
        observers_.insert(observers_.end(), additions_.begin(), additions_.end());
        additions_.clear();
    }

    kqtl::pod_vector<Observer*> observers_;
    kqtl::pod_vector<Observer*> additions_; ///< that wait for the end of the notification
    kqtl::pod_vector<Observer*> removals_;  ///< likewise
    bool notifying_ = false;
};

} // namespace db2
