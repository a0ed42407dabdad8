#pragma once

#import <Foundation/Foundation.h>

#include <optional>

#include "foundation/FileIdentifier.h"

namespace kelpie {

// The identifier that a file's resource values hold: data as it is, any other object by its
// archive, so that it equals the one that comes back in a message. Absent for nil and for an object
// that cannot be archived. Any thread.
std::optional<FileIdentifier> fileIdentifierOf(id identifier);

}  // namespace kelpie
