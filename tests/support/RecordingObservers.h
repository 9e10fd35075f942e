#pragma once

#include "ChangeLists.h"

#include <db2/ChangeManager.h>

#include <functional>
#include <string>
#include <vector>

namespace db2test {

using namespace db2;

/// Writes down what it is told, and then does what a case wants it to.
class RecordingObserver : public DataObserver
{
public:
    void onReportChanges(ChangeManager* manager, const ChangeSet& changes, bool transient) override
    {
        manager_ = manager;
        told.push_back(changesOf(changes));
        transients.push_back(transient);
        if (onReport)
            onReport(changes);
    }
    void onClear(ChangeManager* manager) override
    {
        manager_ = manager;
        ++clears;
        if (onClearing)
            onClearing();
    }

    [[nodiscard]] ChangeManager* manager() const { return manager_; } ///< of the last call

    std::vector<std::vector<std::wstring>> told;
    std::vector<bool> transients;
    int clears = 0;
    std::function<void(const ChangeSet&)> onReport;
    std::function<void()> onClearing;

private:
    ChangeManager* manager_ = nullptr;
};

/// The same before reports.
class RecordingPreObserver : public DataPreObserver
{
public:
    void onPreReportChanges(ChangeManager* manager, const ChangeSet& changes, bool transient) override
    {
        manager_ = manager;
        told.push_back(changesOf(changes));
        transients.push_back(transient);
        if (onPreReport)
            onPreReport(changes);
    }

    [[nodiscard]] ChangeManager* manager() const { return manager_; }

    std::vector<std::vector<std::wstring>> told;
    std::vector<bool> transients;
    std::function<void(const ChangeSet&)> onPreReport;

private:
    ChangeManager* manager_ = nullptr;
};

} // namespace db2test
