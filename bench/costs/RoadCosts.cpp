// One round of each main road at one fixed size, for check-costs to count its instructions and its
// looks at files: what no clock and no other process disturbs. Before it is counted each road is
// gone once, so that what is made only once does not count, and its answer is checked.
//
// The repository has 2,000 files in 20 folders of src, every tenth of them changed, and 9,800
// changes elsewhere, where no files are. Files and folders are real; the queues of the extension
// run in turn on this one thread.
//
// Run by itself it prints "<road> <looks at files>" for each road.

#include <valgrind/callgrind.h>

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agent/git/StatusMerge.h"
#include "agent/git/StatusParser.h"
#include "agent/git/StatusSnapshot.h"
#include "agent/link/RepositoryMessages.h"
#include "archive/KeyedUnarchiver.h"
#include "foundation/ObjectView.h"
#include "foundation/URL.h"
#include "harness/BenchFiles.h"
#include "harness/HostedExtension.h"
#include "harness/StatusMessages.h"
#include "platform/linux/LinuxFileSystem.h"
#include "protocol/MessageKeys.h"
#include "protocol/StatusKeys.h"
#include "settings/SettingsKeys.h"
#include "status/KPRepository.h"
#include "support/FakePlatform.h"
#include "support/TemporaryFolder.h"

namespace kelpie {
namespace {

constexpr std::size_t kFolders = 20;
constexpr std::size_t kFilesInAFolder = 100;
constexpr std::size_t kFiles = kFolders * kFilesInAFolder;
constexpr std::size_t kShown = 1000;
constexpr std::size_t kEntries = 10'000;
constexpr StatusWord kModified = 0x0100;

// The file system of this machine, and how often it was asked for something.
class CountingFiles final : public FileSystem {
 public:
  ResourceValues resourceValues(const URL& url) const override {
    ++looks;
    return files_.resourceValues(url);
  }
  std::optional<std::string> localizedName(const URL& url) const override {
    ++looks;
    return files_.localizedName(url);
  }
  std::optional<Image> icon(const URL& url) const override { return files_.icon(url); }
  std::optional<URL> parentUrl(const URL& url) const override { return files_.parentUrl(url); }
  std::optional<URL> fileReferenceUrl(const URL& url) const override {
    ++looks;
    return files_.fileReferenceUrl(url);
  }
  std::optional<URL> filePathUrl(const URL& url) const override { return files_.filePathUrl(url); }
  std::vector<URL> contentsOfDirectory(const URL& url) const override {
    ++looks;
    return files_.contentsOfDirectory(url);
  }
  std::unique_ptr<DirectoryEnumerator> enumerator(const URL& url,
                                                  ErrorHandler onError) const override {
    ++looks;
    return files_.enumerator(url, std::move(onError));
  }
  BookmarkResolution resolveBookmark(ByteView bookmark) const override {
    return files_.resolveBookmark(bookmark);
  }

  mutable std::size_t looks = 0;

 private:
  LinuxFileSystem files_;
};

// The extension with one open repository and one host.
class CountedExtension {
 public:
  CountedExtension() {
    fakes_.groupDefaults().changeFromOutside(kShowFolderGitStatusKey, true);
    makeFiles();
    extension_.open(root_);
    fakes_.runAll();
    message = makeMessage();
  }

  // What the host is told for the line.
  std::vector<std::string> answersTo(const nlohmann::json& line) {
    extension_.takeAnswers();
    extension_.handleLine(line.dump());
    fakes_.runAll();
    return extension_.takeAnswers();
  }
  void takeIn() {
    extension_.repository()->setStatusInfo(KeyedUnarchiver::open(message));
    fakes_.runAll();
  }
  void workOut(const std::string& folder) {
    extension_.repository()->updateStatusOfDirectoryURL(URL::fileURLWithPath(folder));
    fakes_.runAll();
  }

  std::vector<std::string> shownUrls() const {
    std::vector<std::string> urls;
    for (std::size_t i = 0; i < kShown; ++i)
      urls.push_back(URL::fileURLWithPath(paths_[i]).absoluteString());
    return urls;
  }
  const std::string& root() const { return root_; }
  const std::vector<std::string>& paths() const { return paths_; }

  std::shared_ptr<CountingFiles> files = std::make_shared<CountingFiles>();
  std::shared_ptr<const Bytes> message;

 private:
  void makeFiles() {
    root_ = folder_.addFolder("repository");
    folder_.addFolder("repository/.git");
    for (std::size_t i = 0; i < kFiles; ++i) {
      const std::string name = "repository/src/part" + std::to_string(i / kFilesInAFolder);
      if (i % kFilesInAFolder == 0) folder_.addFolder(name);
      paths_.push_back(folder_.path() + "/" + name + "/file" + std::to_string(i) + ".cpp");
      touch(paths_.back());
    }
  }

