#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Archivable.h"
#include "foundation/Bytes.h"

namespace kelpie {

class KeyedDecoder;

// The kinds of reference that are known here. The main application has more of them (local and
// remote branches, tags and the like); those are carried as numbers.
struct KPReferenceType {
  static constexpr std::int64_t kPlain = 1;
  static constexpr std::int64_t kRemote = 4;
  static constexpr std::int64_t kSubmodule = 5;
  static constexpr std::int64_t kPullRequests = 6;
};

// What the main application says of one reference of a repository: a branch, a tag, and, as
// subclasses, a remote, a submodule, the pull requests. Archived as "KPReference". Filled by its
// maker, then shared as shared_ptr<const KPReference>; from then on any thread.
//
// All texts are UTF-8. A value that an archive does not hold, or holds as another class, is absent,
// 0 or false.
class KPReference : public Archivable {
 public:
  // A plain reference without a name.
  KPReference() : KPReference(KPReferenceType::kPlain, std::nullopt) {}
  KPReference(std::int64_t type, std::optional<std::string> name);
  // From its archived keys. An archived record without a type has type 0, whatever its class.
  explicit KPReference(const KeyedDecoder& coder);

  // Records are shared, and a copy would lose what a subclass adds.
  KPReference(const KPReference&) = delete;
  KPReference& operator=(const KPReference&) = delete;
  ~KPReference() override = default;

  // The kind, see KPReferenceType. Nothing here depends on it.
  std::int64_t type() const { return type_; }
  void setType(std::int64_t type) { type_ = type; }

  // The short name, such as "feature/x"; menus show its last component.
  const std::optional<std::string>& name() const { return name_; }
  void setName(std::optional<std::string> name) { name_ = std::move(name); }

  // The full name, such as "refs/heads/feature/x".
  const std::optional<std::string>& fullName() const { return fullName_; }
  void setFullName(std::optional<std::string> fullName) { fullName_ = std::move(fullName); }

  // The id of the commit that the reference points to; absent when it points to none. An empty id
  // is present.
  const std::optional<Bytes>& oid() const { return oid_; }
  void setOid(std::optional<Bytes> oid) { oid_ = std::move(oid); }

  // The branch that is checked out.
  bool isHead() const { return head_; }
  void setHead(bool head) { head_ = head; }

  // Stands for a detached HEAD.
  bool isDetached() const { return detached_; }
  void setDetached(bool detached) { detached_ = detached; }

  // The full name of the branch that this branch tracks, such as "refs/remotes/origin/main"; absent
  // when it tracks none.
  const std::optional<std::string>& upstreamName() const { return upstreamName_; }
  void setUpstreamName(std::optional<std::string> name) { upstreamName_ = std::move(name); }

  // The number by which the main application knows the reference again when a menu item is chosen.
  std::int64_t tag() const { return tag_; }
  void setTag(std::int64_t tag) { tag_ = tag; }

  std::vector<std::string_view> classNames() const override;
  void encodeWithCoder(KeyedEncoder& coder) const override;

 private:
  // What every menu reads stands first: a picker of many references waits for memory.
  std::optional<std::string> name_;
  std::int64_t tag_ = 0;
  bool head_ = false;
  bool detached_ = false;
  std::optional<Bytes> oid_;
  std::optional<std::string> fullName_;
  std::optional<std::string> upstreamName_;
  std::int64_t type_ = 0;
};

}  // namespace kelpie
