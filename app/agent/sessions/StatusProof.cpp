#include "agent/sessions/StatusProof.h"

#include <utility>

namespace kelpie::agent {
namespace {

// A change is told of so long after it at most: one that git has seen already makes no defect.
constexpr std::chrono::milliseconds kNewsTravels{200};

}  // namespace

StatusProof::StatusProof(EventLoop& loop, std::string root, std::chrono::milliseconds rest,
                         std::function<void()> begin)
    : loop_(loop), root_(std::move(root)), rest_(rest), begin_(std::move(begin)) {}

void StatusProof::changed() {
  thread_.check();
  verdict_.reset();
}

void StatusProof::partsRead() {
  thread_.check();
  due_ = loop_.callAfter(rest_, [this] {
    due_.reset();
    begin_();
  });
}

void StatusProof::wholeRead() {
  thread_.check();
  due_.reset();
}

void StatusProof::proved(const std::string& difference) {
  wholeRead();
  if (difference.empty()) return;
  verdict_ = loop_.callAfter(kNewsTravels, [this, difference] {
    verdict_.reset();
    loop_.log().write(root_ +
                      ": the status that was read in parts was wrong about items: " + difference +
                      " (defect " + std::to_string(++defects_) + " of this repository)");
  });
}

}  // namespace kelpie::agent
