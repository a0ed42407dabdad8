#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/Arguments.h"
#include "cli/link/BadgeCollector.h"
#include "cli/output/Context.h"
#include "foundation/ThreadBound.h"
#include "linux/hostclient/HostClient.h"
#include "protocol/hostlink/HostLines.h"

namespace kelpie::cli {

// A menu for some items, and the conversation in which it was asked for. The menu can be chosen
// from as long as this lives and nobody asks for another. Main thread.
class MenuRequest {
 public:
  // The menu of the kind that --kind names. Null, after a complaint, when there is none.
  static std::unique_ptr<MenuRequest> make(const Arguments& arguments,
                                           const std::vector<std::string>& operands,
                                           Context& context);

  const std::vector<hostlink::Item>& items() const { return items_; }
  // Asks for the menu anew. What went wrong, in one line, or nothing: the menu is the former one
  // then.
  std::optional<std::string> refresh();
  // Where the first PATH lies, absolute.
  const std::string& place() const { return place_; }

  // Chooses the item at that index path and waits until its action was handed on; the main
  // application knows it as `choice`. What went wrong, in one line (not yet printable), or nothing.
  std::optional<std::string> choose(const std::vector<std::size_t>& path,
                                    const std::string& choice);

 private:
  struct Kind;
  explicit MenuRequest(std::unique_ptr<ExtensionSession> session)
      : session_(std::move(session)), badges_(*session_) {}

  // Each returns what is wrong, or nothing.
  std::optional<std::string> locate(const std::vector<std::string>& operands, const Kind& kind);
  std::optional<std::string> open(const Kind& kind, std::chrono::milliseconds wait);
  // Checks by the badges that absent items were deleted. Returns what is wrong, or nothing.
  std::optional<std::string> checkDeleted() const;

  std::unique_ptr<ExtensionSession> session_;
  BadgeCollector badges_;
  std::string place_;
  bool isSidebar_ = false;
  // Operands where nothing exists, by the paths of their placeholders.
  std::vector<std::pair<std::string, std::string>> deleted_;
  HostClient::MenuQuestion question_;
  std::int64_t menu_ = 0;  // the menu's id for choose()
  std::vector<hostlink::Item> items_;
  ThreadBound thread_;
};

}  // namespace kelpie::cli
