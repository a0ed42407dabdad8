#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "agent/git/ReferencesSnapshot.h"
#include "agent/git/StatusSnapshot.h"
#include "agent/git/WorkingCopyFinder.h"
#include "foundation/Bytes.h"
#include "foundation/FileIdentifier.h"
#include "foundation/Object.h"
#include "platform/FileSystem.h"
#include "protocol/Selectors.h"

namespace kelpie::agent {

// An archived message, made once for all its receivers. Null for a message that cannot be archived.
using Message = std::shared_ptr<const Bytes>;
// Whether both are null or say the same.
bool isSameMessage(const Message& a, const Message& b);

// The messages that tell an extension of one working copy. Immutable; any thread.
class RepositoryMessages {
 public:
  // `target` is the identifier of the working folder.
  RepositoryMessages(WorkingCopy workingCopy, FileIdentifier target);

  const FileIdentifier& target() const { return target_; }

  // "openRepositoryWithUrls:"
  Message opening() const;
  // "beginObservingDirectoryAtURL:": the extension is to look at the folder (absolute, bytes)
  // again.
  Message lookAgain(const std::string& folder) const;
  // "setStatusInfo:". Blocks while the file system tells the identifier of each item.
  Message status(const StatusSnapshot& snapshot, const FileSystem& files) const;
  // Takes the working copy away from an extension, in this order: everything counts as part of the
  // git directory and so has no badge; the shown items get their badges anew; and the repository,
  // without an identifier, holds nothing any more.
  struct Step {
    std::string_view selector;
    Message message;
  };
  std::array<Step, 3> withdrawal(const FileSystem& files) const;
  // Gives a working copy back that was taken away, before the status.
  std::array<Step, 2> restoration() const;

  // The messages about references, in the order in which they are to be sent.
  static constexpr std::size_t kReferenceMessages = 7;
  using References = std::array<Message, kReferenceMessages>;
  References references(const ReferencesSnapshot& snapshot) const;

  static constexpr std::string_view kOpening = selector::kRepositoryOpened;
  static constexpr std::string_view kLookAgain = selector::kLookAgain;
  static constexpr std::string_view kStatus = selector::kSetStatusInfo;
  static constexpr std::string_view kGitUrl = selector::kSetGitUrl;
  static constexpr std::string_view kIdentifier = selector::kSetIdentifier;
  static std::string_view referenceSelector(std::size_t index);

 private:
  Message message(std::string_view selector, Object argument) const;

  WorkingCopy workingCopy_;
  FileIdentifier target_;
};

}  // namespace kelpie::agent
