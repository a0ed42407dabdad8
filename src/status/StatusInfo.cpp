#include "status/StatusInfo.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/FileIdentifier.h"
#include "status/DeletedItem.h"

namespace kelpie {
namespace {

// Fills a table from the entries of one dictionary.
class TableReader {
 public:
  explicit TableReader(std::size_t entries) : table_(entries) { waiting_.reserve(kWaiting); }

  void read(ObjectView key, ObjectView value) {
    const std::optional<Entry> entry = value.array();
    if (!entry) return;
    switch (key.kind()) {
      case Object::Kind::Data:
        recordSoon(keyOfData(key.data().value_or(ByteView())), *entry);
        break;
      case Object::Kind::String:
        recordWaiting();
        record(StatusTable::Key::ofPath(key.stringValue()), *entry);
        break;
      case Object::Kind::Opaque:
        readOpaque(key, *entry);
        break;
      default:
        break;
    }
  }

  StatusTable take() {
    recordWaiting();
    return std::move(table_);
  }

 private:
  using Entry = ObjectView::Elements;

  // A path that is not UTF-8 comes as data.
  static StatusTable::Key keyOfData(ByteView data) {
    const std::string_view text = textOf(data);
    if (data.size() > FileIdentifier::kInlineSize && isPlaceholderPath(text))
      return StatusTable::Key::ofPath(text);
    return StatusTable::Key::ofIdentifierData(data);
  }

  void readOpaque(const ObjectView& key, const Entry& entry) {
    recordWaiting();
    const std::optional<FileIdentifier> identifier = FileIdentifier::fromObject(key.toObject());
    // A few bytes of a message may name a large object again and again.
    if (identifier && key.charge(kArchived * identifier->bytes().size()))
      record(*identifier, entry);
  }

  // Records an entry whose key the archive keeps, a few entries later: its place in the table is
  // fetched while the next entries are read. Entries are recorded in order.
  void recordSoon(const StatusTable::Key& key, const Entry& entry) {
    table_.prefetch(key);
    waiting_.emplace_back(key, entry);
    if (waiting_.size() == kWaiting) recordWaiting();
  }

  void recordWaiting() {
    for (const auto& [key, entry] : waiting_) record(key, entry);
    waiting_.clear();
  }

  void record(const StatusTable::Key& key, const Entry& entry) {
    if (entry.size() == 0)
      table_.recordWithoutWord(key);
    else
      table_.record(key, entry.at(0).unsignedShortValue());
  }

  static constexpr std::size_t kWaiting = 16;
  // What a byte of archived form costs: it is put together, hashed and kept.
  static constexpr std::uint64_t kArchived = 4;

  StatusTable table_;
  std::vector<std::pair<StatusTable::Key, Entry>> waiting_;
};

}  // namespace

StatusInfo StatusInfo::read(const ObjectView& info) {
  StatusInfo result;
  result.status = readTable(info[kRepositoryStatusKey]);
  result.createdDirectories = detached(info[kStatusCreatedDirectoriesKey]);
  result.dirtyUrls = std::make_shared<const UrlList>(info[kStatusDirtyUrlsKey]);
  result.ignoredUrls = std::make_shared<const IgnoredUrls>(UrlList(info[kStatusIgnoredUrlsKey]));
  result.deletedUrls = std::make_shared<const DeletedUrls>(UrlList(info[kStatusDeletedUrlsKey]));
  result.newCount = info[kStatusNewCountKey].unsignedIntegerValue();
  return result;
}

std::optional<StatusTable> StatusInfo::readTable(const ObjectView& entries) {
  if (entries.kind() != Object::Kind::Dictionary) return std::nullopt;
  TableReader reader(entries.plausibleSize());
  entries.forEachEntry([&reader](ObjectView key, ObjectView entry) {
    reader.read(key, entry);
    return true;
  });
  return reader.take();
}

Object StatusInfo::detached(const ObjectView& array) {
  if (array.kind() != Object::Kind::Array) return {};
  return {array.toObject().whole().elements()};
}

}  // namespace kelpie
