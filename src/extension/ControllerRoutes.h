#pragma once

#include <span>

#include "extension/Route.h"

namespace kelpie {

class KPKelpieSync;

// The operations of the controller that take one object or none, by the selector that a message or
// a menu item names them with. Main queue. All but three, which no message has any business to
// call: "setupMessageListener" would open the receiving port, which is open, a second time;
// "handleSelectorMessage:" would call itself, as deep as a message likes; and "menuForMenuKind:"
// would build a menu that nobody sees over the targets and objects of the menu that the user has
// open.
std::span<const Route<KPKelpieSync>> controllerRoutes();

// Those of them that a menu item can bear as its action, `remoteRepositoryAction:` included.
std::span<const Route<KPKelpieSync>> actionRoutes();

}  // namespace kelpie
