#include <db2/UndoObserver.h>

namespace db2 {

void UndoObserver::onUndoStackPushed(UndoManager*) {}
void UndoObserver::onUndoStackPopped(UndoManager*) {}
void UndoObserver::onUndoStackPoppedFront(UndoManager*) {}
void UndoObserver::onRedoStackPushed(UndoManager*) {}
void UndoObserver::onRedoStackPopped(UndoManager*) {}

} // namespace db2
