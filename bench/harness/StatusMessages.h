#pragma once

#include <memory>

#include "foundation/Bytes.h"
#include "foundation/Dictionary.h"
#include "foundation/Object.h"

namespace kelpie {

// The identifier of a file that is not there, for entries that nobody looks at; another for each
// index.
Object identifierOfNoFile(int index);

// What a status message says: its entries, and which items are changed.
Dictionary statusInfo(Dictionary entries, Objects dirtyUrls);

// What a message holds, as it comes in.
std::shared_ptr<const Bytes> archived(const Object& message);

}  // namespace kelpie
