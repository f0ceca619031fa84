#pragma once

class BDispatcher;

/// Private: what is registered, for who looks at each step whether there is anything to do.
namespace NOperation {

/// `BDispatcher::Instance()`, not counted.
extern BDispatcher* g_dispatcher;

} // namespace NOperation
