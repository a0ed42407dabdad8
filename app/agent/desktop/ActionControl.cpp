#include "agent/desktop/ActionControl.h"

namespace kelpie::agent {
namespace {

thread_local ActionControl* current = nullptr;

}  // namespace

ActionControl::Work::Work(ActionControl& control) : cancellable_(control.cancellable_.get()) {
  control.hasBegun_ = true;
  current = &control;
  g_cancellable_push_current(cancellable_);
}

ActionControl::Work::~Work() {
  g_cancellable_pop_current(cancellable_);
  current = nullptr;
}

ActionControl::Asking::Asking() {
  if (current != nullptr) current->isAsking_ = true;
}

ActionControl::Asking::~Asking() {
  if (current != nullptr) current->isAsking_ = false;
}

}  // namespace kelpie::agent
