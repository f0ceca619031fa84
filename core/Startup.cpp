#include "core/base/ClassRegistry.h"
#include "core/geometry/BBitArray.h"
#include "core/tree/BNode.h"

// What happens when the library is loaded: it registers its own archivable classes. In one place
// and not beside each class, so that the list is there to be read.

namespace {

const bool g_registered = [] {
    RegisterArchiveCallback(BBitArray::CLASSNAME(), &BBitArray::Read);
    RegisterArchiveCallback(BNode::CLASSNAME(), &BNode::Read);
    return true;
}();

} // namespace
