#include "graph/ArchiveGraph.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "support/RawPropertyList.h"

namespace kelpie {

namespace {

using Random = ArchiveGraph::Random;

constexpr std::size_t kMaximumNodes = 60'000;
constexpr std::size_t kTrailer = 32;

std::size_t below(Random& random, std::size_t bound) {
  return bound == 0 ? 0 : static_cast<std::size_t>(random()) % bound;
}

// Mostly few, sometimes many.
std::size_t times(Random& random, std::size_t most) {
  const std::size_t magnitude = below(random, 15);
  const std::size_t count =
      (std::size_t{1} << magnitude) + below(random, std::size_t{1} << magnitude);
  return std::min(count, most);
}

}  // namespace

// -- Reading and writing --------------------------------------------------------------------------

class ArchiveGraph::Reader {
 public:
  explicit Reader(ByteView bytes) : bytes_(bytes) {}

  bool read(std::vector<Node>& nodes, std::uint32_t& top) {
    if (bytes_.size() < kTrailer + 8) return false;
    const std::size_t trailer = bytes_.size() - kTrailer;
    offsetSize_ = bytes_[trailer + 6];
    referenceSize_ = bytes_[trailer + 7];
    const std::uint64_t count = number(trailer + 8, 8);
    const std::uint64_t topNumber = number(trailer + 16, 8);
    table_ = number(trailer + 24, 8);
    if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 4)
      return false;
    if (count == 0 || count > kMaximumNodes || topNumber >= count) return false;
    if (table_ > trailer || (trailer - table_) / offsetSize_ < count) return false;
    count_ = count;
    top = static_cast<std::uint32_t>(topNumber);
    nodes.resize(count);
    std::size_t uses = 0;
    for (std::size_t index = 0; index < count; ++index) {
      const std::uint64_t offset = number(table_ + index * offsetSize_, offsetSize_);
      if (offset >= table_ || !readNode(offset, nodes[index])) return false;
      uses += nodes[index].uses.size() + nodes[index].bytes.size();
      if (uses > 4 * bytes_.size()) return false;  // many numbers for one large object
    }
    return true;
  }

 private:
  std::uint64_t number(std::size_t from, std::size_t size) const {
    std::uint64_t value = 0;
    for (std::size_t index = 0; index < size; ++index) value = value << 8U | bytes_[from + index];
    return value;
  }

  bool readNode(std::size_t from, Node& node) {
    const std::uint8_t marker = bytes_[from];
    const std::uint8_t low = marker & 15U;
    std::size_t begin = from + 1;
    std::uint64_t length = low;
    switch (marker >> 4U) {
      case 0:
        return copy(Node::Kind::Plain, from, 1, node);
      case 1:
      case 2:
      case 3:
        return low <= 4 && copy(Node::Kind::Plain, from, 1 + (std::size_t{1} << low), node);
      case 8:
        if (low > 3 || table_ - begin < std::size_t{1} + low) return false;
        node.kind = Node::Kind::Reference;
        node.uid = static_cast<std::uint32_t>(number(begin, std::size_t{1} + low));
        return true;
      case 4:
        return readLength(low, begin, length) && copy(Node::Kind::Data, begin, length, node);
      case 5:
        return readLength(low, begin, length) && copy(Node::Kind::Text, begin, length, node);
      case 6:
        if (!readLength(low, begin, length) || length > bytes_.size()) return false;
        return copy(Node::Kind::Plain, from, begin - from + 2 * length, node);
      case 10:
      case 12:
        node.kind = Node::Kind::Array;
        return readLength(low, begin, length) && readUses(begin, length, node);
      case 13:
        node.kind = Node::Kind::Dictionary;
        if (!readLength(low, begin, length) || length > bytes_.size()) return false;
        return readUses(begin, 2 * length, node);
      default:
        return false;
    }
  }

  bool readLength(std::uint8_t low, std::size_t& begin, std::uint64_t& length) const {
    if (low != 15) return true;
    if (begin >= table_ || bytes_[begin] >> 4U != 1 || (bytes_[begin] & 15U) > 3) return false;
    const std::size_t size = std::size_t{1} << (bytes_[begin] & 15U);
    if (table_ - begin <= size) return false;
    length = number(begin + 1, size);
    begin += 1 + size;
    return true;
  }

