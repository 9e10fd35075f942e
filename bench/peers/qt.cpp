// bench_qt: the editing benchmarks with Qt's QStandardItemModel and QUndoStack. One item a node, one role a value; the
// commands are written by hand, as every Qt program must. Computed values are QProperty bindings.

#include "EditingWorkloads.h"
#include "Program.h"

#include <QColor>
#include <QCoreApplication>
#include <QMatrix4x4>
#include <QProperty>
#include <QStandardItemModel>
#include <QUndoStack>
#include <QVector3D>

#include <memory>

namespace {

using namespace db2bench;

enum Role
{
    kF0 = Qt::UserRole + 1,
    kF1,
    kI,
    kB,
    kS,
    kV,
    kM,
    kC
};

class SetF0 : public QUndoCommand
{
public:
    SetF0(QStandardItem* item, float value) : item_(item), other_(value) {}
    void redo() override
    {
        QVariant old = item_->data(kF0);
        item_->setData(other_, kF0);
        other_ = std::move(old);
    }
    void undo() override { redo(); }

private:
    QStandardItem* item_;
    QVariant other_; ///< the value that is not in the item
};

/// An insertion, or the other way round a removal.
class Insert : public QUndoCommand
{
public:
    Insert(QStandardItem* parent, QStandardItem* item, int row, bool removal)
        : parent_(parent), item_(item), row_(row), isHeld_(!removal), isRemoval_(removal)
    {
    }
    Insert(const Insert&) = delete;
    Insert& operator=(const Insert&) = delete;
    ~Insert() override
    {
        if (isHeld_)
            delete item_;
    }
    void redo() override { isRemoval_ ? takeOut() : putIn(); }
    void undo() override { isRemoval_ ? putIn() : takeOut(); }

private:
    void putIn()
    {
        parent_->insertRow(row_, item_);
        isHeld_ = false;
    }
    void takeOut()
    {
        parent_->takeRow(row_);
        isHeld_ = true;
    }

    QStandardItem* parent_;
    QStandardItem* item_;
    int row_;
    bool isHeld_; ///< out of the tree, and this command's
    bool isRemoval_;
};

QString text(std::string_view from)
{
    return QString::fromUtf8(from.data(), qsizetype(from.size()));
}

QColor colour(const std::array<float, 4>& c)
{
    return QColor::fromRgbF(c[0], c[1], c[2], c[3]);
}

class QtEditor
{
public:
    static constexpr const char* kSide = "qt";
    static constexpr bool kIsLeftInMemory = true;
    using Character = char;
    using NodeRef = QStandardItem*;

    NodeRef root() { return model_.invisibleRootItem(); }
    static bool isNode(NodeRef node) { return node != nullptr; }

    NodeRef create(NodeRef parent, const NumberedText<char>& name, const Values<char>& values)
    {
        auto* const node = new QStandardItem(text(name.view()));
        node->setData(values.f0, kF0);
        node->setData(values.f1, kF1);
        node->setData(values.i, kI);
        node->setData(values.b, kB);
        node->setData(text(values.s.view()), kS);
        node->setData(QVector3D(values.v[0], values.v[1], values.v[2]), kV);
        node->setData(QMatrix4x4(values.m.data()), kM);
        node->setData(colour(values.c), kC);
        if (isRecording_)
            stack_.push(new Insert(parent, node, parent->rowCount(), false));
        else
            parent->appendRow(node);
        return node;
    }

    /// Compares with one child after the other, which is all that the model has for names.
    NodeRef child(NodeRef parent, std::string_view name)
    {
        const QString wanted = text(name);
        for (int row = 0, count = parent->rowCount(); row < count; ++row)
            if (NodeRef const child = parent->child(row); child->text() == wanted)
                return child;
        return nullptr;
    }

    template <class See>
    void forEachChild(NodeRef node, See see)
    {
        for (int row = 0, count = node->rowCount(); row < count; ++row)
            see(node->child(row));
    }

    float f0(NodeRef node) { return node->data(kF0).toFloat(); }
    void set(NodeRef node, float f0)
    {
        if (isRecording_)
            stack_.push(new SetF0(node, f0));
        else
            node->setData(f0, kF0);
    }
    bool holds(NodeRef node, const Values<char>& values)
    {
        const auto vector = node->data(kV).value<QVector3D>();
        return node->data(kF0).toFloat() == values.f0 && node->data(kF1).toFloat() == values.f1 &&
               node->data(kI).toInt() == values.i && node->data(kB).toBool() == values.b &&
               node->data(kS).toString() == text(values.s.view()) && vector.x() == values.v[0] &&
               vector.y() == values.v[1] && vector.z() == values.v[2] &&
               node->data(kM).value<QMatrix4x4>() == QMatrix4x4(values.m.data()) &&
               node->data(kC).value<QColor>() == colour(values.c);
    }
    void destroy(NodeRef node)
    {
        NodeRef const parent = node->parent() != nullptr ? node->parent() : root();
        stack_.push(new Insert(parent, node, node->row(), true));
    }

    void settle() {}
    void begin(std::size_t edits)
    {
        isRecording_ = true;
        isMacro_ = edits > 1; // a macro is what groups several commands into one step
        if (isMacro_)
            stack_.beginMacro("edit");
    }
    void commit()
    {
        isRecording_ = false;
        if (isMacro_)
            stack_.endMacro();
    }
    void undo() { stack_.undo(); }
    void redo() { stack_.redo(); }
    void clearHistory() { stack_.clear(); }
    void observe(std::size_t* counter)
    {
        QObject::connect(&model_, &QStandardItemModel::itemChanged, [counter](QStandardItem*) { ++*counter; });
    }

    void buildComputed(const std::vector<int>& parents)
    {
        for (std::size_t i = 0; i < parents.size(); ++i)
        {
            computed_.push_back(std::make_unique<Computed>());
            Computed* const node = computed_[i].get();
            const Computed* const parent = i != 0 ? computed_[std::size_t(parents[i])].get() : nullptr;
            node->world.setBinding(
                [node, parent] { return (parent != nullptr ? parent->world.value() : 0) + node->local.value(); });
        }
    }
    void setLocal(int index, float value) { computed_[std::size_t(index)]->local.setValue(value); }
    void updateComputed() {} // the bindings have done it
    float world(int index) { return computed_[std::size_t(index)]->world.value(); }

private:
    struct Computed
    {
        QProperty<float> local{1};
        QProperty<float> world;
    };

    QStandardItemModel model_;
    QUndoStack stack_;
    bool isRecording_ = false;
    bool isMacro_ = false;
    std::vector<std::unique_ptr<Computed>> computed_;
};

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    return runBenchmarks(argc, argv, addEditingBenchmarks<QtEditor>);
}
