#include "macos/system/MenuItems.h"

#import <AppKit/AppKit.h>

namespace {

NSString* const kRepresentedObjectKey = @"NSRepObject";

using Encode = void (*)(id, SEL, NSCoder*);
using Decode = id (*)(id, SEL, NSCoder*);

Encode encodeRest = nullptr;
Decode decodeRest = nullptr;

void encodeWhole(id self, SEL selector, NSCoder* coder) {
  encodeRest(self, selector, coder);
  [coder encodeObject:[self representedObject] forKey:kRepresentedObjectKey];
}

id decodeWhole(id self, SEL selector, NSCoder* coder) {
  id const item = decodeRest(self, selector, coder);
  [item setRepresentedObject:[coder decodeObjectForKey:kRepresentedObjectKey]];
  return item;
}

template <class Function>
Function replace(SEL selector, Function function) {
  const Method method = class_getInstanceMethod([NSMenuItem class], selector);
  return reinterpret_cast<Function>(
      method_setImplementation(method, reinterpret_cast<IMP>(function)));
}

}  // namespace

namespace kelpie::system {

void completeMenuItems() {
  encodeRest = replace(@selector(encodeWithCoder:), &encodeWhole);
  decodeRest = replace(@selector(initWithCoder:), &decodeWhole);
}

}  // namespace kelpie::system
