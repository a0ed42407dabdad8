#pragma once

#import <Foundation/Foundation.h>

#include <optional>

#include "foundation/FileIdentifier.h"

namespace kelpie {

// The identifier that a file's resource values hold: data as it is, anything else by what its
// archive says, so that it equals the one that comes back in a message. Missing for nil and for
// what cannot be archived. Any thread.
std::optional<FileIdentifier> fileIdentifierOf(id identifier);

}  // namespace kelpie