  std::shared_ptr<const Bytes> makeMessage() const {
    Dictionary entries;
    Objects dirty;
    for (std::size_t i = 0; i < kFiles; i += 10) {
      const URL url = URL::fileURLWithPath(paths_[i]);
      entries.set(Object::orNil(url.identifier(*files)),
                  Objects{kModified, Object::path(paths_[i])});
      dirty.emplace_back(url);
    }
    for (int i = 0; entries.size() < kEntries; ++i) {
      const std::string path = root_ + "/other/file" + std::to_string(i);
      entries.set(identifierOfNoFile(i), Objects{kModified, Object::path(path)});
      dirty.emplace_back(URL::fileURLWithPath(path));
    }
    return archived(statusInfo(std::move(entries), std::move(dirty)));
  }

  TemporaryFolder folder_;  // always as deep: that is among what is counted
  FakePlatform fakes_;
  HostedExtension extension_{fakes_, files};
  std::string root_;
  std::vector<std::string> paths_;
};

// What git says of 10,000 changed files, and the agent's part of the road: the message is about the
// files that are there.
class CountedAgent {
 public:
  CountedAgent(const std::string& root, const std::vector<std::string>& paths)
      : root_(root),
        messages_({root, root + "/.git", root + "/.git", false}, FileIdentifier(Bytes(16, 1))) {
    for (const std::string& path : paths)
      there_.push_back({path.substr(root.size() + 1), "", kModified, false, false, false});
    for (std::size_t i = 0; i < kEntries; ++i)
      words += "1 .M N... 100644 100644 100644 " + std::string(40, 'a') + " " +
               std::string(40, 'b') + " part" + std::to_string(i / 100) + "/file" +
               std::to_string(100'000 + i) + '\0';
    known = agent::parseStatus(words).value_or(std::vector<agent::StatusItem>());
  }

  bool makeMessage(const FileSystem& files) const {
    const agent::StatusSnapshot snapshot(root_, {}, there_, true);
    const auto message = messages_.status(snapshot, files);
    const Object info = KeyedUnarchiver::open(message)[kMessageArgumentKey];
    return info[kRepositoryStatusKey].size() == kFiles;
  }

  std::string words;
  std::vector<agent::StatusItem> known;

 private:
  std::string root_;
  std::vector<agent::StatusItem> there_;
  agent::RepositoryMessages messages_;
};

// A road, and whether it led to what it should.
struct Road {
  const char* name;
  std::function<bool()> go;
};

std::vector<Road> roads(CountedExtension& extension, CountedAgent& agent) {
  using nlohmann::json;
  const auto urls = extension.shownUrls();
  const auto askForBadges = [&extension,
                             question = json{{"type", "requestBadges"}, {"urls", urls}}] {
    return extension.answersTo(question).size() == kShown / 100;
  };
  const auto askForMenu =
      [&extension, question = json{{"type", "menu"}, {"id", 1}, {"kind", 0}, {"selected", urls}}] {
        const std::vector<std::string> answers = extension.answersTo(question);
        return answers.size() == 1 && answers[0].find("Stage 100 Files") != std::string::npos;
      };
  return {
      {"badges-of-1000-new-items", askForBadges},
      {"status-of-10000-entries",
       [&extension] {
         extension.takeIn();
         return true;
       }},
      {"badges-of-1000-items", askForBadges},
      {"folder-of-2000-files",
       [&extension] {
         extension.workOut(extension.root() + "/src");
         return true;
       }},
      {"menu-of-1000-items", askForMenu},
      {"reading-of-10000-entries",
       [&extension] {
         const Object info = KeyedUnarchiver::open(extension.message);
         std::size_t entries = 0;
         ObjectView(info)["KPRepositoryStatus"].forEachEntry([&](ObjectView key, ObjectView entry) {
           if (key.data() && entry.at(0).unsignedShortValue() == kModified) ++entries;
           return true;
         });
         return entries == kEntries;
       }},
      {"git-words-of-10000-items",
       [&agent] { return agent::parseStatus(agent.words) == std::optional(agent.known); }},
      {"one-change-among-10000-items",
       [&agent] {
         const std::vector<agent::StatusItem> answer = {agent.known[5000]};
         return agent::mergeStatus(agent.known, {agent.known[5000].path}, answer) ==
                std::optional(agent.known);
       }},
      {"message-of-2000-items",
       [&agent, &extension] { return agent.makeMessage(*extension.files); }},
  };
}

}  // namespace
}  // namespace kelpie

int main() {
  using namespace kelpie;
  CountedExtension extension;
  CountedAgent agent(extension.root(), extension.paths());
  for (const Road& road : roads(extension, agent)) {
    bool isRight = road.go();
    extension.files->looks = 0;
    CALLGRIND_START_INSTRUMENTATION;
    CALLGRIND_ZERO_STATS;
    isRight = road.go() && isRight;
    CALLGRIND_DUMP_STATS_AT(road.name);
    CALLGRIND_STOP_INSTRUMENTATION;
    if (!isRight) {
      std::cerr << road.name << ": a wrong answer\n";
      return EXIT_FAILURE;
    }
    std::cout << road.name << ' ' << extension.files->looks << '\n';
  }
  return EXIT_SUCCESS;
}