  bool copy(Node::Kind kind, std::size_t from, std::uint64_t length, Node& node) const {
    if (from > table_ || length > table_ - from) return false;
    node.kind = kind;
    const auto first = bytes_.begin() + static_cast<std::ptrdiff_t>(from);
    node.bytes.assign(first, first + static_cast<std::ptrdiff_t>(length));
    return true;
  }

  bool readUses(std::size_t from, std::uint64_t length, Node& node) const {
    if (from > table_ || length > (table_ - from) / referenceSize_) return false;
    node.uses.reserve(length);
    for (std::size_t index = 0; index < length; ++index) {
      const std::uint64_t use = number(from + index * referenceSize_, referenceSize_);
      if (use >= count_) return false;
      node.uses.push_back(static_cast<std::uint32_t>(use));
    }
    return true;
  }

  ByteView bytes_;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::uint64_t table_ = 0;
  std::uint64_t count_ = 0;
};

std::optional<ArchiveGraph> ArchiveGraph::read(ByteView bytes) {
  std::optional<ArchiveGraph> graph(std::in_place);
  if (!Reader(bytes).read(graph->nodes_, graph->top_)) return std::nullopt;
  return graph;
}

Bytes ArchiveGraph::write() const {
  RawPropertyList list(nodes_.size() <= 256 ? 1 : nodes_.size() <= 65'536 ? 2 : 4);
  for (const Node& node : nodes_) {
    switch (node.kind) {
      case Node::Kind::Plain:
        list.raw(node.bytes);
        break;
      case Node::Kind::Text:
        list.ascii({reinterpret_cast<const char*>(node.bytes.data()), node.bytes.size()});
        break;
      case Node::Kind::Data:
        list.data(node.bytes);
        break;
      case Node::Kind::Reference:
        list.uid(node.uid, node.uid < 256 ? 1 : node.uid < 65'536 ? 2 : 4);
        break;
      case Node::Kind::Array:
        list.array(node.uses);
        break;
      case Node::Kind::Dictionary: {
        const std::size_t count = node.uses.size() / 2;
        std::vector<std::pair<RawPropertyList::Number, RawPropertyList::Number>> entries;
        for (std::size_t index = 0; index < count; ++index)
          entries.emplace_back(node.uses[index], node.uses[count + index]);
        list.dictionary(entries);
        break;
      }
    }
  }
  return list.finish(top_);
}

// -- Changes --------------------------------------------------------------------------------------

void ArchiveGraph::mutate(Random& random, std::size_t room,
                          const std::vector<std::string_view>& words, MutateBytes mutateBytes) {
  switch (below(random, 10)) {
    case 0:
    case 1:
    case 2:
      return repeat(random, room);
    case 3:
      return redirect(random);
    case 4:
    case 5:
      return referElsewhere(random);
    case 6:
      return lengthen(random, room);
    case 7:
      return putArchiveInside(random, room);
    case 8: {
      Node* const text = any(random, Node::Kind::Text, Node::Kind::Text);
      if (text == nullptr || words.empty()) return;
      const std::string_view word = words[below(random, words.size())];
      text->bytes.assign(word.begin(), word.end());
      return;
    }
    default: {
      Node* const node = any(random, Node::Kind::Text, Node::Kind::Data);
      if (node == nullptr) return;
      const std::size_t size = node->bytes.size();
      node->bytes.resize(size + std::min<std::size_t>(room, 64));
      node->bytes.resize(mutateBytes(node->bytes.data(), size, node->bytes.size()));
      for (std::uint8_t& byte : node->bytes)
        if (node->kind == Node::Kind::Text) byte &= 0x7fU;
      return;
    }
  }
}

void ArchiveGraph::graft(const ArchiveGraph& other, Random& random) {
  Node* const own = objects();
  ArchiveGraph copy = other;
  const Node* const others = copy.objects();
  if (own == nullptr || others == nullptr) return;
  if (nodes_.size() + copy.nodes_.size() > kMaximumNodes) return;
  const auto shift = static_cast<std::uint32_t>(nodes_.size());
  const auto uidShift = static_cast<std::uint32_t>(own->uses.size());
  for (const std::uint32_t use : others->uses) own->uses.push_back(use + shift);
  const std::size_t count = others->uses.size();
  for (Node& node : copy.nodes_) {
    for (std::uint32_t& use : node.uses) use += shift;
    node.uid += uidShift;
  }
  Node* const reference = any(random, Node::Kind::Reference, Node::Kind::Reference);
  if (reference != nullptr)
    reference->uid = uidShift + static_cast<std::uint32_t>(below(random, count));
  std::move(copy.nodes_.begin(), copy.nodes_.end(), std::back_inserter(nodes_));
}

ArchiveGraph::Node* ArchiveGraph::any(Random& random, Node::Kind kind, Node::Kind other) {
  const std::size_t begin = below(random, nodes_.size());
  for (std::size_t step = 0; step < nodes_.size(); ++step) {
    Node& node = nodes_[(begin + step) % nodes_.size()];
    if (node.kind == kind || node.kind == other) return &node;
  }
  return nullptr;
}

ArchiveGraph::Node* ArchiveGraph::objects() {
  static constexpr std::string_view kObjects = "$objects";
  const Node& top = nodes_[top_];
  if (top.kind != Node::Kind::Dictionary) return nullptr;
  const std::size_t count = top.uses.size() / 2;
  for (std::size_t index = 0; index < count; ++index) {
    const Node& key = nodes_[top.uses[index]];
    if (key.kind != Node::Kind::Text || !std::ranges::equal(key.bytes, kObjects)) continue;
    Node& value = nodes_[top.uses[count + index]];
    return value.kind == Node::Kind::Array ? &value : nullptr;
  }
  return nullptr;
}

std::uint32_t ArchiveGraph::anyNumber(Random& random) const {
  return static_cast<std::uint32_t>(below(random, nodes_.size()));
}

// Keys and values stand in two arrays of one length: often both are made longer.
void ArchiveGraph::repeat(Random& random, std::size_t room) {
  Node* const array = any(random, Node::Kind::Array, Node::Kind::Array);
  if (array == nullptr || array->uses.empty()) return;
  const std::size_t count = times(random, room / 8);
  const std::size_t size = array->uses.size();
  const bool isOnlyOne = below(random, 2) == 0;
  std::size_t added = 0;  // bytes
  for (Node& node : nodes_) {
    if (node.kind != Node::Kind::Array || node.uses.size() != size) continue;
    if (&node != array && (isOnlyOne || size > 8)) continue;
    const std::uint32_t element = node.uses[below(random, size)];
    node.uses.insert(node.uses.end(), count, element);
    added += 2 * count;
    if (added > room) break;
  }
}

void ArchiveGraph::redirect(Random& random) {
  Node* const node = any(random, Node::Kind::Array, Node::Kind::Dictionary);
  if (node == nullptr || node->uses.empty()) return;
  // Of a dictionary only the values: keys are texts.
  const bool isArray = node->kind == Node::Kind::Array;
  const std::size_t first = isArray ? 0 : node->uses.size() / 2;
  node->uses[first + below(random, node->uses.size() - first)] = anyNumber(random);
}

void ArchiveGraph::referElsewhere(Random& random) {
  const Node* const all = objects();
  Node* const reference = any(random, Node::Kind::Reference, Node::Kind::Reference);
  if (all == nullptr || reference == nullptr) return;
  if (below(random, 2) == 0)
    reference->uid = static_cast<std::uint32_t>(below(random, all->uses.size() + 1));
  else
    reference->uid = any(random, Node::Kind::Reference, Node::Kind::Reference)->uid;
}

void ArchiveGraph::lengthen(Random& random, std::size_t room) {
  Node* const node = any(random, Node::Kind::Text, Node::Kind::Data);
  if (node == nullptr) return;
  if (node->bytes.empty()) node->bytes.push_back('/');
  const std::size_t size = node->bytes.size();
  const std::size_t longer = size + times(random, room);
  for (std::size_t index = size; index < longer; ++index)
    node->bytes.push_back(node->bytes[index - size]);
}

void ArchiveGraph::putArchiveInside(Random& random, std::size_t room) {
  Node* const data = any(random, Node::Kind::Data, Node::Kind::Data);
  if (data == nullptr) return;
  Bytes archive = write();
  if (archive.size() <= room) data->bytes = std::move(archive);
}

}  // namespace kelpie
