#include "support/HostileMessages.h"

#include <cstdint>
#include <utility>

namespace kelpie {

namespace {

using Number = RawPropertyList::Number;
using Folders = std::vector<Bytes>;

// Of messages that have as many objects as there is room for.
constexpr std::size_t kWide = 4;

const std::vector<std::string> kArray = {"NSArray", "NSObject"};
const std::vector<std::string> kReference = {"KPReference", "NSObject"};
const std::vector<std::string> kNode = {"KPTreeNode", "NSTreeNode", "NSObject"};
const std::vector<std::string> kThing = {"XYThing", "NSObject"};

// So many references fit into the other half of the message.
std::size_t manyIn(std::size_t size) { return size / 4; }
std::string longText(std::size_t size) { return std::string(size / 2, 'x'); }
std::string longUrl(std::size_t size) { return "file:///" + longText(size); }

// The same long URL many times, under a key of a status.
template <const char* kKey>
Bytes statusUrls(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setStatusInfo:", target);
  const Number urls = message.repeated(message.url(longUrl(size)), manyIn(size));
  return message.finish(message.dictionary(kKey, message.array(urls)));
}

// The same as the argument itself.
template <const char* kSelector>
Bytes urlsArgument(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message(kSelector, target);
  return message.finish(message.array(message.repeated(message.url(longUrl(size)), manyIn(size))));
}

template <const char* kSelector>
Bytes urlSetArgument(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message(kSelector, target);
  return message.finish(message.set(message.repeated(message.url(longUrl(size)), manyIn(size))));
}

// URLs of many folders, each in the one before, which differ from the first on.
template <const char* kKey>
Bytes deepUrls(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setStatusInfo:", target);
  std::vector<std::uint32_t> urls;
  for (std::size_t bytes = 0; bytes < size; bytes += 4000) {
    std::string text = "file:///home/repo/d/" + std::to_string(bytes);
    for (int level = 0; level < 1900; ++level) text += "/d";
    urls.push_back(message.url(text));
  }
  return message.finish(message.dictionary(kKey, message.archive.addArray(urls)));
}

constexpr char kDirty[] = "KPStatusDirtyURLs";
constexpr char kIgnored[] = "KPStatusIgnoredURLs";
constexpr char kDeleted[] = "KPStatusDeletedURLs";
constexpr char kCreated[] = "KPStatusCreatedDirectoriesForDeletedItems";
constexpr char kStage[] = "updateStagedStatus:";
constexpr char kUnstage[] = "updateUnstagedStatus:";
constexpr char kSetDirty[] = "setDirtyUrls:";
constexpr char kSetIgnored[] = "setIgnoredUrls:";
constexpr char kSetDeleted[] = "setDeletedUrls:";
constexpr char kSetCreated[] = "setCreatedDirectoriesForDeletedItems:";
constexpr char kTargets[] = "setTargetURLs:";
constexpr char kObserved[] = "setObservedDirectories:";
constexpr char kStatus[] = "KPRepositoryStatus";

Bytes createdTexts(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setStatusInfo:", target);
  const std::uint32_t text = message.archive.addString(longText(size));
  return message.finish(
      message.dictionary(kCreated, message.array(message.repeated(text, manyIn(size)))));
}

Bytes renamedPaths(std::size_t size, const Bytes& target, const Folders& folders) {
  HostileMessage message("setStatusInfo:", target);
  const std::uint32_t text = message.archive.addString("/" + longText(size));
  const std::uint32_t paths = message.array(message.repeated(text, manyIn(size)));
  const std::uint32_t key = message.data(folders.front());
  const std::uint32_t renamed =
      message.dictionary(message.repeated(key, 1), message.repeated(paths, 1));
  return message.finish(message.dictionary("KPStatusObservedPathsForRenamedItems", renamed));
}

// The same paths for each folder that is shown: each keeps its own copy.
Bytes renamedForEachFolder(HostileMessage& message, const std::vector<std::uint32_t>& paths,
                           const Folders& folders) {
  std::vector<std::uint32_t> keys;
  for (const Bytes& folder : folders) keys.push_back(message.data(folder));
  const std::vector<std::uint32_t> values(keys.size(), message.archive.addArray(paths));
  const std::uint32_t renamed = message.archive.addDictionary(keys, values);
  return message.finish(message.dictionary("KPStatusObservedPathsForRenamedItems", renamed));
}

// So long that they just do not go beyond what may be read.
Bytes renamedLongPaths(std::size_t size, const Bytes& target, const Folders& folders) {
  constexpr std::size_t kPaths = 5;
  constexpr std::ptrdiff_t kFolders = 7;
  HostileMessage message("setStatusInfo:", target);
  std::vector<std::uint32_t> paths;
  for (std::size_t path = 0; path < kPaths; ++path) {
    const std::string text = "/" + std::to_string(path) + std::string(size / kPaths, 'x');
    paths.push_back(message.archive.addString(text));
  }
  return renamedForEachFolder(message, paths, {folders.begin(), folders.begin() + kFolders});
}

template <std::size_t kFolders>
Bytes renamedShortPaths(std::size_t size, const Bytes& target, const Folders& folders) {
  HostileMessage message("setStatusInfo:", target, kWide);
  std::vector<std::uint32_t> paths;
  for (std::size_t bytes = 0; bytes < size; bytes += 24)
    paths.push_back(message.archive.addString("/" + std::to_string(bytes) + "/x"));
  return renamedForEachFolder(message, paths, {folders.begin(), folders.begin() + kFolders});
}

// A table whose entries all have one key.
Bytes table(HostileMessage& message, std::uint32_t key, std::size_t count) {
  const std::uint32_t word = message.archive.add(message.archive.list.integer(256, 2));
  const std::uint32_t entry = message.archive.addArray({word, word});
  const std::uint32_t table =
      message.dictionary(message.repeated(key, count), message.repeated(entry, count));
  return message.finish(message.dictionary(kStatus, table));
}

Bytes textKeys(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setStatusInfo:", target);
  return table(message, message.archive.addString(longText(size)), manyIn(size));
}

Bytes dataKeys(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setStatusInfo:", target);
  return table(message, message.data(Bytes(size / 2, 7)), manyIn(size));
}

Bytes shortKeys(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setStatusInfo:", target);
  return table(message, message.data(Bytes(16, 7)), manyIn(size));
}

// Keys of an unknown class, which are known by their archived form.
Bytes objectKeys(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setStatusInfo:", target);
  const Number bytes = message.archive.list.data(Bytes(size / 2, 7));
  return table(message, message.object(kThing, {{"bytes", bytes}}), manyIn(size));
}

Bytes objectKeysOfRepeatedText(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setStatusInfo:", target);
  const std::uint32_t text = message.archive.addString(longText(size));
  const Number texts = message.repeated(text, manyIn(size));
  return table(message, message.object(kThing, {{"texts", texts}}), 16);
}

Bytes statusTable(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setStatus:", target);
  const std::uint32_t key = message.archive.addString(longText(size));
  const std::uint32_t entry = message.archive.addArray({key});
  return message.finish(message.dictionary(message.repeated(key, manyIn(size)),
                                           message.repeated(entry, manyIn(size))));
}

Bytes badges(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("updateBadges:", target);
  const std::uint32_t urls =
      message.array(message.repeated(message.url(longUrl(size)), manyIn(size)));
  const std::uint32_t badge = message.archive.addString("KPIgnoredBadge");
  const std::uint32_t names[] = {message.archive.addString("urls"),
                                 message.archive.addString("badge")};
  return message.finish(message.archive.addDictionary({names[0], names[1]}, {urls, badge}));
}

Bytes stashes(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setStashes:", target);
  const std::uint32_t text = message.archive.addString(longText(size));
  return message.finish(message.array(message.repeated(text, manyIn(size))));
}

Bytes emptyStashes(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setStashes:", target);
  return message.finish(message.array(message.repeated(message.archive.addString(""), size / 2)));
}

Bytes gitflow(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setGitflowInfo:", target);
  const std::uint32_t text = message.archive.addString(longText(size));
  const std::uint32_t names = message.array(message.repeated(text, manyIn(size)));
  return message.finish(message.dictionary("gitflow.branch.features", names));
}

// Records that all have one text as their names.
std::uint32_t records(HostileMessage& message, std::size_t size) {
  RawArchive& archive = message.archive;
  const Number name = archive.reference(archive.addString(longText(size)));
  std::vector<std::uint32_t> uids;
  for (std::size_t bytes = 0; bytes < size / 2; bytes += 70) {
    uids.push_back(
        message.object(kReference, {{"name", name}, {"fullName", name}, {"upstreamName", name}}));
  }
  return archive.addArray(uids);
}

Bytes manyRecords(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setHeadBranch:", target, kWide);
  const Number refspecs = message.archive.reference(records(message, size));
  return message.finish(
      message.object({"KPRemote", "KPReference", "NSObject"}, {{"fetchRefspecs", refspecs}}));
}

// One record under many numbers.
Bytes recordAliases(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setHeadBranch:", target, kWide);
  RawArchive& archive = message.archive;
  const Number record = message.archive.object(kReference, {{"name", archive.list.ascii("x")}});
  std::vector<std::uint32_t> uids;
  for (std::size_t bytes = 0; bytes < size; bytes += 12) uids.push_back(archive.add(record));
  const Number refspecs = archive.reference(archive.addArray(uids));
  return message.finish(
      message.object({"KPRemote", "KPReference", "NSObject"}, {{"fetchRefspecs", refspecs}}));
}

Bytes leafNode(const std::string& name) {
  RawArchive archive(1, 1);
  const std::uint32_t text = archive.addString(name);
  const std::uint32_t record = archive.addObject(kReference, {{"name", archive.reference(text)}});
  return archive.finish(archive.addObject(kNode, {{"object", archive.reference(record)}}));
}

// One array under many numbers, whose references are all looked at in search of circles.
Bytes arrayAliases(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setHeadBranch:", target, kWide);
  RawArchive& archive = message.archive;
  const std::uint32_t text = archive.addString("x");
  const Number elements = message.repeated(text, size / 8);
  const Number array = archive.object(kArray, {{"NS.objects", elements}});
  std::vector<std::uint32_t> uids;
  for (std::size_t bytes = 0; bytes < size / 2; bytes += 8) uids.push_back(archive.add(array));
  const Number all = archive.reference(archive.addArray(uids));
  return message.finish(
      message.object({"KPRemote", "KPReference", "NSObject"}, {{"fetchRefspecs", all}}));
}

// A node whose children are one blob, many times.
Bytes childrenOfOneBlob(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setReferences:", target);
  const std::uint32_t blob = message.data(leafNode("main"));
  const std::uint32_t children = message.array(message.repeated(blob, size / 2));
  const Number reference = message.archive.reference(children);
  return message.finish(message.object(kNode, {{"children", reference}}));
}

// Blobs of half the message each, with as many elements that are no data, named many times.
Bytes childrenOfLargeBlob(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  RawArchive inner(2, 2);
  const Number element = inner.reference(inner.addString("x"));
  const Number elements = inner.list.array(std::vector<Number>(size / 4, element));
  const Number children = inner.reference(inner.addObject(kArray, {{"NS.objects", elements}}));
  const Bytes blob = inner.finish(inner.addObject(kNode, {{"children", children}}));

  HostileMessage message("setReferences:", target);
  const std::uint32_t uid = message.data(blob);
  const std::uint32_t blobs = message.array(message.repeated(uid, size / 4));
  const Number reference = message.archive.reference(blobs);
  return message.finish(message.object(kNode, {{"children", reference}}));
}

// A tree of nodes of which each names the next many times.
Bytes childrenOfChildren(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  constexpr std::size_t kLevels = 20;
  Bytes blob = leafNode("main");
  for (std::size_t level = 0; level < kLevels; ++level) {
    RawArchive archive(2, 2);
    const Number child = archive.reference(archive.add(archive.list.data(blob)));
    const Number elements =
        archive.list.array(std::vector<Number>(size / kLevels / 2 - 200, child));
    const Number children =
        archive.reference(archive.addObject(kArray, {{"NS.objects", elements}}));
    blob = archive.finish(archive.addObject(kNode, {{"children", children}}));
  }
  HostileMessage message("setReferences:", target);
  const std::uint32_t children = message.archive.addArray({message.data(blob)});
  const Number reference = message.archive.reference(children);
  return message.finish(message.object(kNode, {{"children", reference}}));
}

// A menu of one item, many times; the item is sent back.
Bytes menuItems(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("quit:", target);
  RawArchive& archive = message.archive;
  const Number title = archive.reference(archive.addString(longText(size)));
  const std::uint32_t item = message.object({"NSMenuItem", "NSObject"}, {{"NSTitle", title}});
  const Number items = archive.reference(message.array(message.repeated(item, manyIn(size))));
  const Number menu =
      archive.reference(message.object({"NSMenu", "NSObject"}, {{"NSMenuItems", items}}));
  return message.finish(message.object({"NSMenuItem", "NSObject"}, {{"NSSubmenu", menu}}));
}

// An item whose object is one text, many times.
Bytes senderOfRepeatedText(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("quit:", target);
  RawArchive& archive = message.archive;
  const std::uint32_t text = archive.addString(longText(size));
  const Number object = archive.reference(message.array(message.repeated(text, manyIn(size))));
  return message.finish(message.object({"NSMenuItem", "NSObject"}, {{"NSRepObject", object}}));
}

// Tables of the controller: one set under many keys, or one text under one key.
template <const char* kSelector, bool kAreUrls>
Bytes folderTable(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message(kSelector, target, kWide);
  const std::uint32_t item = kAreUrls ? message.url("file:///d/" + std::string(200, 'x'))
                                      : message.archive.addString(std::string(200, 'x'));
  std::vector<std::uint32_t> keys;
  for (std::size_t bytes = 0; bytes < size; bytes += 16) {
    Bytes key(4);
    for (std::size_t index = 0; index < 4; ++index)
      key[index] = static_cast<std::uint8_t>(bytes >> (8 * index));
    keys.push_back(message.data(key));
  }
  const std::uint32_t items = message.set(message.repeated(item, 2));
  const Number values = message.repeated(items, keys.size());
  return message.finish(message.dictionary(message.archive.references(keys), values));
}
constexpr char kAllObserved[] = "setAllObservedFiles:";
constexpr char kInactive[] = "setInactiveObservedFiles:";

Bytes senderObjects(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setSenderObjects:", target);
  const std::uint32_t text = message.archive.addString(longText(size));
  return message.finish(message.dictionary(message.repeated(text, manyIn(size)),
                                           message.repeated(text, manyIn(size))));
}

Bytes identifierOfRepeatedText(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setIdentifier:", target);
  const std::uint32_t text = message.archive.addString(longText(size));
  const Number texts = message.repeated(text, manyIn(size));
  return message.finish(message.object(kThing, {{"texts", texts}}));
}

// A message of many entries, none of which is its selector.
Bytes manyEntries(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setStashes:", target);
  const std::uint32_t key = message.archive.addString("x");
  return message.archive.finish(
      message.dictionary(message.repeated(key, manyIn(size)), message.repeated(key, manyIn(size))));
}

// Arrays in a circle, and one that holds each of them.
Bytes circles(std::size_t size, const Bytes& target, const Folders& /*folders*/) {
  HostileMessage message("setHeadBranch:", target, kWide);
  RawArchive& archive = message.archive;
  std::vector<std::uint32_t> uids;
  for (std::size_t bytes = 0; bytes < size; bytes += 60) uids.push_back(archive.reserve());
  for (std::size_t index = 0; index < uids.size(); ++index) {
    const std::uint32_t next = uids[(index + 1) % uids.size()];
    archive.set(uids[index],
                archive.object(kArray, {{"NS.objects", archive.references({next, uids.front()})}}));
  }
  const Number all = archive.reference(archive.addArray(uids));
  return message.finish(
      message.object({"KPRemote", "KPReference", "NSObject"}, {{"fetchRefspecs", all}}));
}

}  // namespace

HostileMessage::HostileMessage(std::string_view selector, Bytes target, std::size_t width)
    : archive(width, width), selector_(selector), target_(std::move(target)) {}

Number HostileMessage::repeated(std::uint32_t uid, std::size_t count) {
  return archive.list.array(std::vector<Number>(count, archive.reference(uid)));
}

std::uint32_t HostileMessage::array(Number elements) {
  return archive.addObject(kArray, {{"NS.objects", elements}});
}

std::uint32_t HostileMessage::set(Number elements) {
  return archive.addObject({"NSSet", "NSObject"}, {{"NS.objects", elements}});
}

std::uint32_t HostileMessage::dictionary(Number keys, Number values) {
  return archive.addObject({"NSDictionary", "NSObject"},
                           {{"NS.keys", keys}, {"NS.objects", values}});
}

std::uint32_t HostileMessage::dictionary(std::string_view key, std::uint32_t value) {
  return archive.addDictionary({archive.addString(key)}, {value});
}

std::uint32_t HostileMessage::object(const std::vector<std::string>& classNames,
                                     std::vector<std::pair<std::string, Number>> fields) {
  return archive.addObject(classNames, std::move(fields));
}

Bytes HostileMessage::finish(std::uint32_t argument) {
  const std::uint32_t keys[] = {archive.addString("KPMessageSelector"),
                                archive.addString("KPMessageArgument"),
                                archive.addString("KPMessageTarget")};
  const std::uint32_t selector = archive.addString(selector_);
  const std::uint32_t target = data(target_);
  return archive.finish(
      archive.addDictionary({keys[0], keys[1], keys[2]}, {selector, argument, target}));
}

const std::vector<HostileCase>& hostileCases() {
  static const std::vector<HostileCase> kCases = {
      {"DirtyUrls", statusUrls<kDirty>},
      {"IgnoredUrls", statusUrls<kIgnored>},
      {"DeletedUrls", statusUrls<kDeleted>},
      {"CreatedDirectories", statusUrls<kCreated>},
      {"CreatedDirectoriesOfTexts", createdTexts},
      {"DirtyUrlsOfManyFolders", deepUrls<kDirty>},
      {"IgnoredUrlsOfManyFolders", deepUrls<kIgnored>},
      {"RenamedPaths", renamedPaths},
      {"LongRenamedPathsOfManyFolders", renamedLongPaths},
      {"ShortRenamedPathsOfOneFolder", renamedShortPaths<1>},
      {"ShortRenamedPathsOfThreeFolders", renamedShortPaths<3>},
      {"ShortRenamedPathsOfSixFolders", renamedShortPaths<6>},
      {"TableOfTextKeys", textKeys},
      {"TableOfDataKeys", dataKeys},
      {"TableOfOneShortKey", shortKeys},
      {"TableOfObjectKeys", objectKeys},
      {"TableOfObjectKeysOfOneText", objectKeysOfRepeatedText},
      {"SetStatus", statusTable},
      {"SetDirtyUrls", urlsArgument<kSetDirty>},
      {"SetIgnoredUrls", urlsArgument<kSetIgnored>},
      {"SetDeletedUrls", urlsArgument<kSetDeleted>},
      {"SetCreatedDirectories", urlsArgument<kSetCreated>},
      {"SetIdentifier", identifierOfRepeatedText},
      {"StagedUrls", urlsArgument<kStage>},
      {"UnstagedUrls", urlsArgument<kUnstage>},
      {"Badges", badges},
      {"Stashes", stashes},
      {"EmptyStashes", emptyStashes},
      {"Gitflow", gitflow},
      {"RecordsOfOneText", manyRecords},
      {"OneRecordUnderManyNumbers", recordAliases},
      {"OneArrayUnderManyNumbers", arrayAliases},
      {"ChildrenOfOneBlob", childrenOfOneBlob},
      {"ChildrenOfOneLargeBlob", childrenOfLargeBlob},
      {"ChildrenOfChildren", childrenOfChildren},
      {"MenuOfOneItem", menuItems},
      {"SenderOfOneText", senderOfRepeatedText},
      {"TargetUrls", urlsArgument<kTargets>},
      {"ObservedDirectories", urlSetArgument<kObserved>},
      {"AllObservedFiles", folderTable<kAllObserved, false>},
      {"InactiveObservedFiles", folderTable<kInactive, true>},
      {"SenderObjects", senderObjects},
      {"MessageOfManyEntries", manyEntries},
      {"Circles", circles},
  };
  return kCases;
}

}  // namespace kelpie
