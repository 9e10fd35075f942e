#include <db2/ObserverList.h>

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace db2test {
namespace {

/// Writes its letter down at each call, and then does what a case wants it to.
class Caller
{
public:
    explicit Caller(char letter, std::string& calls) : letter_(letter), calls_(calls) {}

    void onCall() { note(); }
    void onSum(int a, const std::string& b)
    {
        calls_ += std::to_string(a) + b;
        note();
    }

    std::function<void()> then;

private:
    void note()
    {
        calls_ += letter_;
        if (then)
            then();
    }

    char letter_;
    std::string& calls_;
};

class ObserverListTest : public ::testing::Test
{
protected:
    /// Notifies and returns who was called, in order.
    std::string notify()
    {
        calls.clear();
        list.notify(&Caller::onCall);
        return calls;
    }

    std::string calls;
    Caller a{'a', calls};
    Caller b{'b', calls};
    Caller c{'c', calls};
    db2::ObserverList<Caller> list;
};

TEST_F(ObserverListTest, NobodyIsCalledInAnEmptyList)
{
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(notify(), "");
}

TEST_F(ObserverListTest, ObserversAreCalledInTheOrderOfTheirRegistration)
{
    list.add(&b);
    list.add(&c);
    list.add(&a);
    EXPECT_FALSE(list.isEmpty());
    EXPECT_EQ(notify(), "bca");
    EXPECT_EQ(notify(), "bca");
}

TEST_F(ObserverListTest, TheArgumentsReachEveryObserver)
{
    list.add(&a);
    list.add(&b);
    list.notify(&Caller::onSum, 7, std::string("-"));
    EXPECT_EQ(calls, "7-a7-b");
}

TEST_F(ObserverListTest, AnObserverRegisteredTwiceIsCalledTwiceUntilOneOfThemIsTakenOut)
{
    list.add(&a);
    list.add(&b);
    list.add(&a);
    EXPECT_EQ(notify(), "aba");
    list.remove(&a); // the first equal entry
    EXPECT_EQ(notify(), "ba");
    list.remove(&a);
    EXPECT_EQ(notify(), "b");
}

TEST_F(ObserverListTest, TakingOutOneThatIsNotThereDoesNothing)
{
    list.add(&a);
    list.remove(&b);
    list.remove(nullptr);
    EXPECT_EQ(notify(), "a");
}

TEST_F(ObserverListTest, NullEntriesArePassedOver)
{
    list.add(nullptr);
    list.add(&a);
    list.add(nullptr);
    EXPECT_EQ(notify(), "a");
}

// --- Coming and going during a notification ---

TEST_F(ObserverListTest, OneThatIsAddedDuringANotificationIsCalledByTheNext)
{
    list.add(&a);
    a.then = [this] {
        list.add(&b);
        a.then = nullptr;
    };
    EXPECT_EQ(notify(), "a");
    EXPECT_EQ(notify(), "ab");
}

TEST_F(ObserverListTest, OneThatIsTakenOutDuringANotificationIsStillCalledByIt)
{
    for (Caller* const observer : {&a, &b, &c})
        list.add(observer);
    a.then = [this] { list.remove(&b); };
    EXPECT_EQ(notify(), "abc");
    a.then = nullptr;
    EXPECT_EQ(notify(), "ac");
}

TEST_F(ObserverListTest, AnObserverMayTakeItselfOut)
{
    for (Caller* const observer : {&a, &b, &c})
        list.add(observer);
    b.then = [this] { list.remove(&b); };
    EXPECT_EQ(notify(), "abc");
    EXPECT_EQ(notify(), "ac");
}

TEST_F(ObserverListTest, RemovalsTakeEffectBeforeAdditionsWhicheverCameFirst)
{
    list.add(&a);
    list.add(&b);
    a.then = [this] {
        list.add(&a); // at the end, once the first entry is gone
        list.remove(&a);
        a.then = nullptr;
    };
    EXPECT_EQ(notify(), "ab");
    EXPECT_EQ(notify(), "ba");
}

TEST_F(ObserverListTest, RemovalsAndAdditionsTakeEffectInTheirOrder)
{
    list.add(&a);
    a.then = [this] {
        list.add(&c);
        list.add(&b);
        list.remove(&c); // is not there yet, so nothing is taken out
        a.then = nullptr;
    };
    EXPECT_EQ(notify(), "a");
    EXPECT_EQ(notify(), "acb");
}

TEST_F(ObserverListTest, WhatWasPendingTakesEffectOnce)
{
    list.add(&a);
    list.add(&b);
    list.add(&b);
    a.then = [this] {
        list.add(&c);
        list.remove(&b);
        a.then = nullptr;
    };
    EXPECT_EQ(notify(), "abb");
    EXPECT_EQ(notify(), "abc");
    EXPECT_EQ(notify(), "abc");
}

/// The inner one ends first, and lets the list change at once for the rest of the outer one.
TEST_F(ObserverListTest, ANotificationWithinANotificationIsSafe)
{
    list.add(&a);
    list.add(&b);
    a.then = [this] {
        a.then = nullptr;
        list.add(&c);
        list.remove(&b);
        list.notify(&Caller::onCall);
    };
    EXPECT_EQ(notify(), "aabc"); // a, within it a and b, and then what comes behind a now: c
    EXPECT_EQ(notify(), "ac");
}

TEST_F(ObserverListTest, AnExceptionPassesThroughAndWhatIsPendingWaitsForTheNextCompleteNotification)
{
    list.add(&a);
    list.add(&b);
    a.then = [this] {
        list.remove(&b);
        list.add(&c);
        throw std::runtime_error("host");
    };
    EXPECT_THROW(list.notify(&Caller::onCall), std::runtime_error);
    a.then = nullptr;
    list.remove(&a); // pending as well: the notification has not ended
    EXPECT_EQ(notify(), "ab");
    EXPECT_EQ(notify(), "c");
}

TEST_F(ObserverListTest, ACopyIsAListOfItsOwn)
{
    list.add(&a);
    db2::ObserverList<Caller> copy(list);
    copy.add(&b);
    EXPECT_EQ(notify(), "a");
    calls.clear();
    copy.notify(&Caller::onCall);
    EXPECT_EQ(calls, "ab");
    list = copy;
    EXPECT_EQ(notify(), "ab");
}

} // namespace
} // namespace db2test
