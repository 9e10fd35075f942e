// bench_ocaf: the editing and file benchmarks with Open CASCADE's OCAF. One label a node; its values are attributes of the label,
// told apart by GUID. Undo is that of the document, computed values are functions with their graph.

#include "EditingWorkloads.h"
#include "FileWorkloads.h"
#include "Program.h"

#include <BinLDrivers.hxx>
#include <TColStd_MapIteratorOfMapOfInteger.hxx>
#include <TCollection_AsciiString.hxx>
#include <TDF_ChildIterator.hxx>
#include <TDF_Delta.hxx>
#include <TDF_LabelList.hxx>
#include <TDF_ListIteratorOfAttributeDeltaList.hxx>
#include <TDF_TagSource.hxx>
#include <TDataStd_AsciiString.hxx>
#include <TDataStd_Integer.hxx>
#include <TDataStd_Name.hxx>
#include <TDataStd_Real.hxx>
#include <TDataStd_RealArray.hxx>
#include <TDocStd_Application.hxx>
#include <TDocStd_Document.hxx>
#include <TFunction_Driver.hxx>
#include <TFunction_DriverTable.hxx>
#include <TFunction_Function.hxx>
#include <TFunction_GraphNode.hxx>
#include <TFunction_Logbook.hxx>
#include <TFunction_Scope.hxx>
#include <XmlLDrivers.hxx>

#include <array>
#include <climits>
#include <string>

namespace {

using namespace db2bench;

Standard_GUID guid(int number)
{
    const std::string digits = std::to_string(10 + number);
    return Standard_GUID(("5d0cba00-0000-4000-8000-0000000000" + digits).c_str());
}

const Standard_GUID kF0 = guid(1), kF1 = guid(2), kI = guid(3), kB = guid(4), kS = guid(5), kV = guid(6), kM = guid(7),
                    kC = guid(8), kLocal = guid(9), kWorld = guid(10), kWorldFunction = guid(11);

/// Hears of every command and goes through the attributes that it changed.
class Application : public TDocStd_Application
{
public:
    std::size_t* count = nullptr;
    void OnCommitTransaction(const Handle(TDocStd_Document) & document) override
    {
        if (count == nullptr)
            return;
        for (TDF_ListIteratorOfAttributeDeltaList deltas(document->GetUndos().Last()->AttributeDeltas()); deltas.More();
             deltas.Next())
            ++*count;
    }
};

double real(const TDF_Label& label, const Standard_GUID& id)
{
    Handle(TDataStd_Real) value;
    return label.FindAttribute(id, value) ? value->Get() : 0;
}

int integer(const TDF_Label& label, const Standard_GUID& id)
{
    Handle(TDataStd_Integer) value;
    return label.FindAttribute(id, value) ? value->Get() : 0;
}

template <std::size_t size>
void setArray(const TDF_Label& label, const Standard_GUID& id, const std::array<float, size>& values)
{
    Handle(TDataStd_RealArray) array = TDataStd_RealArray::Set(label, id, 1, int(size));
    for (std::size_t i = 0; i < size; ++i)
        array->SetValue(int(i) + 1, double(values[i]));
}

template <std::size_t size>
bool equals(const TDF_Label& label, const Standard_GUID& id, const std::array<float, size>& wanted)
{
    Handle(TDataStd_RealArray) array;
    if (!label.FindAttribute(id, array) || array->Length() != int(size))
        return false;
    for (std::size_t i = 0; i < size; ++i)
        if (array->Value(int(i) + 1) != double(wanted[i]))
            return false;
    return true;
}

class WorldDriver : public TFunction_Driver
{
public:
    void Arguments(TDF_LabelList& arguments) const override
    {
        arguments.Append(Label());
        arguments.Append(Label().Father());
    }
    void Results(TDF_LabelList& results) const override { results.Append(Label()); }
    Standard_Boolean MustExecute(const Handle(TFunction_Logbook) & log) const override
    {
        return log->IsModified(Label()) || log->IsModified(Label().Father());
    }
    Standard_Integer Execute(Handle(TFunction_Logbook) & log) const override
    {
        TDataStd_Real::Set(Label(), kWorld, real(Label().Father(), kWorld) + real(Label(), kLocal));
        log->SetImpacted(Label());
        return 0;
    }
};

class OcafEditor
{
public:
    static constexpr const char* kSide = "ocaf";
    static constexpr const char* kFileExtension = ".xmll"; // it appends this to any other
    static constexpr bool kIsLeftInMemory = true;
    using Character = char;
    using NodeRef = TDF_Label;

    OcafEditor()
    {
        BinLDrivers::DefineFormat(application_);
        XmlLDrivers::DefineFormat(application_);
        application_->NewDocument("BinLOcaf", document_);
    }
    OcafEditor(const OcafEditor&) = delete;
    OcafEditor& operator=(const OcafEditor&) = delete;
    ~OcafEditor() { application_->Close(document_); }

    NodeRef root() { return document_->Main(); }
    static bool isNode(const NodeRef& node) { return !node.IsNull(); }

    NodeRef create(const NodeRef& parent, const NumberedText<char>& name, const Values<char>& values)
    {
        const NodeRef node = TDF_TagSource::NewChild(parent);
        TDataStd_Name::Set(node, TCollection_ExtendedString(name.c_str()));
        TDataStd_Real::Set(node, kF0, double(values.f0));
        TDataStd_Real::Set(node, kF1, double(values.f1));
        TDataStd_Integer::Set(node, kI, values.i);
        TDataStd_Integer::Set(node, kB, values.b ? 1 : 0);
        TDataStd_AsciiString::Set(node, kS, TCollection_AsciiString(values.s.c_str()));
        setArray(node, kV, values.v);
        setArray(node, kM, values.m);
        setArray(node, kC, values.c);
        return node;
    }

