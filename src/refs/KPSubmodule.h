#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "refs/KPReference.h"

namespace kelpie {

// A submodule of a repository. Archived as "KPSubmodule". Threads and absent values as in
// KPReference. What the three numbers stand for is the main application's business.
class KPSubmodule : public KPReference {
 public:
  KPSubmodule() : KPSubmodule(std::nullopt) {}
  explicit KPSubmodule(std::optional<std::string> name);
  // A new submodule is a submodule: the type is ignored.
  KPSubmodule(std::int64_t type, std::optional<std::string> name);
  explicit KPSubmodule(const KeyedDecoder& coder);

  // Of the submodule's repository, as text.
  const std::optional<std::string>& url() const { return url_; }
  void setUrl(std::optional<std::string> url) { url_ = std::move(url); }

  // In the working copy: bytes, which an archive holds as data when they are not UTF-8.
  const std::optional<std::string>& path() const { return path_; }
  void setPath(std::optional<std::string> path) { path_ = std::move(path); }

  std::int64_t recurse() const { return recurse_; }
  void setRecurse(std::int64_t recurse) { recurse_ = recurse; }

  std::int64_t ignore() const { return ignore_; }
  void setIgnore(std::int64_t ignore) { ignore_ = ignore; }

  std::int64_t update() const { return update_; }
  void setUpdate(std::int64_t update) { update_ = update; }

  std::vector<std::string_view> classNames() const override;
  void encodeWithCoder(KeyedEncoder& coder) const override;

  // -- Of the system's operations, but called by nothing in this project --------------------------

  // The name, whole: a submodule is not cut at its last slash, as other references are.
  const std::optional<std::string>& lastNameComponent() const { return name(); }

 private:
  std::optional<std::string> url_;
  std::optional<std::string> path_;
  std::int64_t recurse_ = 0;
  std::int64_t ignore_ = 0;
  std::int64_t update_ = 0;
};

}  // namespace kelpie
