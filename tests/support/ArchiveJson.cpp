#include "support/ArchiveJson.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <utility>

#include "TestPaths.h"
#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/Menu.h"
#include "foundation/MenuItem.h"
#include "foundation/OpaqueObject.h"
#include "refs/KPReference.h"
#include "refs/KPRemote.h"
#include "refs/KPSubmodule.h"
#include "refs/KPTreeNode.h"

namespace kelpie {
namespace {

using nlohmann::json;

constexpr std::string_view kFolder = KELPIE_FIXTURES_DIR "/keyed-archives/";

// The descriptions whose elements have no order.
constexpr std::string_view kUnordered[] = {"$dict", "$mdict", "$set", "$mset"};

std::string hex(const Bytes& bytes) {
  static constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0xFU];
  }
  return text;
}

json textOrNull(const std::optional<std::string>& text) { return text ? json(*text) : json(); }

json dataOrNull(const std::optional<Bytes>& data) {
  return data ? json{{"$data", hex(*data)}} : json();
}

// "$" + name, or "$m" + name for the mutable class.
json tagged(const Object& object, const std::string& name, json value) {
  return json{{(object.isMutable() ? "$m" : "$") + name, std::move(value)}};
}

json elements(const Object& object) {
  json result = json::array();
  for (const Object& element : object.elements()) result.push_back(archiveJson(element));
  return result;
}

json entries(const Object& object) {
  json result = json::array();
  for (const auto& [key, value] : object.dictionary().entries())
    result.push_back(json::array({archiveJson(key), archiveJson(value)}));
  return result;
}

json urlJson(const URL& url) {
  const auto base = url.base();
  return {{"$url", url.relativeString()}, {"base", base ? urlJson(*base) : json()}};
}

json itemJson(const MenuItem& item) {
  json result = {{"title", item.title},
                 {"tag", item.tag},
                 {"action", textOrNull(item.action)},
                 {"keyEquivalent", item.keyEquivalent},
                 {"state", item.state},
                 {"enabled", item.enabled}};
  if (!item.representedObject.isNil())
    result["representedObject"] = archiveJson(item.representedObject);
  if (item.submenu != nullptr) result["submenu"] = archiveJson(Object(item.submenu));
  return {{"$menuitem", std::move(result)}};
}

json menuJson(const Menu& menu) {
  json items = json::array();
  for (const MenuItem& item : menu.items) items.push_back(itemJson(item));
  return {{"$menu", {{"title", menu.title}, {"items", std::move(items)}}}};
}

json recordJson(const KPReference& record) {
  json result = {{"$record", record.classNames().front()},
                 {"type", record.type()},
                 {"name", textOrNull(record.name())},
                 {"fullName", textOrNull(record.fullName())},
                 {"oid", dataOrNull(record.oid())},
                 {"head", record.isHead()},
                 {"detached", record.isDetached()},
                 {"upstreamName", textOrNull(record.upstreamName())},
                 {"tag", record.tag()}};
  if (const auto* remote = dynamic_cast<const KPRemote*>(&record)) {
    result["url"] = textOrNull(remote->url());
    result["pushUrl"] = textOrNull(remote->pushUrl());
    result["fetchRefspecs"] = archiveJson(remote->fetchRefspecs());
    result["pushRefspecs"] = archiveJson(remote->pushRefspecs());
    result["autotag"] = remote->autotag();
    result["skipFetchAll"] = remote->skipFetchAll();
  }
  if (const auto* submodule = dynamic_cast<const KPSubmodule*>(&record)) {
    result["url"] = textOrNull(submodule->url());
    result["path"] = textOrNull(submodule->path());
    result["recurse"] = submodule->recurse();
    result["ignore"] = submodule->ignore();
    result["update"] = submodule->update();
  }
  return result;
}

json nodeJson(const KPTreeNode& node) {
  json children = json::array();
  for (const auto& child : node.childNodes()) children.push_back(nodeJson(*child));
  const auto& object = node.representedObject();
  return {{"$node",
           {{"object", object != nullptr ? recordJson(*object) : json()},
            {"children", std::move(children)}}}};
}

json archivableJson(const Object& object) {
  if (const auto item = object.as<MenuItem>()) return itemJson(*item);
  if (const auto menu = object.as<Menu>()) return menuJson(*menu);
  if (const auto record = object.as<KPReference>()) return recordJson(*record);
  if (const auto node = object.as<KPTreeNode>()) return nodeJson(*node);
  return {{"$object", object.archivable()->classNames().front()}};
}

json opaqueJson(const OpaqueObject& object) {
  json values = json::object();
  for (const OpaqueObject::Field& field : object.values)
    values[field.key] = archiveJson(field.value);
  return {{"$object", object.classNames.front()}, {"values", std::move(values)}};
}

json errorJson(const Error& error) {
  return {{"$error",
           {{"domain", error.domain},
            {"code", error.code},
            {"userInfo", archiveJson(error.userInfo)}}}};
}

json integerJson(const Object& number) {
  return number.isNegative() ? json(number.integerValue()) : json(number.unsignedIntegerValue());
}

json description(const Object& object) {
  switch (object.kind()) {
    case Object::Kind::Absent:
      return {};
    case Object::Kind::Boolean:
      return object.boolValue();
    case Object::Kind::Integer:
      return integerJson(object);
    case Object::Kind::Real:
      return {{"$real", object.doubleValue()}};
    case Object::Kind::Date:
      return {{"$date", object.dateValue()}};
    case Object::Kind::String:
      return object.isMutable() ? json{{"$mstring", object.stringValue()}}
                                : json(object.stringValue());
    case Object::Kind::Data:
      return tagged(object, "data", hex(*object.data()));
    case Object::Kind::Url:
      return urlJson(*object.url());
    case Object::Kind::Array:
      return tagged(object, "array", elements(object));
    case Object::Kind::Set:
      return tagged(object, "set", elements(object));
    case Object::Kind::Dictionary:
      return tagged(object, "dict", entries(object));
    case Object::Kind::Error:
      return errorJson(*object.error());
    case Object::Kind::Archivable:
      return archivableJson(object);
    case Object::Kind::Opaque:
      return opaqueJson(*object.opaque());
  }
  return {};
}

}  // namespace

json archiveJson(const Object& object) { return sortedArchiveJson(description(object)); }

json sortedArchiveJson(const json& description) {
  if (!description.is_structured()) return description;
  json result = description;
  for (json& part : result) part = sortedArchiveJson(part);
  if (!result.is_object()) return result;
  for (const std::string_view key : kUnordered) {
    const auto found = result.find(key);
    if (found != result.end()) std::sort(found->begin(), found->end());
  }
  return result;
}

Bytes archiveFixture(std::string_view name) {
  std::ifstream file(std::string(kFolder) += name, std::ios::binary);
  EXPECT_TRUE(file) << name;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

json archiveFixtureJson(std::string_view name) {
  const Bytes text = archiveFixture(std::string(name) + ".bplist.json");
  return sortedArchiveJson(json::parse(text.begin(), text.end()));
}

std::vector<std::string> archiveFixtureNames() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(kFolder))
    if (entry.path().extension() == ".bplist") names.push_back(entry.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace kelpie
