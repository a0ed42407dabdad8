#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "extension/ControllerFixture.h"
#include "extension/ControllerRoutes.h"
#include "extension/RepositoryRoutes.h"
#include "foundation/MenuItem.h"
#include "status/KPRepository.h"
#include "support/Sanitizers.h"

namespace kelpie {
namespace {

constexpr std::size_t kMutations = kHasAddressSanitizer ? 10'000 : 100'000;
constexpr std::size_t kPerController = 2'000;
constexpr std::size_t kPerDrain = 50;

class MessageMutation : public ControllerFixture {
 protected:
  // Messages of every kind, as the main application sends them. The two that the status tests know
  // to park their queue for good are left out: the queues here run on the test's own thread.
  std::vector<Bytes> validMessages() {
    const URL root = fakes.files->addFolder("/work/repo");
    const URL file = fakes.files->addFile("/work/repo/file");
    const URL git = fakes.files->addFolder("/work/repo/.git");
    const FileIdentifier target = identifierOf(root);
    const auto item = std::make_shared<MenuItem>("Stage", "stage:");
    item->representedObject = Objects{file};
    const Object sender = std::shared_ptr<const Archivable>(item);
    const Object status = Dictionary{
        {"KPRepositoryState", 0},
        {"KPRepositoryStatus",
         Dictionary{{identifierOf(file), Objects{0x0100, "/work/repo/file"}}}},
        {"KPStatusDirtyURLs", Objects{file}},
        {"KPStatusIgnoredURLs", Objects{git}},
        {"KPStatusDeletedURLs", Objects{}},
        {"KPStatusNewCount", 0},
        {"KPStatusObservedPathsForRenamedItems", Dictionary{{target, Objects{"/work/repo/old"}}}}};
    const std::pair<std::string_view, Object> arguments[] = {
        {"openRepositoryWithUrls:", Objects{root, git}},
        {"setStatusInfo:", status},
        {"setStatus:", status["KPRepositoryStatus"]},
        {"updateBadges:", Dictionary{{"urls", Objects{file, root}}, {"badge", "KPCurrentBadge"}}},
        {"addObservedURL:", file},
        {"updateStatusOfDirectoryURL:", root},
        {"setGitflowInfo:", Dictionary{{"gitflow.branch.features", Objects{"feature"}}}},
        {"setIdentifier:", target},
        {"setHeadBranch:", Object()},
        {"setBare:", true},
        {"setState:", 1},
        {"setDirtyUrls:", Objects{file}},
        {"setTargetURLs:", Objects{file}},
        {"setSenderObjects:", Dictionary{{"stage:", Objects{file}}}},
        {"setAllObservedFiles:", Dictionary{{target, Object::set({"/work/repo/file"})}}},
        {"setInactiveObservedFiles:", Dictionary{{target, Object::set({root})}}},
        {"setApplicationPid:", 700},
        {"setPortName:", "name"},
        {"beginObservingDirectoryAtURL:", root},
        {"requestBadgeIdentifierForURL:", file},
        {"endObservingDirectoryAtURL:", root},
        {"stage:", sender},
        {"quit:", sender},
        {"clone:", sender},
    };
    std::vector<Bytes> messages;
    for (const auto& [selector, argument] : arguments) {
      Dictionary message{{"KPMessageSelector", selector}, {"KPMessageTarget", target}};
      if (!argument.isNil()) message.set("KPMessageArgument", argument);
      messages.push_back(KeyedArchiver::archivedData(message).value());
    }
    return messages;
  }

  std::size_t pick(std::size_t count) { return random() % count; }

  // A place in the bytes and a short length from there.
  std::pair<std::ptrdiff_t, std::ptrdiff_t> range(const Bytes& bytes) {
    const std::size_t start = pick(bytes.size() + 1);
    return {static_cast<std::ptrdiff_t>(start),
            static_cast<std::ptrdiff_t>(start +
                                        pick(std::min<std::size_t>(9, bytes.size() - start + 1)))};
  }