    /// Compares with one child after the other, which is all that OCAF has for names.
    NodeRef child(const NodeRef& parent, std::string_view name)
    {
        const TCollection_ExtendedString wanted(std::string(name).c_str());
        Handle(TDataStd_Name) attribute;
        for (TDF_ChildIterator children(parent); children.More(); children.Next())
            if (children.Value().FindAttribute(TDataStd_Name::GetID(), attribute) && attribute->Get().IsEqual(wanted))
                return children.Value();
        return {};
    }

    template <class See>
    void forEachChild(const NodeRef& node, See see)
    {
        for (TDF_ChildIterator children(node); children.More(); children.Next())
            if (children.Value().HasAttribute()) // a label itself is never removed, only its attributes
                see(children.Value());
    }

    float f0(const NodeRef& node) { return float(real(node, kF0)); }
    void set(const NodeRef& node, float f0) { TDataStd_Real::Set(node, kF0, double(f0)); }
    bool holds(const NodeRef& node, const Values<char>& values)
    {
        Handle(TDataStd_AsciiString) string;
        return f0(node) == values.f0 && float(real(node, kF1)) == values.f1 && integer(node, kI) == values.i &&
               (integer(node, kB) != 0) == values.b && node.FindAttribute(kS, string) &&
               string->Get().IsEqual(values.s.c_str()) && equals(node, kV, values.v) && equals(node, kM, values.m) &&
               equals(node, kC, values.c);
    }
    void destroy(const NodeRef& node) { node.ForgetAllAttributes(true); }

    void settle() {}
    void begin(std::size_t)
    {
        if (document_->GetUndoLimit() == 0)
            document_->SetUndoLimit(INT_MAX);
        document_->NewCommand();
    }
    void commit() { document_->CommitCommand(); }
    void undo() { document_->Undo(); }
    void redo() { document_->Redo(); }
    void clearHistory()
    {
        document_->ClearUndos();
        document_->ClearRedos();
    }
    void observe(std::size_t* counter) { application_->count = counter; }

    bool save(const std::string& path)
    {
        document_->ChangeStorageFormat("XmlLOcaf");
        return application_->SaveAs(document_, path.c_str()) == PCDM_SS_OK;
    }
    bool load(const std::string& path)
    {
        Handle(TDocStd_Document) loaded;
        if (application_->Open(path.c_str(), loaded) != PCDM_RS_OK)
            return false;
        document_ = loaded;
        return true;
    }

    void buildComputed(const std::vector<int>& parents);
    void setLocal(int index, float value);
    void updateComputed();
    float world(int index) { return float(real(computed_[std::size_t(index)], kWorld)); }

private:
    Handle(Application) application_ = new Application;
    Handle(TDocStd_Document) document_;
    // What a careful user does: the driver is looked up once, because the table hashes a printed GUID at every look-up,
    // and each update has a logbook of its own, because clearing one costs as much as the largest update that it held.
    Handle(TFunction_Scope) scope_;
    Handle(TFunction_Logbook) log_;
    Handle(TFunction_Driver) driver_;
    std::vector<TDF_Label> computed_;
    std::vector<TDF_Label> touched_;
};

void OcafEditor::buildComputed(const std::vector<int>& parents)
{
    TFunction_DriverTable::Get()->AddDriver(kWorldFunction, new WorldDriver);
    TFunction_DriverTable::Get()->FindDriver(kWorldFunction, driver_);
    scope_ = TFunction_Scope::Set(root());
    for (std::size_t i = 0; i < parents.size(); ++i)
    {
        const TDF_Label parent = i != 0 ? computed_[std::size_t(parents[i])] : root();
        const TDF_Label label = TDF_TagSource::NewChild(parent);
        computed_.push_back(label);
        TDataStd_Real::Set(label, kLocal, 1);
        TDataStd_Real::Set(label, kWorld, real(parent, kWorld) + 1);
        TFunction_Function::Set(label, kWorldFunction);
        scope_->AddFunction(label);
        Handle(TFunction_GraphNode) node = TFunction_GraphNode::Set(label);
        if (i == 0)
            continue;
        Handle(TFunction_GraphNode) parentNode;
        parent.FindAttribute(TFunction_GraphNode::GetID(), parentNode);
        node->AddPrevious(parent);
        parentNode->AddNext(label);
    }
}

void OcafEditor::setLocal(int index, float value)
{
    const TDF_Label& label = computed_[std::size_t(index)];
    TDataStd_Real::Set(label, kLocal, double(value));
    if (log_.IsNull())
        log_ = new TFunction_Logbook;
    log_->SetTouched(label);
    touched_.push_back(label);
}

void OcafEditor::updateComputed()
{
    Handle(TFunction_GraphNode) node;
    for (std::size_t i = 0; i < touched_.size(); ++i) // grows under way
    {
        const TDF_Label label = touched_[i];
        driver_->Init(label);
        if (driver_->MustExecute(log_))
            driver_->Execute(log_);
        if (!label.FindAttribute(TFunction_GraphNode::GetID(), node))
            continue;
        for (TColStd_MapIteratorOfMapOfInteger next(node->GetNext()); next.More(); next.Next())
            touched_.push_back(scope_->GetFunction(next.Key()));
    }
    log_.Nullify();
    touched_.clear();
}

} // namespace

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv, [] {
        addEditingBenchmarks<OcafEditor>();
        addFileBenchmarks<OcafEditor>();
    });
}
