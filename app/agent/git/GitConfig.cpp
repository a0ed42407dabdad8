#include "agent/git/GitConfig.h"

#include <glib.h>

#include <array>
#include <unordered_set>
#include <utility>

namespace kelpie::agent {
namespace {

struct Word {
  const char* text;
  bool value;
};
constexpr std::array<Word, 9> kWords = {{{"true", true},
                                         {"yes", true},
                                         {"on", true},
                                         {"1", true},
                                         {"false", false},
                                         {"no", false},
                                         {"off", false},
                                         {"0", false},
                                         {"", false}}};

}  // namespace

GitConfig GitConfig::parse(std::string_view output) {
  GitConfig config;
  while (!output.empty()) {
    const std::size_t end = output.find('\0');
    if (end == std::string_view::npos) break;
    const std::string_view entry = output.substr(0, end);
    output.remove_prefix(end + 1);
    const std::size_t split = entry.find('\n');
    std::optional<std::string> value;
    if (split != std::string_view::npos) value.emplace(entry.substr(split + 1));
    const auto [at, isNew] = config.values_.try_emplace(std::string(entry.substr(0, split)));
    if (isNew) config.keys_.push_back(at->first);
    at->second.push_back(std::move(value));
  }
  return config;
}

std::optional<std::string> GitConfig::get(std::string_view key) const {
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  return found->second.back().value_or(std::string());
}

std::vector<std::string> GitConfig::all(std::string_view key) const {
  std::vector<std::string> result;
  if (const auto found = values_.find(key); found != values_.end())
    for (const auto& value : found->second) result.push_back(value.value_or(std::string()));
  return result;
}

bool GitConfig::getBool(std::string_view key, bool fallback) const {
  const auto found = values_.find(key);
  if (found == values_.end()) return fallback;
  const std::optional<std::string>& value = found->second.back();
  if (!value) return true;
  for (const Word& word : kWords)
    if (g_ascii_strcasecmp(word.text, value->c_str()) == 0) return word.value;
  return fallback;
}

std::vector<std::string> GitConfig::subsections(std::string_view section) const {
  std::vector<std::string> result;
  std::unordered_set<std::string_view> seen;
  for (const std::string_view key : keys_) {
    // section.subsection.variable, where the subsection may hold dots of its own.
    const std::size_t first = key.find('.');
    const std::size_t last = key.rfind('.');
    if (first == std::string_view::npos || first == last || key.substr(0, first) != section)
      continue;
    const std::string_view name = key.substr(first + 1, last - first - 1);
    if (seen.insert(name).second) result.emplace_back(name);
  }
  return result;
}

}  // namespace kelpie::agent
