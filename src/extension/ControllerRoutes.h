#pragma once

#include "extension/Route.h"

namespace kelpie {

class KPKelpieSync;

// The operations of the controller that take one object or none, by the selector that a message or
// a menu item names them with. Main thread. All but three, which no message has any business to
// call: "setupMessageListener" would open the receiving port, which is open, a second time;
// "handleSelectorMessage:" would call itself, as deep as a message likes; and "menuForMenuKind:"
// would build a menu that nobody sees over the targets and objects of the menu that the user has
// open.
//
// A menu item can bear the actions, and no other name that is here.
const RouteTable<KPKelpieSync>& controllerRoutes();

}  // namespace kelpie
