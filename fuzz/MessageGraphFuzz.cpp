#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "archive/KeyedArchiver.h"
#include "archive/KeyedUnarchiver.h"
#include "extension/ControllerRoutes.h"
#include "extension/RepositoryRoutes.h"
#include "foundation/Dictionary.h"
#include "graph/ArchiveGraph.h"
#include "harness/ReadingCost.h"
#include "support/HostileMessages.h"
#include "support/MessageHarness.h"

// Messages that are sound archives of unsound graphs: one object named again and again, texts and
// blobs shared by many, circles, archives inside archives. An input is such a message, which began
// as one that a main application sends or as one of those that say little very often, and whose
// graph the fuzzer changes; or it is numbers, of which a graph is drawn that is the argument of
// several operations. Each goes to a live controller whose queues run dry. Nothing may take memory
// or steps beyond what its bytes allow.

namespace {

using kelpie::ArchiveGraph;
using kelpie::Bytes;
using kelpie::HostileMessage;
using kelpie::MessageHarness;
using kelpie::Object;
using kelpie::RawArchive;
using Number = kelpie::RawPropertyList::Number;

constexpr kelpie::ReadingCost::Limits kMessageLimits{
    .freeBytes = 16U << 20U, .bytesPerByte = 32, .freeSteps = 16U << 20U, .stepsPerByte = 256};

// What the fuzzer gave, number by number; 0 when it is used up.
class Draw {
 public:
  Draw(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}

  std::size_t below(std::size_t bound) { return bound == 0 ? 0 : next() % bound; }
  // Mostly few, sometimes very many.
  std::size_t count() {
    const std::size_t magnitude = below(13);
    return (std::size_t{1} << magnitude) + below(std::size_t{1} << magnitude);
  }
  bool isEmpty() const { return left_ == 0; }

 private:
  std::size_t next() {
    std::size_t value = 0;
    for (int byte = 0; byte < 2; ++byte) {
      value = value << 8U | (left_ > 0 ? *data_ : 0U);
      if (left_ > 0) {
        ++data_;
        --left_;
      }
    }
    return value;
  }

  const std::uint8_t* data_;
  std::size_t left_;
};

constexpr std::string_view kTexts[] = {
    "", "x", "KPIgnoredBadge", "/home/repo/d/gone", "refs/heads/a/b", "$null", "stage:", "name",
};
constexpr std::string_view kUrls[] = {
    "file:///home/repo/gone", "file:///home/repo/d/x/y/z", "a/b", "https://host/x", "file:///",
};
// Under these keys operations and classes look.
constexpr std::string_view kKeys[] = {
    "KPRepositoryState",
    "KPRepositoryStatus",
    "KPStatusCreatedDirectoriesForDeletedItems",
    "KPStatusDirtyURLs",
    "KPStatusIgnoredURLs",
    "KPStatusDeletedURLs",
    "KPStatusNewCount",
    "KPStatusObservedPathsForRenamedItems",
    "urls",
    "badge",
    "gitflow.branch.features",
    "gitflow.branch.releases",
    "gitflow.branch.hotfixes",
};
constexpr std::string_view kFields[] = {
    "name",       "fullName",      "upstreamName", "oid",         "url",         "pushUrl",
    "path",       "fetchRefspecs", "pushRefspecs", "object",      "children",    "NSTitle",
    "NSAction",   "NSKeyEquiv",    "NSSubmenu",    "NSMenuItems", "NSRepObject", "NSDomain",
    "NSUserInfo", "NS.objects",    "NS.keys",      "NS.relative", "NS.base",     "NS.string",
    "NS.data",    "NS.bytes",      "other",
};
const std::vector<std::string> kClasses[] = {
    {"NSArray", "NSObject"},
    {"NSMutableArray", "NSArray", "NSObject"},
    {"NSSet", "NSObject"},
    {"NSDictionary", "NSObject"},
    {"NSURL", "NSObject"},
    {"NSMutableString", "NSString", "NSObject"},
    {"NSMutableData", "NSData", "NSObject"},
    {"NSError", "NSObject"},
    {"KPReference", "NSObject"},
    {"KPRemote", "KPReference", "NSObject"},
    {"KPSubmodule", "KPReference", "NSObject"},
    {"KPTreeNode", "NSTreeNode", "NSObject"},
    {"NSMenuItem", "NSObject"},
    {"NSMenu", "NSObject"},
    {"XYThing", "NSObject"},
};

// Fills an archive with objects that refer to each other as they please.
class Graph {
 public:
  Graph(Draw& draw, RawArchive& archive, int depth)
      : draw_(draw), archive_(archive), depth_(depth) {}

