#pragma once

#include <span>

#include "extension/Route.h"

namespace kelpie {

class KPKelpieSync;

// Every operation of the controller that takes one object or none, by the selector that a message
// or a menu item names it with. Main queue.
std::span<const Route<KPKelpieSync>> controllerRoutes();

// Those of them that a menu item can bear as its action, `remoteRepositoryAction:` included.
std::span<const Route<KPKelpieSync>> actionRoutes();

}  // namespace kelpie
