#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "cli/commands/Arguments.h"
#include "cli/link/AgentClient.h"
#include "cli/link/BadgeCollector.h"
#include "cli/output/Context.h"
#include "cli/text/FilePath.h"

namespace kelpie::cli {

// `kelpie status`: items and folders with their badges. Main thread.
class StatusCommand {
 public:
  StatusCommand(const Arguments& arguments, Context& context)
      : arguments_(arguments), console_(context.console), context_(context) {}

  int run();

 private:
  struct Item {
    std::string path;
    bool isFolder = false;
    bool isDeleted = false;

    // The path by which the extension knows it.
    std::string knownAs() const { return isDeleted ? FilePath::placeholderOf(path) : path; }
  };
  // What one operand names, and what it holds if that is a folder.
  struct Section {
    Item item;
    std::vector<Item> contents;
    std::shared_ptr<const AgentClient::WorkingCopy> workingCopy = {};  // null: not known
  };

  // The section of an operand; missing, after a complaint, when it cannot be shown.
  std::optional<Section> sectionOf(const std::string& operand, const ExtensionSession& session);
  void want(const Section& section, BadgeCollector& badges) const;
  // Adds what only the main application can tell: the working copy, and items that are deleted, or
  // all that is changed. Returns whether that adds something to show.
  bool addKnowledge(std::vector<Section>& sections, BadgeCollector& badges);
  void addChanges(Section& section) const;
  std::string headOf(const AgentClient::WorkingCopy& copy) const;
  void print(const std::vector<Section>& sections, const BadgeCollector& badges);
  void printJson(const std::vector<Section>& sections, const BadgeCollector& badges);
  std::string lineOf(const std::string& badge, const std::string& name, bool isFolder) const;

  const Arguments& arguments_;
  Console& console_;
  Context& context_;
  bool isIncomplete_ = false;  // the changes could not be asked for
};

}  // namespace kelpie::cli
