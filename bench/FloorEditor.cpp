#include "FloorEditor.h"

#include <utility>

namespace db2bench {

void FloorEditor::destroy(NodeRef top)
{
    Item* item = leftmostLeaf(top);
    for (;;)
    {
        Item* const next = item->next;
        Item* const after = next != nullptr ? leftmostLeaf(next) : item->owner;
        open_.push_back({item, next, 0, Kind::kDestroy});
        takeOut(*item);
        if (item == top)
            return;
        item = after;
    }
}

FloorEditor::NodeRef FloorEditor::copy(NodeRef top, std::string_view name)
{
    const auto copyOne = [this](const Item& from, Item* parent, std::string_view as) {
        Item* const made = createEmpty(parent, as);
        made->f0 = from.f0;
        made->f1 = from.f1;
        made->i = from.i;
        made->b = from.b;
        made->s = from.s;
        made->v = from.v;
        made->m = from.m;
        made->c = from.c;
        return made;
    };
    Item* const topCopy = copyOne(*top, root(), name);
    Item* parent = topCopy;
    for (const Item* item = top->first; item != nullptr;)
    {
        Item* const made = copyOne(*item, parent, item->name);
        if (item->first != nullptr)
        {
            parent = made;
            item = item->first;
            continue;
        }
        while (item != top && item->next == nullptr)
        {
            item = item->owner;
            parent = parent->owner;
        }
        item = item != top ? item->next : nullptr;
    }
    return topCopy;
}

void FloorEditor::commit()
{
    isRecording_ = false;
    if (observer_)
        observer_(open_);
    undo_.push_back(std::move(open_));
    open_ = {};
    redo_.clear();
}

void FloorEditor::observe(std::size_t* counter)
{
    observer_ = [counter](const Unit& unit) {
        for (const Edit& edit : unit)
            *counter += edit.kind == Kind::kSet ? 1 : 0;
    };
}

void FloorEditor::replay(Edit& edit, bool forward)
{
    if (edit.kind == Kind::kSet)
        std::swap(edit.f0, edit.item->f0);
    else if ((edit.kind == Kind::kCreate) == forward)
        putIn(*edit.item, edit.next);
    else
        takeOut(*edit.item);
}

void FloorEditor::replayTop(std::vector<Unit>& from, std::vector<Unit>& to, bool forward)
{
    Unit unit = std::move(from.back());
    from.pop_back();
    if (forward)
        for (Edit& edit : unit)
            replay(edit, forward);
    else
        for (auto edit = unit.rbegin(); edit != unit.rend(); ++edit)
            replay(*edit, forward);
    to.push_back(std::move(unit));
}

void FloorEditor::clearHistory()
{
    for (std::vector<Unit>* const stack : {&undo_, &redo_})
    {
        for (const Unit& unit : *stack)
            for (const Edit& edit : unit)
                if (edit.kind != Kind::kSet && edit.item->destroyed)
                    delete edit.item;
        std::vector<Unit>().swap(*stack);
    }
}

void FloorEditor::buildComputed(const std::vector<int>& parents)
{
    NumberedText<char> name("node");
    Values<char> values;
    for (std::size_t i = 0; i < parents.size(); ++i)
    {
        name.setNumber(i);
        values.f0 = 1;
        computed_.push_back(create(i != 0 ? computed_[static_cast<std::size_t>(parents[i])] : root(), name, values));
    }
    dirty_ = {computed_.front()};
    updateComputed();
}

void FloorEditor::setLocal(int index, float value)
{
    Item* const item = computed_[static_cast<std::size_t>(index)];
    item->f0 = value;
    dirty_.push_back(item);
}

void FloorEditor::updateComputed()
{
    for (Item* const top : dirty_)
    {
        for (Item* item = top;;)
        {
            item->f1 = (item->owner != root() ? item->owner->f1 : 0) + item->f0;
            if (item->first != nullptr)
            {
                item = item->first;
                continue;
            }
            while (item != top && item->next == nullptr)
                item = item->owner;
            if (item == top)
                break;
            item = item->next;
        }
    }
    dirty_.clear();
}

} // namespace db2bench
