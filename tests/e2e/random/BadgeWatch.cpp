#include "e2e/random/BadgeWatch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <utility>

#include "support/linux/ChildProcess.h"

namespace kelpie {
namespace {

constexpr std::chrono::milliseconds kAWhile{400};

// Some of the folders, always the same by their names.
bool isShownFolder(const std::string& folder) {
  std::uint32_t hash = 2166136261U;
  for (const char byte : folder.substr(folder.rfind('/')))
    hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619U;
  return (hash >> 8U) % 5 != 0;
}

bool fits(const std::string& badge, const std::set<std::string>& expected) {
  // Nothing, whether it was said or never was there.
  const bool isBare = badge == "none" || badge == "KPEmptyBadge";
  return expected.contains(isBare ? "" : badge);
}

// What may hold anything, for a terminal.
std::string readable(const std::string& text) {
  std::ostringstream out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F)
      out << c;
    else
      out << "\\x" << std::hex << (byte >> 4U) << (byte & 15U) << std::dec;
  }
  return out.str();
}

std::vector<std::string> allOf(const std::string& folder, std::vector<std::string> roots) {
  roots.insert(roots.begin(), folder);
  return roots;
}

}  // namespace

BadgeWatch::BadgeWatch(const GitSession& session, std::string folder,
                       std::vector<std::string> roots)
    : session_(session),
      roots_(std::move(roots)),
      host_(session.runtime().finderSocket(), allOf(folder, roots_), isShownFolder) {}

bool BadgeWatch::connect(int step) {
  programsStarted(step);
  return host_.connect();
}

// -- What git says --------------------------------------------------------------------------------

void BadgeWatch::readTruth(int step) {
  for (const std::string& root : roots_) {
    Told& told = told_[root];
    std::unique_ptr<GitTruth> truth;
    std::error_code error;
    if (std::filesystem::exists(root + "/.git", error)) {
      std::vector<std::string> command = GitTruth::command();
      command.insert(command.begin() + 1, {"-C", root});
      ChildProcess git(command, session_.environment());
      EXPECT_EQ(git.waitForEnd(), 0) << git.errors();
      truth = std::make_unique<GitTruth>(root, git.output());
      EXPECT_EQ(truth->problem(), "");
    }
    const bool isSame =
        told.truth != nullptr && truth != nullptr && truth->saysTheSame(*told.truth);
    if (!isSame) told.changedAt = step;
    told.truth = std::move(truth);
  }
}

// An unchanged file counts when the last status came in after it was asked for, which it surely did
// when git has said something new since. Others may: the programs ask for some by themselves.
GitTruth::Knowledge BadgeWatch::knowledgeOf(const std::string& path,
                                            const PatientHost::Items& items,
                                            const std::string& root) const {
  const auto item = items.find(path);
  if (item == items.end()) return GitTruth::Knowledge::Maybe;
  const bool isOld =
      item->second.askedAt < told_.at(root).changedAt && startedAt_ < told_.at(root).changedAt;
  return isOld ? GitTruth::Knowledge::Yes : GitTruth::Knowledge::Maybe;
}

BadgeWatch::Expected BadgeWatch::expectedOf(const PatientHost::Items& items) {
  Expected expected;
  for (const auto& [path, item] : items) {
    expected[path] = {""};
    for (const std::string& root : roots_) {
      const Told& told = told_.at(root);
      if (told.truth == nullptr || (path != root && !path.starts_with(root + "/"))) continue;
      expected[path] = told.truth->badgesOf(
          path, [&](const std::string& file) { return knowledgeOf(file, items, root); });
      ambiguous_ += expected[path].size() > 1 ? 1U : 0U;
    }
  }
  return expected;
}

// -- What is on screen ----------------------------------------------------------------------------

bool BadgeWatch::waitUntilRight(const Expected& expected, Clock::time_point end) {
  for (;;) {
    const std::uint64_t received = host_.received();
    const PatientHost::Items items = host_.items();
    if (std::ranges::all_of(items, [&](const auto& item) {
          return fits(item.second.badge, expected.at(item.first));
        }))
      return true;
    if (Clock::now() >= end) return false;
    host_.waitForMore(received, end);
  }
}

void BadgeWatch::note(int step, const PatientHost::Items& before, const Expected& expected,
                      Clock::time_point told) {
  Clock::time_point last = Clock::time_point::min();
  for (const auto& [path, item] : host_.items()) {
    const auto former = before.find(path);
    if (former == before.end() || !fits(former->second.badge, expected.at(path)))
      last = std::max(last, item.since);
  }
  if (last == Clock::time_point::min()) return;
  const std::chrono::duration<double, std::milli> late = last - told;
  latencies_.emplace_back(std::max(0.0, late.count()), step);
}

bool BadgeWatch::settle(int step, const std::string& what, bool lasting) {
  const PatientHost::Items before = host_.items();
  host_.look(step);
  readTruth(step);
  const auto told = Clock::now();
  const Expected expected = expectedOf(host_.items());
  compared_ += expected.size();
  if (!waitUntilRight(expected, told + ChildProcess::kLongEnough)) {
    complain(step, what, expected);
    return false;
  }
  note(step, before, expected, told);
  if (!lasting) return true;
  const auto later = Clock::now() + kAWhile;
  while (Clock::now() < later) host_.waitForMore(host_.received(), later);
  if (waitUntilRight(expected, Clock::now() + ChildProcess::kLongEnough)) return true;
  complain(step, what + " (right at first)", expected);
  return false;
}

void BadgeWatch::complain(int step, const std::string& what, const Expected& expected) {
  std::ostringstream text;
  text << "step " << step << ": " << what << '\n';
  for (const auto& [path, item] : host_.items()) {
    if (fits(item.badge, expected.at(path))) continue;
    wrongItems_.insert(path);
    text << "  " << readable(path) << "\n    expected";
    for (const std::string& badge : expected.at(path)) text << " \"" << badge << '"';
    text << ", seen \"" << item.badge << "\", asked in step " << item.askedAt << '\n';
    listFiles(path, text);
  }
  for (const auto& [root, told] : told_)
    if (told.truth != nullptr)
      text << root << ": git says " << readable(told.truth->status()) << '\n';
  ADD_FAILURE() << text.str() << host_.complaints();
}

std::string BadgeWatch::badgeOf(const std::string& path) const {
  const PatientHost::Items items = host_.items();
  const auto found = items.find(path);
  return found == items.end() ? "none" : found->second.badge;
}

// What counts in a folder's badge, and whether the extension knows it: y or ?.
void BadgeWatch::listFiles(const std::string& folder, std::ostream& text) const {
  const PatientHost::Items items = host_.items();
  std::error_code error;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, error)) {
    const std::string path = entry.path();
    if (path.find("/.git/") != std::string::npos) continue;
    for (const std::string& root : roots_)
      if (path.starts_with(root + "/") && !entry.is_directory())
        text << "      "
             << "?y"[static_cast<int>(knowledgeOf(path, items, root))] << ' '
             << readable(path.substr(root.size())) << '\n';
  }
}

// -- How long it took -----------------------------------------------------------------------------

BadgeWatch::Latencies BadgeWatch::latencies() const {
  Latencies result;
  std::vector<std::pair<double, int>> sorted = latencies_;
  std::ranges::sort(sorted);
  result.count = sorted.size();
  if (sorted.empty()) return result;
  result.median = sorted[sorted.size() / 2].first;
  result.p95 = sorted[sorted.size() * 95 / 100].first;
  result.longest = sorted.back().first;
  result.longestStep = sorted.back().second;
  return result;
}

}  // namespace kelpie
