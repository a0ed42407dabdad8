#include "archive/ArchiveReader.h"

#include <algorithm>
#include <array>
#include <utility>

#include "archive/ArchiveClasses.h"
#include "archive/ArchiveCycles.h"
#include "archive/ClassTable.h"
#include "foundation/Text.h"

namespace kelpie {

namespace {

using Type = BinaryPropertyList::Type;
using Item = BinaryPropertyList::Item;
using Kind = Object::Kind;

constexpr std::string_view kArchiver = "NSKeyedArchiver";

// The names of ArchiveReader::Key, in its order, but for the last.
constexpr std::array<std::string_view, 5> kKeyNames = {"$class", "NS.objects", "NS.keys",
                                                       "NS.relative", "NS.base"};

// The keys under which a boxed value may stand, in the order in which they are looked for.
struct Box {
  Kind boxed;
  std::string_view key;
  Type type;
  Kind kind;
};
constexpr Box kBoxes[] = {
    {Kind::String, "NS.string", Type::Ascii, Kind::String},
    {Kind::String, "NS.string", Type::Utf16, Kind::String},
    {Kind::String, "NS.bytes", Type::Data, Kind::String},
    {Kind::Data, "NS.data", Type::Data, Kind::Data},
    {Kind::Data, "NS.bytes", Type::Data, Kind::Data},
    {Kind::Date, "NS.time", Type::Real, Kind::Date},
    {Kind::Date, "NS.time", Type::Date, Kind::Date},
    {Kind::Integer, "NS.boolval", Type::Boolean, Kind::Boolean},
    {Kind::Integer, "NS.intval", Type::Integer, Kind::Integer},
    {Kind::Integer, "NS.dblval", Type::Real, Kind::Real},
};

Kind plainKind(Type type) {
  switch (type) {
    case Type::Boolean:
      return Kind::Boolean;
    case Type::Integer:
      return Kind::Integer;
    case Type::Real:
      return Kind::Real;
    case Type::Date:
      return Kind::Date;
    case Type::Data:
      return Kind::Data;
    case Type::Ascii:
    case Type::Utf16:
      return Kind::String;
    default:
      return Kind::Absent;
  }
}

// Whether the item has the form of an object: a dictionary of a moderate number of keys.
bool isObject(const Item& item) {
  return item.type == Type::Dictionary && item.count <= ArchiveReader::kMaximumKeys;
}

bool isContainerKind(Kind kind) {
  switch (kind) {
    case Kind::Url:
    case Kind::Array:
    case Kind::Set:
    case Kind::Dictionary:
    case Kind::Error:
    case Kind::Archivable:
    case Kind::Opaque:
      return true;
    default:
      return false;
  }
}

}  // namespace

// The numbers of the values under the keys that are looked for all the time.
struct ArchiveReader::Fields {
  const std::optional<std::uint32_t>& operator[](Key key) const {
    return numbers[static_cast<std::size_t>(key)];
  }
  std::array<std::optional<std::uint32_t>, kKeyNames.size() + 1> numbers;  // also of Key::Other
};

std::optional<std::uint8_t> ArchiveReader::Memory::find(std::uint32_t number) const {
  const std::uint64_t entry = entries_[number % kSize].load(std::memory_order_relaxed);
  // Numbers are entered plus one, since an empty entry is 0.
  if (entry >> 8U != std::uint64_t{number} + 1) return std::nullopt;
  return static_cast<std::uint8_t>(entry & 0xFFU);
}

void ArchiveReader::Memory::enter(std::uint32_t number, std::uint8_t known) const {
  entries_[number % kSize].store((std::uint64_t{number} + 1) << 8U | known,
                                 std::memory_order_relaxed);
}

ArchiveReader::ArchiveReader(ByteView archive, ArchivedValueMaker& maker, ReadingBudget& budget)
    : maker_(&maker), budget_(&budget) {
  const auto list = BinaryPropertyList::open(archive);
  if (!list) return;
  list_ = *list;
  const Item top = list_.item(list_.topNumber());
  // A small archive may occur in another one many times, so opening it must be quick.
  if (!isObject(top) || !list_.isEqualToString(list_.value(top, "$archiver"), kArchiver)) return;
  const Item objects = list_.value(top, "$objects");
  const Item roots = list_.value(top, "$top");
  const Item root = isObject(roots) ? list_.value(roots, "root") : Item();
  if (objects.type != Type::Array || root.type != Type::Uid) return;
  objects_ = objects;
  const std::uint64_t uid = list_.uid(root);
  if (uid == 0 || uid >= objects_.count) return;
  const Item item = objectItem(static_cast<std::uint32_t>(uid));
  if (item.type == Type::None || list_.isEqualToString(item, kNull)) return;
  root_ = {static_cast<std::uint32_t>(uid), item.offset};
}

ArchiveReader::~ArchiveReader() = default;

// -- Values ----------------------------------------------------------------------------------

ArchivedValue ArchiveReader::follow(std::uint32_t parentUid, std::uint32_t number) const {
  if (!budget_->charge(ReadingBudget::kStep)) return {};
  const Item item = list_.item(number);
  if (item.type != Type::Uid) return {0, item.offset};
  const std::uint64_t wideUid = list_.uid(item);
  if (wideUid == 0 || wideUid >= objects_.count) return {};
  const auto uid = static_cast<std::uint32_t>(wideUid);
  const Item target = objectItem(uid);
  if (uid <= parentUid && isContainer(target) && closesCircle(parentUid, uid)) return {};
  // Some writers refer to a "$null" that is not the first object.
  if (target.type == Type::Ascii && list_.isEqualToString(target, kNull)) return {};
  return {uid, target.offset};
}

ArchivedValue ArchiveReader::field(const ArchivedValue& object, std::string_view key) const {
  const Item item = list_.itemAt(object.offset);
  if (!isObject(item)) return {};
  chargeKeys(item);
  for (std::size_t index = 0; index < item.count; ++index)
    if (list_.isEqualToString(list_.keyAt(item, index), key))
      return follow(object.uid, list_.number(item, item.count + index));
  return {};
}

ArchivedContent ArchiveReader::content(const ArchivedValue& value) const {
  const Item item = list_.itemAt(value.offset);
  if (item.type != Type::Dictionary) return {plainKind(item.type), false, item, {}};
  // A container that stands inline is part of an opaque object, not a value of its own.
  if (value.uid == 0 || !isObject(item)) return {};
  chargeKeys(item);

  const Fields found = fields(item);
  const std::uint8_t of = classOf(found);
  if (of == kNoClass) return {};
  if (of == kRegistered) return {Kind::Archivable, false, item, {}};
  if (of == kOpaque) return {Kind::Opaque, false, item, {}};

  const ArchiveClass& known = kArchiveClasses[of];
  ArchivedContent content{known.kind, known.isMutable, item, {}};
  const auto arrayAt = [&](std::optional<std::uint32_t> number) {
    const Item array = number ? list_.item(*number) : Item();
    return array.type == Type::Array ? array : Item();
  };
  switch (known.kind) {
    case Kind::Array:
    case Kind::Set:
      content.item = arrayAt(found[Key::OfObjects]);
      return content.item.type == Type::Array ? content : ArchivedContent();
    case Kind::Dictionary:
      content.item = arrayAt(found[Key::OfKeys]);
      content.values = arrayAt(found[Key::OfObjects]);
      // As many keys as values, or it is unknown which belong together.
      return content.item.type == Type::Array && content.values.type == Type::Array &&
                     content.item.count == content.values.count
                 ? content
                 : ArchivedContent();
    case Kind::Url:
    case Kind::Error:
    case Kind::Opaque:
      return content;
    default:
      return boxedContent(content, item);
  }
}

ArchivedContent ArchiveReader::boxedContent(const ArchivedContent& content,
                                            const Item& object) const {
  for (const Box& box : kBoxes) {
    if (box.boxed != content.kind) continue;
    Item value = list_.value(object, box.key);
    if (value.type == Type::Uid) {
      const std::uint64_t uid = list_.uid(value);
      value =
          uid == 0 || uid >= objects_.count ? Item() : objectItem(static_cast<std::uint32_t>(uid));
    }
    if (value.type == box.type) return {box.kind, content.isMutable, value, {}};
  }
  return {};
}

Object ArchiveReader::plainObject(const ArchivedContent& content) const {
  switch (content.kind) {
    case Kind::String: {
      Object text(string(content));
      if (content.isMutable) text.setMutable();
      return text;
    }
    case Kind::Data: {
      const ByteView bytes = data(content);
      Object copy(Bytes(bytes.begin(), bytes.end()));
      if (content.isMutable) copy.setMutable();
      return copy;
    }
    case Kind::Date:
      return Object::date(list_.real(content.item));
    default:
      return number(content);
  }
}

Object ArchiveReader::number(const ArchivedContent& content) const {
  switch (content.kind) {
    case Kind::Boolean:
      return {list_.boolean(content.item)};
    case Kind::Integer:
      return list_.isNegative(content.item)
                 ? Object(static_cast<std::int64_t>(list_.integer(content.item)))
                 : Object(list_.integer(content.item));
    case Kind::Real:
      return {list_.real(content.item)};
    default:
      return {};
  }
}

std::string ArchiveReader::string(const ArchivedContent& content) const {
  if (content.kind != Kind::String || budget_->isUsedUp()) return {};
  std::string text = content.item.type == Type::Data
                         ? displayText(textOf(list_.bytes(content.item)))
                         : list_.string(content.item);
  // By its own size: the replacement for a byte that is not text takes three bytes.
  return budget_->charge(text.size()) ? std::move(text) : std::string();
}

ByteView ArchiveReader::data(const ArchivedContent& content) const {
  // A caller that asks for bytes looks at them.
  return budget_->charge(list_.contentSize(content.item)) ? nestedArchive(content) : ByteView();
}

ByteView ArchiveReader::nestedArchive(const ArchivedContent& content) const {
  return content.kind == Kind::Data ? list_.bytes(content.item) : ByteView();
}

std::size_t ArchiveReader::size(const ArchivedContent& content) const {
  const bool isCollection =
      content.kind == Kind::Array || content.kind == Kind::Set || content.kind == Kind::Dictionary;
  return isCollection ? content.item.count : 0;
}

bool ArchiveReader::isEqualToString(const ArchivedContent& content, std::string_view text) const {
  if (content.kind != Kind::String) return false;
  // A text of another length is compared only if it is not ASCII.
  if (content.item.type == Type::Data) return string(content) == text;
  const bool isPlain = content.item.type == Type::Ascii && content.item.count != text.size();
  if (!isPlain && !budget_->charge(text.size())) return false;
  return list_.isEqualToString(content.item, text);
}

std::optional<URL> ArchiveReader::url(const ArchivedValue& value, int bases) const {
  const Item item = list_.itemAt(value.offset);
  if (value.uid == 0 || !isObject(item) || bases > kMaximumBases) return std::nullopt;
  chargeKeys(item);
  const Fields found = fields(item);
  if (kindOf(found) != Kind::Url || !found[Key::OfRelative]) return std::nullopt;
  const ArchivedContent relative = content(follow(value.uid, *found[Key::OfRelative]));
  if (relative.kind != Kind::String) return std::nullopt;
  const ArchivedValue baseValue =
      found[Key::OfBase] ? follow(value.uid, *found[Key::OfBase]) : ArchivedValue();
  if (baseValue.offset == 0) return makeUrl(relative, std::nullopt);
  const auto base = url(baseValue, bases + 1);
  return base ? makeUrl(relative, base) : std::nullopt;
}

std::optional<URL> ArchiveReader::makeUrl(const ArchivedContent& text,
                                          const std::optional<URL>& base) const {
  // The URL holds its text, the text resolved against the base, and the path.
  const std::size_t baseSize = base ? base->absoluteString().size() : 0;
  const std::uint64_t cost = ReadingBudget::kObject + list_.contentSize(text.item) + baseSize;
  if (baseSize > kMaximumBaseLength || !budget_->charge(cost)) return std::nullopt;
  return URL::fromString(string(text), base);
}

// -- Keys and classes ------------------------------------------------------------------------

ArchiveReader::Fields ArchiveReader::fields(const Item& object) const {
  Fields found;
  for (std::size_t index = 0; index < object.count; ++index) {
    const Key known = key(list_.number(object, index));
    // Where a key stands twice, the first counts.
    auto& field = found.numbers[static_cast<std::size_t>(known)];
    if (!field) field = list_.number(object, object.count + index);
  }
  return found;
}

ArchiveReader::Key ArchiveReader::key(std::uint32_t number) const {
  if (const auto known = keys_.find(number)) return static_cast<Key>(*known);
  const Item item = list_.item(number);
  std::size_t at = 0;
  while (at < kKeyNames.size() && !list_.isEqualToString(item, kKeyNames[at])) ++at;
  keys_.enter(number, static_cast<std::uint8_t>(at));
  return static_cast<Key>(at);
}

std::uint8_t ArchiveReader::classOf(const Fields& fields) const {
  if (!fields[Key::OfClass]) return kNoClass;
  const Item reference = list_.item(*fields[Key::OfClass]);
  const std::uint64_t wideUid = list_.uid(reference);
  if (reference.type != Type::Uid || wideUid >= objects_.count) return kNoClass;
  const auto uid = static_cast<std::uint32_t>(wideUid);
  if (const auto known = classes_.find(uid)) return *known;
  const std::uint8_t found = findClass(uid);
  classes_.enter(uid, found);
  return found;
}

Object::Kind ArchiveReader::kindOf(const Fields& fields) const {
  const std::uint8_t of = classOf(fields);
  return of < kRegistered ? kArchiveClasses[of].kind : Kind::Opaque;
}

std::uint8_t ArchiveReader::findClass(std::uint32_t classUid) const {
  constexpr std::uint64_t kName = 16;
  std::uint8_t found = kNoClass;
  forEachNameOfClass(classUid, [&](const std::string& name) {
    const auto* const own =
        std::find_if(std::begin(kArchiveClasses), std::end(kArchiveClasses),
                     [&](const ArchiveClass& candidate) { return candidate.name == name; });
    if (own != std::end(kArchiveClasses))
      found = static_cast<std::uint8_t>(own - std::begin(kArchiveClasses));
    else
      found = ClassTable::shared().find(name) != nullptr ? kRegistered : kOpaque;
    return found == kOpaque && budget_->charge(kName + name.size());
  });
  return found;
}

void ArchiveReader::forEachClassName(const ArchivedValue& object,
                                     FunctionRef<bool(const std::string& name)> visit) const {
  const Item item = list_.itemAt(object.offset);
  const auto classNumber = isObject(item) ? fields(item)[Key::OfClass] : std::nullopt;
  if (!classNumber) return;
  const std::uint64_t uid = list_.uid(list_.item(*classNumber));
  if (uid < objects_.count) forEachNameOfClass(static_cast<std::uint32_t>(uid), visit);
}

void ArchiveReader::forEachNameOfClass(std::uint32_t classUid,
                                       FunctionRef<bool(const std::string& name)> visit) const {
  // The name of the class, then the list, which begins with the class itself.
  const Item item = objectItem(classUid);
  if (!isObject(item)) return;
  const Item own = list_.value(item, "$classname");
  const auto ownName = className(own);
  if (ownName && !visit(*ownName)) return;
  const Item all = list_.value(item, "$classes");
  if (all.type != Type::Array) return;
  const std::size_t count = std::min<std::size_t>(all.count, kMaximumClassNames);
  for (std::size_t index = 0; index < count; ++index) {
    const auto name = className(list_.item(list_.number(all, index)));
    if (name && name != ownName && !visit(*name)) return;
  }
}

std::optional<std::string> ArchiveReader::className(const Item& item) const {
  if (!list_.isString(item) || item.count > kMaximumClassNameLength) return std::nullopt;
  return list_.string(item);
}

// -- Circles ---------------------------------------------------------------------------------

bool ArchiveReader::isContainer(const Item& item) const {
  if (!isObject(item)) return false;
  const std::uint8_t of = classOf(fields(item));
  if (of == kNoClass) return false;
  return of == kRegistered || of == kOpaque || isContainerKind(kArchiveClasses[of].kind);
}

bool ArchiveReader::closesCircle(std::uint32_t parentUid, std::uint32_t uid) const {
  if (parentUid != uid && isPlainlyFlat(objectItem(uid))) return false;
  std::call_once(cyclesOnce_, [&] { cycles_ = std::make_unique<const ArchiveCycles>(*this); });
  return cycles_->areOnOneCircle(parentUid, uid);
}

bool ArchiveReader::isPlainlyFlat(const Item& object) const {
  constexpr std::size_t kFew = 16;
  const Fields found = fields(object);
  const std::uint8_t of = classOf(found);
  if (of >= kRegistered) return false;
  const Kind kind = kArchiveClasses[of].kind;
  if (kind == Kind::Url)
    return !found[Key::OfBase] || list_.uid(list_.item(*found[Key::OfBase])) == 0;
  if (kind != Kind::Array && kind != Kind::Set && kind != Kind::Dictionary) return false;

  const auto arePlain = [&](std::optional<std::uint32_t> number) {
    const Item elements = number ? list_.item(*number) : Item();
    if (elements.type != Type::Array || elements.count > kFew) return false;
    for (std::size_t index = 0; index < elements.count; ++index) {
      const std::uint64_t uid = list_.uid(list_.item(list_.number(elements, index)));
      if (uid < objects_.count && isContainer(objectItem(static_cast<std::uint32_t>(uid))))
        return false;
    }
    return true;
  };
  return arePlain(found[Key::OfObjects]) &&
         (kind != Kind::Dictionary || arePlain(found[Key::OfKeys]));
}

}  // namespace kelpie
