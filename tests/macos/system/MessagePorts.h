#pragma once

#import <Foundation/Foundation.h>

#include <cstdint>

// What a test decides about the message ports of CoreFoundation.h. Ports of this process find each
// other by name, a second one of a name is the first one, and all senders to it are one; a message
// is delivered by the main run loop, once the receiving port's source stands in its common modes,
// and its bytes are the receiver's for the time of that call. A port has room for a few messages;
// for more a send waits. A port that goes is gone for its sender whoever has the name later: sends
// are faults of the transport first, and answer that the port is invalid once the system has told.
namespace kelpie::system {

// What the next sends answer; 0 sends. Any thread.
void setSendStatus(std::int32_t status);
// Whether receivers take nothing for the time being: a send lasts until its time-out is over or
// they do again. Any thread.
void setReceiversBusy(bool areBusy);
// How many sends wait for a busy receiver. Any thread.
int waitingSends();
// Another process opens a port of that name.
void takePortName(NSString* name);
// Whether a port of that name is open in this process.
bool isPortOpen(NSString* name);

}  // namespace kelpie::system
