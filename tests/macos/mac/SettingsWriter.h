#pragma once

#import <Foundation/Foundation.h>

#include <string>
#include <vector>

namespace kelpie {

// The first argument with which this program writes a setting.
inline constexpr const char* kWriterArgument = "--write-setting";

// The arguments with which this program stores a property list for a key of a suite, or removes
// what is stored when the value is nil.
std::vector<std::string> writerArguments(NSString* suite, NSString* key, id value);

// Does so, and returns when it is stored. The exit status: not 0 when the arguments are none of
// those.
int writeSetting(const std::vector<std::string>& arguments);

}  // namespace kelpie
