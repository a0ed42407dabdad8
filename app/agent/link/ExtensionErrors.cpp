#include "agent/link/ExtensionErrors.h"

#include <nlohmann/json.hpp>

#include <cstddef>

#include "foundation/Error.h"
#include "foundation/Text.h"
#include "protocol/MessageKeys.h"
#include "protocol/Selectors.h"

namespace kelpie::agent {
namespace {

// A longer text is not for people.
constexpr std::size_t kLongestSummary = 4096;
constexpr std::size_t kLongestJson = 64 * 1024;

std::string fitted(const std::string& text) {
  const std::string_view all = text;
  return displayText(all.substr(0, kLongestSummary));
}

// The text under the key; empty when there is none.
std::string textAt(const nlohmann::json& object, std::string_view key) {
  if (!object.is_object()) return {};
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

}  // namespace

bool ExtensionErrors::show(const Object& argument) {
  thread_.check();
  const std::optional<Error> error = argument.error();
  const Object information = error ? error->userInfo : argument;
  if (!error && !information.isDictionary()) return false;
  const std::string summary = information[kLocalizedDescriptionKey].stringValue();
  const std::string detail = information[kLocalizedRecoverySuggestionErrorKey].stringValue();
  if (!summary.empty() || !detail.empty()) {
    show(summary, detail);
    return true;
  }
  if (!error) return false;
  // An error of the system itself bears its code only.
  show("The file manager's extension has met an error",
       error->domain + " " + std::to_string(error->code));
  return true;
}

bool ExtensionErrors::showJson(std::string_view text) {
  thread_.check();
  if (text.size() > kLongestJson) return false;
  const nlohmann::json message = nlohmann::json::parse(text, nullptr, false);
  if (textAt(message, kMessageSelectorKey) != selector::kShowError) return false;
  const auto argument = message.find(kMessageArgumentKey);
  if (argument == message.end()) return false;
  const std::string summary = textAt(*argument, kLocalizedDescriptionKey);
  const std::string detail = textAt(*argument, kLocalizedRecoverySuggestionErrorKey);
  if (summary.empty() && detail.empty()) return false;
  show(summary, detail);
  return true;
}

void ExtensionErrors::show(const std::string& summary, const std::string& detail) {
  thread_.check();
  const std::string text = "extension: " + fitted(summary) + ": " + fitted(detail);
  log_.write(text);
  const Clock::time_point now = Clock::now();
  if (text == last_ && lastShown_ && now - *lastShown_ < kSilence) return;
  last_ = text;
  lastShown_ = now;
  notifier_.notify(fitted(summary), fitted(detail));
}

}  // namespace kelpie::agent
