#pragma once

#include <QFile>
#include <QUrl>

#include <optional>
#include <string>

namespace kelpie::filemanagers {

// The path of a file on a local file system, as bytes and without a slash at its end; missing for
// any other place.
inline std::optional<std::string> localPathOf(const QUrl& url) {
  if (!url.isLocalFile()) return std::nullopt;
  std::string path = QFile::encodeName(url.toLocalFile()).toStdString();
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  if (path.empty() || path.front() != '/') return std::nullopt;
  return path;
}

}  // namespace kelpie::filemanagers