  // Most changes keep the length: the others move what the archive's own table points to, and so
  // leave little of it to read.
  void mutate(Bytes& bytes, const std::vector<Bytes>& messages) {
    constexpr std::uint8_t kEdges[] = {0x00, 0x01, 0x7f, 0x80, 0xfe, 0xff};
    const auto [from, to] = range(bytes);
    switch (bytes.empty() ? 12 : pick(14)) {
      case 10:
        bytes.erase(bytes.begin() + from, bytes.begin() + to);
        break;
      case 11:
        bytes.resize(bytes.size() - pick(std::min<std::size_t>(bytes.size(), 40)));
        break;
      case 12: {
        const Bytes& other = messages[pick(messages.size())];
        const auto [otherFrom, otherTo] = range(other);
        bytes.insert(bytes.begin() + from, other.begin() + otherFrom, other.begin() + otherTo);
        break;
      }
      case 13:
        std::swap(bytes[pick(bytes.size())], bytes[pick(bytes.size())]);
        break;
      case 7:
      case 8:
        bytes[pick(bytes.size())] = static_cast<std::uint8_t>(random());
        break;
      case 9:
        bytes[pick(bytes.size())] = kEdges[pick(std::size(kEdges))];
        break;
      default:
        bytes[pick(bytes.size())] ^= static_cast<std::uint8_t>(1U << pick(8));
    }
  }

  // Messages whose parts come from different ones.
  std::vector<Bytes> recombinedMessages(const std::vector<Bytes>& messages) {
    std::vector<Object> contents;
    for (const Bytes& message : messages)
      contents.push_back(KeyedUnarchiver::unarchiveObject(message));
    const auto part = [&](std::string_view key) { return contents[pick(contents.size())][key]; };
    std::vector<Bytes> recombined;
    for (int count = 0; count < 1'000; ++count) {
      Dictionary message{{"KPMessageSelector", part("KPMessageSelector")},
                         {"KPMessageTarget", part("KPMessageTarget")}};
      if (const Object argument = part("KPMessageArgument"); !argument.isNil())
        message.set("KPMessageArgument", argument);
      recombined.push_back(KeyedArchiver::archivedData(message).value());
    }
    return recombined;
  }

  void handleBytes(const std::shared_ptr<const Bytes>& bytes) {
    try {
      controller->handleSelectorMessage(bytes);
    } catch (const std::invalid_argument&) {
      // An answer would have held nothing.
    }
  }

  std::mt19937 random{100'000};
};

TEST_F(MessageMutation, NoMessageStopsTheNextFromBeingServed) {
  const std::vector<Bytes> messages = validMessages();
  const std::vector<Bytes> recombined = recombinedMessages(messages);
  std::size_t decoded = 0;
  for (std::size_t count = 0; count < kMutations; ++count) {
    if (count % kPerController == 0) {
      startWithApplication();
      openRepository("/work/repo");
    }
    Bytes bytes =
        pick(4) == 0 ? recombined[pick(recombined.size())] : messages[pick(messages.size())];
    for (std::size_t changes = pick(3) + 1; changes > 0; --changes) mutate(bytes, messages);
    const auto message = std::make_shared<const Bytes>(std::move(bytes));
    decoded += KeyedUnarchiver::open(message)["KPMessageSelector"].isString() ? 1 : 0;
    handleBytes(message);
    if (count % kPerDrain == 0) {
      fakes.runAll();
      fakes.messagePorts.forgetSent();
      fakes.finder.forgetBadges();
      fakes.events.clear();
      handle("quit:", 1);
      EXPECT_EQ(sent().size() + appMessages().size() > 0, true) << count;
    }
    if (count % kPerController == kPerController - 1) {
      fakes.runAll();
      controller.reset();
    }
  }
  // Many enough are still messages, and reach an operation with an argument that is not quite
  // right.
  EXPECT_GT(decoded, kMutations / 4);
}

}  // namespace
}  // namespace kelpie
