// Making and ending references: many to one attribute, and chains that grow at either end.

#include "Benchmarks.h"
#include "DatabaseTree.h"
#include "Measure.h"

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace db2bench {
namespace {

/// The library's attributes, one on each of `count` nodes under the root.
class DatabaseReferences
{
public:
    static constexpr const char* kSide = "db2";
    using Ref = db2::Attribute*;

    explicit DatabaseReferences(std::size_t count)
    {
        NumberedText<wchar_t> name("node");
        for (std::size_t i = 0; i < count; ++i)
        {
            name.setNumber(i);
            db2::Node* const node = tree_.createNode(DatabaseTree::kOneFloat, tree_.root(), name.c_str());
            attributes_.push_back(node != nullptr ? DatabaseTree::attribute(node, 0) : nullptr);
        }
    }

    [[nodiscard]] const std::vector<Ref>& attributes() const { return attributes_; }

    bool connect(Ref referenced, Ref referencer)
    {
        return tree_.data().db_createReference(referenced, referencer, false) == db2::Status::kSuccess;
    }

    bool disconnect(Ref referencer) { return tree_.data().db_destroyReference(referencer) == db2::Status::kSuccess; }

    [[nodiscard]] std::size_t count() const { return tree_.core().getStatistics().references; }
    static Ref referencedBy(Ref referencer) { return referencer->getReference(); }

private:
    DatabaseTree tree_;
    std::vector<Ref> attributes_;
};

/// The floor: a doubly linked list of referencers, newest first, without any check.
class FloorReferences
{
public:
    struct Value
    {
        float value = 0;
        Value* referenced = nullptr;
        Value* next = nullptr;
        Value* previous = nullptr;
        Value* firstReferencer = nullptr;
    };

    static constexpr const char* kSide = "floor";
    using Ref = Value*;

    explicit FloorReferences(std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
        {
            owned_.push_back(std::make_unique<Value>());
            attributes_.push_back(owned_.back().get());
        }
    }

    [[nodiscard]] const std::vector<Ref>& attributes() const { return attributes_; }

    bool connect(Ref referenced, Ref referencer)
    {
        referencer->referenced = referenced;
        referencer->next = referenced->firstReferencer;
        if (referencer->next != nullptr)
            referencer->next->previous = referencer;
        referenced->firstReferencer = referencer;
        ++count_;
        return true;
    }

    bool disconnect(Ref referencer)
    {
        (referencer->previous != nullptr ? referencer->previous->next : referencer->referenced->firstReferencer) =
            referencer->next;
        if (referencer->next != nullptr)
            referencer->next->previous = referencer->previous;
        referencer->referenced = nullptr;
        referencer->next = nullptr;
        referencer->previous = nullptr;
        --count_;
        return true;
    }

    [[nodiscard]] std::size_t count() const { return count_; }
    static Ref referencedBy(Ref referencer) { return referencer->referenced; }

private:
    std::vector<std::unique_ptr<Value>> owned_;
    std::vector<Ref> attributes_;
    std::size_t count_ = 0;
};

/// All attributes but the first reference the first.
template <class Side>
bool connectAllToFirst(Side& side)
{
    const auto& attributes = side.attributes();
    bool right = true;
    for (std::size_t i = 1; i < attributes.size(); ++i)
        right = side.connect(attributes[0], attributes[i]) && right;
    return right;
}

/// Each attribute references the one before it.
template <class Side>
bool isChain(const Side& side)
{
    const auto& attributes = side.attributes();
    for (std::size_t i = 1; i < attributes.size(); ++i)
        if (Side::referencedBy(attributes[i]) != attributes[i - 1])
            return false;
    return true;
}

template <class Side>
void connectPass(benchmark::State& state, std::size_t count)
{
    Side side(count + 1);
    bool right = true;
    measure(state, count, [&] { right = connectAllToFirst(side); });
    require(state, right && side.count() == count, "a reference is missing");
}

enum class Order
{
    kCreation,
    kReverse,
    kRandom
};

template <class Side, Order order>
void disconnectPass(benchmark::State& state, std::size_t count)
{
    Side side(count + 1);
    bool right = connectAllToFirst(side) && side.count() == count;
    std::vector<typename Side::Ref> referencers(side.attributes().begin() + 1, side.attributes().end());
    if constexpr (order == Order::kReverse)
        std::reverse(referencers.begin(), referencers.end());
    if constexpr (order == Order::kRandom)
        std::shuffle(referencers.begin(), referencers.end(), std::mt19937(42));
    measure(state, count, [&] {
        for (const auto referencer : referencers)
            right = side.disconnect(referencer) && right;
    });
    require(state, right && side.count() == 0, "a reference is left");
}

/// The chain grows by an attribute that references its last one.
template <class Side>
void chainEndPass(benchmark::State& state, std::size_t count)
{
    Side side(count + 1);
    const auto& attributes = side.attributes();
    bool right = true;
    measure(state, count, [&] {
        for (std::size_t i = 1; i <= count; ++i)
            right = side.connect(attributes[i - 1], attributes[i]) && right;
    });
    require(state, right && side.count() == count && isChain(side), "wrong chain");
}

/// The chain grows by an attribute that its first one references.
template <class Side>
void chainFrontPass(benchmark::State& state, std::size_t count)
{
    Side side(count + 1);
    const auto& attributes = side.attributes();
    bool right = true;
    measure(state, count, [&] {
        for (std::size_t i = count; i > 0; --i)
            right = side.connect(attributes[i - 1], attributes[i]) && right;
    });
    require(state, right && side.count() == count && isChain(side), "wrong chain");
}

template <class Side>
void addSide()
{
    const auto counts = {std::size_t{10'000}, std::size_t{100'000}};
    const auto add = [&counts](const char* workload, const char* variant, Pass pass) {
        addBenchmark(workload, variant, Side::kSide, pass, counts);
    };
    add("connect", "to_one", connectPass<Side>);
    add("connect", "chain_end", chainEndPass<Side>);
    add("connect", "chain_front", chainFrontPass<Side>);
    add("disconnect", "creation_order", disconnectPass<Side, Order::kCreation>);
    add("disconnect", "reverse_order", disconnectPass<Side, Order::kReverse>);
    add("disconnect", "random_order", disconnectPass<Side, Order::kRandom>);
}

} // namespace

void addReferenceBenchmarks()
{
    addSide<FloorReferences>();
    addSide<DatabaseReferences>();
}

} // namespace db2bench
