#include "core/base/ClassRegistry.h"
#include "core/tree/BNode.h"

// What happens when the library is loaded: it registers its own archivable classes.

namespace {

const bool g_registered = [] {
    RegisterArchiveCallback(BNode::CLASSNAME(), &BNode::Read);
    return true;
}();

} // namespace
