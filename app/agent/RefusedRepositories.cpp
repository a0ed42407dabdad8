#include "agent/RefusedRepositories.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace kelpie::agent {
namespace {

constexpr std::size_t kMostRefused = 1000;

}  // namespace

RefusedRepositories::RefusedRepositories(DefaultsFile file, Log& log)
    : file_(std::move(file)), log_(log) {
  std::error_code ignored;
  std::filesystem::remove(file_.path(), ignored);
}

void RefusedRepositories::looked(const std::string& folder, const std::string& failure) {
  const auto known = refused_.find(folder);
  if (failure.empty()) {
    if (known == refused_.end()) return;
    refused_.erase(known);
  } else {
    const std::vector<std::string> lines = {failure};
    if (known == refused_.end() ? refused_.size() >= kMostRefused : known->second == lines) return;
    refused_.insert_or_assign(folder, lines);
  }
  const std::optional<std::string> problem = file_.update([this](Dictionary& values) {
    values = withheldProgramsToDictionary(refused_);
    return true;
  });
  if (problem) log_.write(*problem);
}

}  // namespace kelpie::agent
