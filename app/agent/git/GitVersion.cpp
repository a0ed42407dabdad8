#include "agent/git/GitVersion.h"

#include <charconv>
#include <chrono>
#include <cstddef>
#include <system_error>

namespace kelpie::agent {
namespace {

constexpr std::string_view kPrefix = "git version ";
constexpr std::chrono::milliseconds kLimit = std::chrono::seconds(10);

// Cuts a number off the beginning of the text.
std::optional<int> cutNumber(std::string_view& text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || number < 0) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

}  // namespace

std::optional<GitVersion> GitVersion::parse(std::string_view text) {
  if (!text.starts_with(kPrefix)) return std::nullopt;
  text.remove_prefix(kPrefix.size());
  const std::optional<int> major = cutNumber(text);
  if (!major || !text.starts_with('.')) return std::nullopt;
  text.remove_prefix(1);
  const std::optional<int> minor = cutNumber(text);
  if (!minor) return std::nullopt;
  return GitVersion{*major, *minor};
}

std::optional<std::string> problemOfGit(const GitCommand& git) {
  const std::string needed = " Git " + kOldestGit.text() + " or newer is needed.";
  const ProgramResult answer = git.ask({"--version"}, {}, nullptr, kLimit);
  if (!answer.succeeded()) return "git cannot be run: " + answer.failure() + "." + needed;
  const std::optional<GitVersion> version = GitVersion::parse(answer.output);
  if (!version) return "What is there as git does not say its version." + needed;
  if (*version < kOldestGit) return "git " + version->text() + " is too old." + needed;
  return std::nullopt;
}

}  // namespace kelpie::agent
