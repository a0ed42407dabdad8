#pragma once

#import <Foundation/Foundation.h>

// An identifier of a file that is not data, as the platform is free to give one.
@interface CodedIdentifier : NSObject <NSCoding, NSCopying> {
 @private
  NSString* _name;
}
- (instancetype)initWithName:(NSString*)name;
@end
