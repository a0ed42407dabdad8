#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Dictionary.h"
#include "refs/KPReference.h"

namespace kelpie {

// The pull requests of a repository. Archived as "KPPullRequests", with the keys of a KPReference.
// Threads and absent values as in KPReference.
class KPPullRequests : public KPReference {
 public:
  KPPullRequests() : KPPullRequests(std::nullopt) {}
  explicit KPPullRequests(std::optional<std::string> name);
  // New pull requests are pull requests: the type is ignored.
  KPPullRequests(std::int64_t type, std::optional<std::string> name);
  explicit KPPullRequests(const KeyedDecoder& coder);

  // The main application's own notes, shared with the code that set them and never archived; null
  // at first.
  const std::shared_ptr<Dictionary>& comments() const { return comments_; }
  void setComments(std::shared_ptr<Dictionary> comments) { comments_ = std::move(comments); }

  std::vector<std::string_view> classNames() const override;

 private:
  std::shared_ptr<Dictionary> comments_;
};

}  // namespace kelpie
