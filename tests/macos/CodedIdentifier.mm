#include "macos/CodedIdentifier.h"

@implementation CodedIdentifier

- (instancetype)initWithName:(NSString*)name {
  self = [super init];
  if (self != nil) _name = [name copy];
  return self;
}

- (instancetype)initWithCoder:(NSCoder*)coder {
  return [self initWithName:[coder decodeObjectForKey:@"name"]];
}

- (void)encodeWithCoder:(NSCoder*)coder {
  [coder encodeObject:_name forKey:@"name"];
}

- (id)copyWithZone:(NSZone* __attribute__((unused)))zone {
  return [self retain];
}

- (BOOL)isEqual:(id)other {
  return [other isKindOfClass:[CodedIdentifier class]] &&
         [static_cast<CodedIdentifier*>(other)->_name isEqual:_name];
}

- (NSUInteger)hash {
  return [_name hash];
}

- (void)dealloc {
  [_name release];
  [super dealloc];
}

@end
