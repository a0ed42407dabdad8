#include "cli/commands/DoctorCommand.h"

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include "cli/doctor/ServiceChecks.h"
#include "cli/doctor/SystemChecks.h"
#include "cli/doctor/WithheldChecks.h"
#include "cli/text/JsonText.h"

namespace kelpie::cli {
namespace {

struct LevelLook {
  std::string_view name;    // in JSON
  std::string_view padded;  // in the table, all equally wide
  Colour colour;
};

const LevelLook& lookOf(DoctorReport::Level level) {
  static constexpr LevelLook kLooks[] = {{"good", "good   ", Colour::Green},
                                         {"warning", "warning", Colour::Yellow},
                                         {"problem", "problem", Colour::Red}};
  return kLooks[static_cast<std::size_t>(level)];
}

}  // namespace

int DoctorCommand::run() {
  DoctorReport report;
  ServiceChecks(report).run();
  SystemChecks(report).run();
  WithheldChecks(report).run();
  if (arguments_.has("json"))
    printJson(report);
  else
    print(report);
  return report.hasProblem() ? kFailure : kSuccess;
}

void DoctorCommand::print(const DoctorReport& report) {
  std::size_t width = 0;
  for (const auto& finding : report.findings()) width = std::max(width, finding.topic.size());
  for (const auto& finding : report.findings()) {
    const LevelLook& look = lookOf(finding.level);
    console_.out() << console_.paint(look.colour, look.padded) << "  " << finding.topic
                   << std::string(width - finding.topic.size() + 2, ' ')
                   << console_.printable(finding.text) << '\n';
    if (finding.advice.empty()) continue;
    console_.out() << std::string(look.padded.size() + width + 4, ' ') << "-> "
                   << console_.printable(finding.advice) << '\n';
  }
}

void DoctorCommand::printJson(const DoctorReport& report) {
  OrderedJson list = OrderedJson::array();
  for (const auto& finding : report.findings()) {
    OrderedJson entry;
    entry["level"] = lookOf(finding.level).name;
    entry["topic"] = finding.topic;
    entry["text"] = finding.text;
    entry["advice"] = finding.advice.empty() ? OrderedJson() : OrderedJson(finding.advice);
    list.push_back(std::move(entry));
  }
  printJsonText(console_.out(), list);
}

}  // namespace kelpie::cli
