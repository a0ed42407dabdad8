#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Object.h"
#include "refs/KPReference.h"

namespace kelpie {

// A remote of a repository. Archived as "KPRemote". Threads and absent values as in KPReference.
class KPRemote : public KPReference {
 public:
  KPRemote() : KPRemote(std::nullopt) {}
  explicit KPRemote(std::optional<std::string> name);
  // A new remote is a remote: the type is ignored.
  KPRemote(std::int64_t type, std::optional<std::string> name);
  explicit KPRemote(const KeyedDecoder& coder);

  // Where it is fetched from, as text.
  const std::optional<std::string>& url() const { return url_; }
  void setUrl(std::optional<std::string> url) { url_ = std::move(url); }

  // Where it is pushed to, as text.
  const std::optional<std::string>& pushUrl() const { return pushUrl_; }
  void setPushUrl(std::optional<std::string> url) { pushUrl_ = std::move(url); }

  // Arrays of strings, or nil: an absent list differs from an empty one. Anything but an array is
  // set as nil. Values, so that a list that repeats one long text does not cost its copies.
  const Object& fetchRefspecs() const { return fetchRefspecs_; }
  void setFetchRefspecs(const Object& refspecs);
  const Object& pushRefspecs() const { return pushRefspecs_; }
  void setPushRefspecs(const Object& refspecs);

  // Whether tags are followed, in the main application's numbers.
  std::int64_t autotag() const { return autotag_; }
  void setAutotag(std::int64_t autotag) { autotag_ = autotag; }

  // Left out when all remotes are fetched.
  bool skipFetchAll() const { return skipFetchAll_; }
  void setSkipFetchAll(bool skip) { skipFetchAll_ = skip; }

  std::vector<std::string_view> classNames() const override;
  void encodeWithCoder(KeyedEncoder& coder) const override;

 private:
  std::optional<std::string> url_;
  std::optional<std::string> pushUrl_;
  Object fetchRefspecs_;
  Object pushRefspecs_;
  std::int64_t autotag_ = 0;
  bool skipFetchAll_ = false;
};

}  // namespace kelpie
