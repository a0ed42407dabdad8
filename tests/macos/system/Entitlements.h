#pragma once

#import <Foundation/Foundation.h>

// What the code signature of this process is said to hold.
namespace kelpie::system {

// The value of every entitlement that is asked for; nil for none. Main thread.
void setEntitlement(id value);
// Whether the signature can be looked at.
void setSignatureReadable(bool isReadable);

}  // namespace kelpie::system
