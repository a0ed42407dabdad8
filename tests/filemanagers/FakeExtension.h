#pragma once

#include <string>
#include <variant>
#include <vector>

#include "protocol/hostlink/HostLineCodec.h"
#include "protocol/hostlink/HostLines.h"

namespace kelpie::filemanagers {

// The other end of a session's host link, in the test's hands: what the session has written, as the
// lines that it means.
inline std::vector<hostlink::HostLine> linesOf(const std::string& output) {
  std::vector<hostlink::HostLine> lines;
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = output.find('\n', begin)) != std::string::npos; begin = end + 1)
    if (auto reading = hostlink::readHostLine(output.substr(begin, end - begin)); reading.line)
      lines.push_back(*std::move(reading.line));
  return lines;
}

// The lines of one type.
template <class Line>
std::vector<Line> only(const std::vector<hostlink::HostLine>& lines) {
  std::vector<Line> found;
  for (const hostlink::HostLine& line : lines)
    if (const auto* one = std::get_if<Line>(&line)) found.push_back(*one);
  return found;
}

// A menu of one level whose items can all be chosen.
inline hostlink::MenuAnswer menuOf(const hostlink::MenuRequest& request,
                                   const std::vector<std::string>& titles) {
  hostlink::MenuAnswer answer;
  answer.id = request.id;
  answer.isThere = true;
  for (const std::string& title : titles) {
    hostlink::Item item;
    item.title = title;
    item.action = "act:";
    item.isEnabled = true;
    answer.items.push_back(item);
  }
  return answer;
}

}  // namespace kelpie::filemanagers
