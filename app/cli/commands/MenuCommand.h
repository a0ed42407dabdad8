#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/commands/Arguments.h"
#include "cli/output/Context.h"
#include "cli/text/JsonText.h"
#include "protocol/hostlink/HostLines.h"

namespace kelpie::cli {

// `kelpie menu`: the menu of some items as a numbered tree. Main thread.
class MenuCommand {
 public:
  MenuCommand(const Arguments& arguments, Context& context)
      : arguments_(arguments), console_(context.console), context_(context) {}

  int run();

 private:
  // A row of the tree: the number that leads to the item ("2.1"), and how deep the item stands.
  struct Row {
    std::string number;
    std::size_t depth;
    const hostlink::Item* item;
  };
  static void collect(const std::vector<hostlink::Item>& items, const std::string& prefix,
                      std::size_t depth, std::vector<Row>& rows);
  static OrderedJson jsonOf(const std::vector<hostlink::Item>& items, const std::string& prefix);
  std::string textOf(const Row& row) const;

  const Arguments& arguments_;
  Console& console_;
  Context& context_;
};

}  // namespace kelpie::cli
