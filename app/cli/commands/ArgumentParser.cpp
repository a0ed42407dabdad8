#include "cli/commands/ArgumentParser.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>
#include <span>
#include <utility>

namespace kelpie::cli {
namespace {

// An hour: longer than anybody waits, and short enough to reckon with.
constexpr int kLongestWait = 3'600'000;

bool isOption(std::string_view word) {
  if (word.size() < 2 || word[0] != '-') return false;
  return word[1] < '0' || word[1] > '9';
}

std::string listed(std::span<const std::string_view> choices) {
  std::string text;
  for (const std::string_view choice : choices) {
    if (!text.empty()) text += ", ";
    text += choice;
  }
  return text;
}

bool isWait(std::string_view text) {
  int number = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && number >= 0 &&
         number <= kLongestWait;
}

}  // namespace

Arguments::Parsed ArgumentParser::parse(const std::vector<std::string>& words) {
  bool optionsEnded = false;
  bool good = true;
  for (std::size_t i = 0; good && i < words.size(); ++i)
    if (!optionsEnded && words[i] == "--")
      optionsEnded = true;
    else if (optionsEnded || !isOption(words[i]))
      arguments_.operands_.push_back(words[i]);
    else if (words[i] == "--help" || words[i] == "-h")
      return {{}, true, std::nullopt};
    else
      good = parseOption(words, i);
  if (good && chooseForm() && checkCount()) return {std::move(arguments_), false, std::nullopt};
  return {{}, false, problem_};
}

bool ArgumentParser::parseOption(const std::vector<std::string>& words, std::size_t& position) {
  const std::string_view word = words[position];
  const std::size_t equals = word.find('=');
  const std::string_view name = word.substr(0, equals);
  const auto option = std::ranges::find_if(command_.options, [name](const OptionInfo& candidate) {
    return name.starts_with("--") && name.substr(2) == candidate.name;
  });
  if (option == command_.options.end()) {
    problem_ = "there is no option " + std::string(name);
    return false;
  }
  std::string value;
  if (option->value == ValueKind::None) {
    if (equals != std::string_view::npos) {
      problem_ = std::string(name) + " takes no value";
      return false;
    }
  } else if (equals != std::string_view::npos) {
    value = word.substr(equals + 1);
  } else if (position + 1 < words.size()) {
    value = words[++position];
  } else {
    problem_ = std::string(name) + " needs a value";
    return false;
  }
  if (!checkValue(*option, value)) return false;
  arguments_.options_.insert_or_assign(std::string(option->name), std::move(value));
  return true;
}

bool ArgumentParser::checkValue(const OptionInfo& option, std::string_view value) {
  if (option.value == ValueKind::Choice &&
      std::ranges::find(option.choices, value) == option.choices.end()) {
    problem_ = "--" + std::string(option.name) + " is one of " + listed(option.choices);
    return false;
  }
  if (option.value == ValueKind::Number && !isWait(value)) {
    problem_ = "--" + std::string(option.name) + " is a number of milliseconds up to " +
               std::to_string(kLongestWait);
    return false;
  }
  return true;
}

bool ArgumentParser::chooseForm() {
  if (command_.forms.front().verb.empty()) {
    arguments_.form_ = &command_.forms.front();
    return true;
  }
  std::vector<std::string_view> verbs;
  verbs.reserve(command_.forms.size());
  for (const FormInfo& form : command_.forms) verbs.push_back(form.verb);
  std::vector<std::string>& operands = arguments_.operands_;
  const auto found = operands.empty() ? verbs.end() : std::ranges::find(verbs, operands.front());
  if (found == verbs.end()) {
    const auto fallback = std::ranges::find_if(command_.forms, &FormInfo::isDefault);
    if (fallback != command_.forms.end() && !operands.empty()) {
      arguments_.form_ = &*fallback;
      return true;
    }
    problem_ = "it takes one of " + listed(verbs);
    return false;
  }
  arguments_.form_ = &command_.forms[static_cast<std::size_t>(found - verbs.begin())];
  operands.erase(operands.begin());
  return true;
}

bool ArgumentParser::checkCount() {
  const FormInfo& form = *arguments_.form_;
  const std::size_t count = arguments_.operands_.size();
  if (count >= form.least && count <= form.most) return true;
  if (form.most == 0) {
    problem_ = "it takes no operands";
  } else {
    problem_ =
        (count < form.least ? "too few operands; it takes " : "too many operands; it takes ") +
        std::string(form.operands);
  }
  return false;
}

}  // namespace kelpie::cli
