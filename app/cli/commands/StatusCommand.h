#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/commands/Arguments.h"
#include "cli/link/BadgeCollector.h"
#include "cli/output/Context.h"

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
  };
  // What one operand names, and what it holds if that is a folder.
  struct Section {
    Item item;
    std::vector<Item> contents;
  };

  // The section of an operand; missing, after a complaint, when it cannot be shown.
  std::optional<Section> sectionOf(const std::string& operand, const ExtensionSession& session);
  void want(const Section& section, BadgeCollector& badges) const;
  void print(const std::vector<Section>& sections, const BadgeCollector& badges);
  void printJson(const std::vector<Section>& sections, const BadgeCollector& badges);
  std::string lineOf(const std::string& badge, const std::string& name, bool isFolder) const;

  const Arguments& arguments_;
  Console& console_;
  Context& context_;
};

}  // namespace kelpie::cli
