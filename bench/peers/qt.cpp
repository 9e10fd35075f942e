// bench_qt: the editing and file benchmarks with Qt's QStandardItemModel and QUndoStack. One item a node, one role a value; the
// commands are written by hand, as every Qt program must, and so are the files, with Qt's XML streams. Computed values are
// QProperty bindings.

#include "EditingWorkloads.h"
#include "FileWorkloads.h"
#include "Program.h"

#include <QColor>
#include <QCoreApplication>
#include <QFile>
#include <QMatrix4x4>
#include <QProperty>
#include <QStandardItemModel>
#include <QUndoStack>
#include <QVector3D>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

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

// --- Files ---

constexpr int kExactDigits = 9; // of a float, so that it reads back the same

QString asText(float value)
{
    return QString::number(value, 'g', kExactDigits);
}

QString asText(const float* values, std::size_t count)
{
    QString joined;
    for (std::size_t i = 0; i < count; ++i)
        joined += asText(values[i]) + u' ';
    return joined;
}

template <std::size_t size>
std::array<float, size> asFloats(QStringView joined)
{
    std::array<float, size> values{};
    std::size_t i = 0;
    for (const auto part : joined.tokenize(u' ', Qt::SkipEmptyParts))
        if (i < size)
            values[i++] = part.toFloat();
    return values;
}

void writeItem(QXmlStreamWriter& out, const QStandardItem& item)
{
    const auto vector = item.data(kV).value<QVector3D>();
    const auto matrix = item.data(kM).value<QMatrix4x4>();
    std::array<float, 16> rows{};
    matrix.copyDataTo(rows.data());
    const auto colour = item.data(kC).value<QColor>();
    out.writeAttribute("name", item.text());
    out.writeAttribute("f0", asText(item.data(kF0).toFloat()));
    out.writeAttribute("f1", asText(item.data(kF1).toFloat()));
    out.writeAttribute("i", QString::number(item.data(kI).toInt()));
    out.writeAttribute("b", item.data(kB).toBool() ? "1" : "0");
    out.writeAttribute("s", item.data(kS).toString());
    out.writeAttribute("v", asText(std::array{vector.x(), vector.y(), vector.z()}.data(), 3));
    out.writeAttribute("m", asText(rows.data(), rows.size()));
    out.writeAttribute("c", asText(std::array{float(colour.redF()), float(colour.greenF()), float(colour.blueF()),
                                              float(colour.alphaF())}
                                       .data(),
                                   4));
}

/// The item with everything below it. Recursive, as what is written by hand usually is.
void writeTree(QXmlStreamWriter& out, const QStandardItem& item, bool isRoot)
{
    out.writeStartElement("node");
    if (!isRoot)
        writeItem(out, item);
    for (int row = 0, count = item.rowCount(); row < count; ++row)
        writeTree(out, *item.child(row), false);
    out.writeEndElement();
}

class QtEditor
{
public:
    static constexpr const char* kSide = "qt";
    static constexpr const char* kFileExtension = ".xml";
    static constexpr bool kIsLeftInMemory = true;
    using Character = char;
    using NodeRef = QStandardItem*;

    NodeRef root() { return model_.invisibleRootItem(); }
    static bool isNode(NodeRef node) { return node != nullptr; }

    NodeRef create(NodeRef parent, const NumberedText<char>& name, const Values<char>& values)
    {
        auto* const node = new QStandardItem(text(name.view()));
        setValues(*node, values, text(values.s.view()));
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

    bool save(const std::string& path)
    {
        QFile file(text(path));
        if (!file.open(QIODevice::WriteOnly))
            return false;
        QXmlStreamWriter out(&file);
        out.writeStartDocument();
        writeTree(out, *root(), true);
        out.writeEndDocument();
        return !out.hasError() && file.flush();
    }
    bool load(const std::string& path)
    {
        QFile file(text(path));
        if (!file.open(QIODevice::ReadOnly))
            return false;
        QXmlStreamReader in(&file);
        std::vector<NodeRef> open;
        while (!in.atEnd())
        {
            const auto token = in.readNext();
            if (token == QXmlStreamReader::EndElement)
                open.pop_back();
            if (token == QXmlStreamReader::StartElement)
                open.push_back(open.empty() ? root() : readItem(in.attributes(), open.back()));
        }
        return !in.hasError();
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
    static void setValues(QStandardItem& node, const Values<char>& values, const QString& s)
    {
        node.setData(values.f0, kF0);
        node.setData(values.f1, kF1);
        node.setData(values.i, kI);
        node.setData(values.b, kB);
        node.setData(s, kS);
        node.setData(QVector3D(values.v[0], values.v[1], values.v[2]), kV);
        node.setData(QMatrix4x4(values.m.data()), kM);
        node.setData(colour(values.c), kC);
    }

    static NodeRef readItem(const QXmlStreamAttributes& attributes, NodeRef parent)
    {
        Values<char> values;
        values.f0 = attributes.value("f0").toFloat();
        values.f1 = attributes.value("f1").toFloat();
        values.i = attributes.value("i").toInt();
        values.b = attributes.value("b") == u"1";
        values.v = asFloats<3>(attributes.value("v"));
        values.m = asFloats<16>(attributes.value("m"));
        values.c = asFloats<4>(attributes.value("c"));
        auto* const node = new QStandardItem(attributes.value("name").toString());
        setValues(*node, values, attributes.value("s").toString());
        parent->appendRow(node);
        return node;
    }

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
    return runBenchmarks(argc, argv, [] {
        addEditingBenchmarks<QtEditor>();
        addFileBenchmarks<QtEditor>();
    });
}
