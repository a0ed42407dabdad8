#include "refs/ReferenceOutline.h"

#include <cstddef>
#include <optional>
#include <string>

#include "refs/PathComponents.h"

namespace kelpie {
namespace {

// The record of a node that has none.
const KPReference& recordOf(const KPTreeNode& node) {
  static const KPReference kNoRecord;
  return node.representedObject() != nullptr ? *node.representedObject() : kNoRecord;
}

std::string_view viewOf(const std::optional<std::string>& text) {
  if (!text) return {};
  return *text;
}

void append(std::vector<char>& text, std::string_view more) {
  text.insert(text.end(), more.begin(), more.end());
}

// The same text at the place that `text` points to, which moves on behind it.
std::string_view cut(const char*& text, std::string_view same) {
  const std::string_view part(text, same.size());
  text += same.size();
  return part;
}

}  // namespace

ReferenceOutline::ReferenceOutline(const KPTreeNode& root) {
  // A tree may be large, so nothing is made larger than it will be.
  Sizes sizes;
  for (const auto& child : root.childNodes()) measure(*child, sizes);
  entries_.reserve(sizes.entries);
  text_.reserve(sizes.text);
  for (const auto& child : root.childNodes()) add(*child);
  // The text has its place only now that it does not grow any more.
  const char* text = text_.data();
  for (ReferenceEntry& entry : entries_) {
    entry.name = cut(text, entry.name);
    entry.title = lastPathComponent(entry.name);
    entry.upstreamName = cut(text, entry.upstreamName);
  }
}

ReferenceEntries ReferenceOutline::entriesBelowChild(std::uint64_t position) const {
  std::size_t index = 0;
  for (; position > 0 && index < entries_.size(); --position)
    index += 1 + entries_[index].descendants;
  if (index >= entries_.size()) return {};
  return entries().subspan(index + 1, entries_[index].descendants);
}

void ReferenceOutline::measure(const KPTreeNode& node, Sizes& sizes) {
  const KPReference& record = recordOf(node);
  ++sizes.entries;
  sizes.text += viewOf(record.name()).size() + viewOf(record.upstreamName()).size();
  for (const auto& child : node.childNodes()) measure(*child, sizes);
}

// Goes as deep as the tree, which is KPTreeNode::kMaximumDepth at most.
void ReferenceOutline::add(const KPTreeNode& node) {
  const KPReference& record = recordOf(node);
  const std::size_t index = entries_.size();
  ReferenceEntry& entry = entries_.emplace_back();
  entry.name = viewOf(record.name());
  entry.upstreamName = viewOf(record.upstreamName());
  entry.record = &record;
  entry.tag = record.tag();
  entry.children = static_cast<std::uint32_t>(node.childNodes().size());
  entry.fullNameSize = static_cast<std::uint32_t>(viewOf(record.fullName()).size());
  entry.hasUpstream = record.upstreamName().has_value();
  entry.hasOid = record.oid().has_value();
  entry.isHead = record.isHead();
  entry.isDetached = record.isDetached();
  append(text_, entry.name);
  append(text_, entry.upstreamName);
  for (const auto& child : node.childNodes()) add(*child);
  entries_[index].descendants = static_cast<std::uint32_t>(entries_.size() - index - 1);
}

}  // namespace kelpie
