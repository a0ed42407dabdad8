#include "menus/SenderObjects.h"

#include <utility>

namespace kelpie {

void SenderObjects::set(std::string_view action, Object object) {
  if (object.isNil()) {
    remove(action);
    return;
  }
  const auto found = objects_.find(action);
  if (found != objects_.end())
    found->second = std::move(object);
  else
    objects_.emplace(action, std::move(object));
}

void SenderObjects::remove(std::string_view action) {
  const auto found = objects_.find(action);
  if (found != objects_.end()) objects_.erase(found);
}

Object SenderObjects::objectForAction(std::string_view action) const {
  const auto found = objects_.find(action);
  return found == objects_.end() ? Object() : found->second;
}

}  // namespace kelpie
