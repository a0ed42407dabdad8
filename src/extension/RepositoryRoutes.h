#pragma once

#include "extension/Route.h"

namespace kelpie {

class KPRepository;

// Every operation of a repository, or of its references manager, that takes one object, by the
// selector that a message names it with. Main thread, or for a long message the repository's update
// queue.
const RouteTable<KPRepository>& repositoryRoutes();

}  // namespace kelpie