  // The number of the one to begin with.
  std::uint32_t make() {
    const std::size_t count = 1 + draw_.below(12);
    for (std::size_t index = 0; index < count; ++index) uids_.push_back(archive_.reserve());
    for (const std::uint32_t uid : uids_) archive_.set(uid, object());
    return any();
  }
  std::uint32_t any() { return uids_[draw_.below(uids_.size())]; }

 private:
  Number object() {
    switch (draw_.below(16)) {
      case 0:
      case 1:
        return archive_.list.ascii(text());
      case 2:
        return archive_.list.data(bytes());
      case 3:
        return archive_.list.integer(draw_.below(70'000), 4);
      case 4:
      case 5:
      case 6:
        return archive_.object(kClasses[draw_.below(3)], {{"NS.objects", references()}});
      case 7:
      case 8:
        return dictionary();
      case 9:
        return keyed();
      case 10:
      case 11:
        return url();
      case 12:
        return archive_.object(kClasses[3], {{"NS.keys", references()}, {"NS.objects", last_}});
      default:
        return fields();
    }
  }

  std::string text() {
    std::string text(kTexts[draw_.below(std::size(kTexts))]);
    if (draw_.below(4) == 0) text += std::string(draw_.count(), draw_.below(2) == 0 ? 'x' : '/');
    return text;
  }

  Bytes bytes() {
    if (depth_ < 4 && draw_.below(2) == 0) {
      RawArchive inner(2, 2);
      const std::uint32_t root = Graph(draw_, inner, depth_ + 1).make();
      return inner.finish(root);
    }
    return Bytes(draw_.count(), static_cast<std::uint8_t>(draw_.below(256)));
  }

  Number reference() { return archive_.reference(any()); }

  // Several objects, or one many times.
  Number references() {
    std::vector<Number> numbers;
    if (draw_.below(2) == 0)
      numbers.assign(draw_.count(), reference());
    else
      for (std::size_t left = 1 + draw_.below(6); left > 0; --left) numbers.push_back(reference());
    last_ = archive_.list.array(numbers);
    return last_;
  }

  Number dictionary() {
    std::vector<Number> keys;
    std::vector<Number> values;
    const std::size_t count = draw_.below(4) == 0 ? draw_.count() : 1 + draw_.below(4);
    const Number key = reference();
    const Number value = reference();
    keys.assign(count, key);
    values.assign(count, value);
    return archive_.object(kClasses[3], {{"NS.keys", archive_.list.array(keys)},
                                         {"NS.objects", archive_.list.array(values)}});
  }

  // A dictionary under whose keys somebody looks.
  Number keyed() {
    std::vector<Number> keys;
    std::vector<Number> values;
    for (const std::string_view key : kKeys) {
      if (draw_.below(3) == 0) continue;
      keys.push_back(archive_.reference(archive_.addString(key)));
      values.push_back(reference());
    }
    return archive_.object(kClasses[3], {{"NS.keys", archive_.list.array(keys)},
                                         {"NS.objects", archive_.list.array(values)}});
  }

  Number url() {
    std::string text(kUrls[draw_.below(std::size(kUrls))]);
    const std::size_t more = draw_.below(3);
    if (more == 1) text += std::string(draw_.count(), 'x');
    for (std::size_t left = more == 2 ? draw_.count() : 0; left > 0; --left) text += "/d";
    const Number relative = archive_.reference(archive_.addString(text));
    const Number base = archive_.reference(draw_.below(4) == 0 ? any() : 0);
    return archive_.object(kClasses[4], {{"NS.base", base}, {"NS.relative", relative}});
  }

  Number fields() {
    std::vector<std::pair<std::string, Number>> fields;
    for (std::size_t left = 1 + draw_.below(8); left > 0; --left) {
      const std::string key(kFields[draw_.below(std::size(kFields))]);
      fields.emplace_back(key, draw_.below(6) == 0 ? references() : reference());
    }
    return archive_.object(kClasses[draw_.below(std::size(kClasses))], fields);
  }

  Draw& draw_;
  RawArchive& archive_;
  int depth_;
  std::vector<std::uint32_t> uids_;
  Number last_ = 0;
};

// Every operation that a message can name, but for what ends the test rather than the message.
std::vector<std::string_view> selectors() {
  std::vector<std::string_view> result = kelpie::controllerRoutes().selectors();
  std::ranges::copy(kelpie::repositoryRoutes().selectors(), std::back_inserter(result));
  std::erase(result, "setRepositories:");  // no repository would be left
  std::erase(result, "setApplicationPid:");
  return result;
}

struct Cost {
  std::uint64_t peak = 0;
  std::uint64_t steps = 0;
};

// `what` names the message where it costs too much.
Cost costOf(std::string_view what, MessageHarness& harness, const Bytes& message) {
  const kelpie::ReadingCost cost;
  try {
    harness.handle(message);
  } catch (const std::invalid_argument&) {
    // An action without what it needs: see ActionForwarder.
  }
  harness.runQueues();
  if (!what.empty()) cost.check(what, message.size(), kMessageLimits);
  return {cost.peak(), cost.steps()};
}

// With KELPIE_HOSTILE_TABLE=SIZE in the environment: what the messages of the tests cost, by name.
void printTable(std::size_t size) {
  for (const kelpie::HostileCase& hostile : kelpie::hostileCases()) {
    MessageHarness harness;
    const Bytes message = hostile.make(size, harness.target(), harness.shownFolders());
    const Cost cost = costOf("", harness, message);
    std::printf("%.*s %zu %llu %llu\n", static_cast<int>(hostile.name.size()), hostile.name.data(),
                message.size(), static_cast<unsigned long long>(cost.peak),
                static_cast<unsigned long long>(cost.steps));
    std::fflush(stdout);
  }
}

void writeFile(const std::filesystem::path& path, const Bytes& bytes) {
  std::ofstream file(path, std::ios::binary);
  std::ranges::copy(bytes, std::ostreambuf_iterator<char>(file));
}

// With KELPIE_SEEDS in the environment: writes the messages to begin with into that folder. Those
// that a main application sends come from KELPIE_FIXTURES, and are addressed to the repository.
void writeSeeds(const std::filesystem::path& folder, const std::filesystem::path& fixtures) {
  const MessageHarness harness;
  const Bytes target = harness.target();
  for (const std::size_t size : {std::size_t{9'000}, std::size_t{30'000}}) {
    for (const kelpie::HostileCase& hostile : kelpie::hostileCases()) {
      const std::string name = std::string(hostile.name) + '-' + std::to_string(size);
      writeFile(folder / name, hostile.make(size, target, harness.shownFolders()));
    }
  }
  for (const auto& entry : std::filesystem::directory_iterator(fixtures)) {
    std::ifstream file(entry.path(), std::ios::binary);
    const Bytes bytes((std::istreambuf_iterator<char>(file)), {});
    const Object fixture = kelpie::KeyedUnarchiver::unarchiveObject(bytes);
    const Object selector = fixture["KPMessageSelector"];
    const Object argument = fixture["KPMessageArgument"];
    if (selector.isNil() || argument.isNil()) continue;
    const kelpie::Dictionary message{{"KPMessageSelector", selector},
                                     {"KPMessageArgument", argument},
                                     {"KPMessageTarget", target}};
    const auto archive = kelpie::KeyedArchiver::archivedData(message);
    if (archive) writeFile(folder / entry.path().stem(), *archive);
  }
}

// What a text of a message may be replaced by, so that it means something.
std::vector<std::string_view> words() {
  std::vector<std::string_view> all = selectors();
  all.insert(all.end(), std::begin(kTexts), std::end(kTexts));
  all.insert(all.end(), std::begin(kUrls), std::end(kUrls));
  all.insert(all.end(), std::begin(kKeys), std::end(kKeys));
  all.insert(all.end(), std::begin(kFields), std::end(kFields));
  for (const std::vector<std::string>& names : kClasses) all.emplace_back(names.front());
  return all;
}

// The message as it is, to a controller of its own.
void send(const Bytes& message) {
  MessageHarness harness;
  costOf("as it came", harness, message);
  (void)harness.menuItems();
}

// Most graphs go to a few operations, so that there are many graphs; some go to all of them.
void sendDrawn(const std::uint8_t* data, std::size_t size) {
  static const std::vector<std::string_view> kSelectors = selectors();
  Draw first(data, size);
  const bool isForAll = first.below(16) == 0;
  const std::size_t begin = first.below(kSelectors.size());
  const std::size_t count = isForAll ? kSelectors.size() : 4;

  MessageHarness harness;
  for (std::size_t index = 0; index < count; ++index) {
    const std::string_view selector = kSelectors[(begin + index * 31) % kSelectors.size()];
    Draw draw(data, size);
    HostileMessage message(selector, harness.target());
    const std::uint32_t root = Graph(draw, message.archive, 0).make();
    const Bytes bytes = message.finish(root);
    costOf(selector, harness, bytes);
    harness.fakes().messagePorts.forgetSent();
    harness.fakes().events.clear();
  }
  (void)harness.menuItems();
}

std::size_t give(const Bytes& bytes, std::uint8_t* to, std::size_t room) {
  if (bytes.size() > room) return 0;
  std::ranges::copy(bytes, to);
  return bytes.size();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed);
extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* data, std::size_t size,
                                                 const std::uint8_t* other, std::size_t otherSize,
                                                 std::uint8_t* out, std::size_t maxOutSize,
                                                 unsigned int seed);

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  const char* const size = std::getenv("KELPIE_HOSTILE_TABLE");
  const char* const seeds = std::getenv("KELPIE_SEEDS");
  const char* const fixtures = std::getenv("KELPIE_FIXTURES");
  if (size != nullptr) printTable(static_cast<std::size_t>(std::atoll(size)));
  if (seeds != nullptr && fixtures != nullptr) writeSeeds(seeds, fixtures);
  if (size != nullptr || seeds != nullptr) std::exit(0);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::string_view kMagic = "bplist00";
  const Bytes input(data, data + size);
  if (size > kMagic.size() && std::equal(kMagic.begin(), kMagic.end(), data))
    send(input);
  else
    sendDrawn(data, size);
  return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed) {
  static const std::vector<std::string_view> kWords = words();
  ArchiveGraph::Random random(seed);
  std::optional<ArchiveGraph> graph = ArchiveGraph::read({data, size});
  if (!graph) return LLVMFuzzerMutate(data, size, maxSize);
  for (auto count = 1 + random() % 3; count > 0; --count)
    graph->mutate(random, maxSize > size ? maxSize - size : 0, kWords, LLVMFuzzerMutate);
  const std::size_t written = give(graph->write(), data, maxSize);
  return written != 0 ? written : size;
}

extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* data, std::size_t size,
                                                 const std::uint8_t* other, std::size_t otherSize,
                                                 std::uint8_t* out, std::size_t maxOutSize,
                                                 unsigned int seed) {
  ArchiveGraph::Random random(seed);
  std::optional<ArchiveGraph> graph = ArchiveGraph::read({data, size});
  const std::optional<ArchiveGraph> grafted = ArchiveGraph::read({other, otherSize});
  if (!graph || !grafted) return 0;
  graph->graft(*grafted, random);
  return give(graph->write(), out, maxOutSize);
}
