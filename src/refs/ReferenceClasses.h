#pragma once

namespace kelpie {

// Makes the records and tree nodes of this folder known to ClassTable::shared(), so that archives
// give them. To be called before the first archive is read; calling it again changes nothing. Any
// thread.
void registerReferenceClasses();

}  // namespace kelpie
