#include <db2/ForwardingLayer.h>

namespace db2 {

ForwardingLayer::~ForwardingLayer() = default; // here, so that the class's virtual table stands in the library alone

} // namespace db2
