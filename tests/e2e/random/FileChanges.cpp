// Changes of files and folders, made without git.
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cctype>
#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <system_error>

#include "e2e/random/Playground.h"

namespace kelpie {
namespace {

namespace fs = std::filesystem;

// -- Content --------------------------------------------------------------------------------------

bool rewriteFile(Playground& place) {
  const auto file = place.aPlainFile();
  if (file) place.write(*file, place.text());
  return file.has_value();
}

bool appendToFile(Playground& place) {
  const auto file = place.aPlainFile();
  if (file) place.write(*file, place.text(), true);
  return file.has_value();
}

bool truncateFile(Playground& place) {
  const auto file = place.aPlainFile();
  return file && ::truncate((place / *file).c_str(), 0) == 0;
}

// Back to what is committed, so that nothing is changed any more.
bool restoreContent(Playground& place) {
  const auto file = place.aTrackedFile();
  if (!file || fs::is_symlink(fs::path(place / *file))) return false;
  place.write(*file, place.ask({"cat-file", "blob", "HEAD:" + *file}));
  return true;
}

// As many bytes as before, at the same time as before.
bool rewriteUnseen(Playground& place) {
  const auto file = place.aPlainFile();
  struct stat before = {};
  if (!file || ::stat((place / *file).c_str(), &before) != 0) return false;
  std::string content = place.read(*file);
  for (char& byte : content)
    if (std::isdigit(static_cast<unsigned char>(byte)) != 0) byte = byte == '9' ? '0' : '9';
  place.write(*file, content);
  const std::array<timespec, 2> times = {before.st_atim, before.st_mtim};
  return ::utimensat(AT_FDCWD, (place / *file).c_str(), times.data(), 0) == 0;
}

bool writeThroughMapping(Playground& place) {
  const auto file = place.aPlainFile();
  if (!file) return false;
  const int open = ::open((place / *file).c_str(), O_RDWR | O_CLOEXEC);
  struct stat status = {};
  if (open < 0) return false;
  void* mapping = MAP_FAILED;
  if (::fstat(open, &status) == 0 && status.st_size > 0)
    mapping = ::mmap(nullptr, 1, PROT_READ | PROT_WRITE, MAP_SHARED, open, 0);
  ::close(open);
  if (mapping == MAP_FAILED) return false;
  *static_cast<char*>(mapping) = static_cast<char>('A' + place.below(26));
  ::munmap(mapping, 1);
  return true;
}

// By a program that keeps the file open, as logs are written.
bool writeInPieces(Playground& place) {
  const auto file = place.aPlainFile();
  const int open = file ? ::open((place / *file).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC) : -1;
  if (open < 0) return false;
  bool written = true;
  for (int i = 0; i < 5; ++i) {
    written = written && ::write(open, "piece\n", 6) == 6;
    ::usleep(2000);
  }
  ::close(open);
  return written;
}

// As editors save.
bool replaceFile(Playground& place) {
  const auto file = place.aPlainFile();
  if (!file) return false;
  place.write(*file + "~", place.text());
  return place.rename(*file + "~", *file);
}

// -- Attributes -----------------------------------------------------------------------------------

bool touchFile(Playground& place) {
  const auto file = place.aFile();
  return file && ::utimensat(AT_FDCWD, (place / *file).c_str(), nullptr, AT_SYMLINK_NOFOLLOW) == 0;
}

bool setTimeBack(Playground& place) {
  const auto file = place.aFile();
  const timespec time = {static_cast<time_t>(1'000'000'000 + place.below(1'000'000)), 0};
  const std::array<timespec, 2> times = {time, time};
  return file &&
         ::utimensat(AT_FDCWD, (place / *file).c_str(), times.data(), AT_SYMLINK_NOFOLLOW) == 0;
}

bool changeMode(Playground& place) {
  const auto file = place.aPlainFile();
  struct stat status = {};
  if (!file || ::stat((place / *file).c_str(), &status) != 0) return false;
  return ::chmod((place / *file).c_str(), status.st_mode ^ 0111U) == 0;
}

// -- Names ----------------------------------------------------------------------------------------

bool newFile(Playground& place) {
  place.write(place.newPath(), place.text());
  return true;
}

bool newFiles(Playground& place) {
  const std::string folder = place.anyFolder();
  for (std::size_t count = 5 + place.below(10); count > 0; --count)
    place.write(place.newPathIn(folder), place.text());
  return true;
}

bool newEmptyFile(Playground& place) {
  place.write(place.newPath(), "");
  return true;
}

bool copyFile(Playground& place) {
  const auto file = place.aPlainFile();
  if (file) place.write(place.newPath(), place.read(*file));
  return file.has_value();
}

bool renameFile(Playground& place) {
  const auto file = place.aFile();
  return file && place.rename(*file, place.newPath());
}

bool renameOverFile(Playground& place) {
  const auto file = place.aFile();
  const auto other = place.aFile();
  return file && other && *file != *other && place.rename(*file, *other);
}

bool exchangeFiles(Playground& place) {
  const auto file = place.aFile();
  const auto other = place.aFile();
  return file && other &&
         ::syscall(SYS_renameat2, AT_FDCWD, (place / *file).c_str(), AT_FDCWD,
                   (place / *other).c_str(), RENAME_EXCHANGE) == 0;
}

bool deleteFile(Playground& place) {
  const auto file = place.aFile();
  if (file) place.remove(*file);
  return file.has_value();
}

bool deleteAndMakeAgain(Playground& place) {
  const auto file = place.aPlainFile();
  if (!file) return false;
  const std::string content = place.read(*file);
  place.remove(*file);
  place.write(*file, place.chance(50) ? content : place.text());
  return true;
}

// -- Links and other kinds ------------------------------------------------------------------------

bool newLink(Playground& place) {
  const std::string target = place.chance(30)   ? "nowhere"
                             : place.chance(50) ? place / place.anyFolder()
                                                : place / place.aFile().value_or("nowhere");
  // A name of its own: where a link takes the former name of a folder that was moved, what was on
  // screen there is reached by two paths, and has one entry for both.
  std::error_code error;
  fs::create_symlink(target, fs::path(place / (place.newPath() + " link")), error);
  return !error;
}

bool fileBecomesLink(Playground& place) {
  const auto file = place.aTrackedFile();
  if (!file) return false;
  place.remove(*file);
  std::error_code error;
  fs::create_symlink("elsewhere", fs::path(place / *file), error);
  return !error;
}

bool linkBecomesFile(Playground& place) {
  for (const std::string& file : place.files()) {
    if (!fs::is_symlink(fs::path(place / file))) continue;
    place.remove(file);
    place.write(file, place.text());
    return true;
  }
  return false;
}

bool fileBecomesFolder(Playground& place) {
  const auto file = place.aFile();
  if (!file) return false;
  place.remove(*file);
  place.addFolder(*file);
  place.write(place.newPathIn(*file), place.text());
  return true;
}

bool folderBecomesFile(Playground& place) {
  const auto folder = place.aFolder();
  if (!folder) return false;
  place.remove(*folder);
  place.write(*folder, place.text());
  return true;
}

bool folderBecomesLink(Playground& place) {
  const auto folder = place.aFolder();
  if (!folder) return false;
  place.remove(*folder);
  std::error_code error;
  fs::create_directory_symlink("nowhere", fs::path(place / *folder), error);
  return !error;
}

// -- Folders --------------------------------------------------------------------------------------

bool newFolder(Playground& place) {
  place.addFolder(place.newPath());
  return true;
}

bool newTree(Playground& place) {
  std::string path = place.newPath();
  for (std::size_t depth = 1 + place.below(3); depth > 0; --depth) {
    place.addFolder(path);
    place.write(place.newPathIn(path), place.text());
    path = place.newPathIn(path);
  }
  return true;
}

bool renameFolder(Playground& place) {
  const auto folder = place.aFolder();
  const std::string path = place.newPath();
  return folder && !path.starts_with(*folder) && place.rename(*folder, path);
}

bool exchangeFolders(Playground& place) {
  const auto folder = place.aFolder();
  const auto other = place.aFolder();
  return folder && other &&
         ::syscall(SYS_renameat2, AT_FDCWD, (place / *folder).c_str(), AT_FDCWD,
                   (place / *other).c_str(), RENAME_EXCHANGE) == 0;
}

bool deleteFolder(Playground& place) {
  const auto folder = place.aFolder();
  if (folder) place.remove(*folder);
  return folder.has_value();
}

bool deleteFolderAndMakeAgain(Playground& place) {
  const auto folder = place.aFolder();
  if (!folder) return false;
  place.remove(*folder);
  place.addFolder(*folder);
  place.write(place.newPathIn(*folder), place.text());
  return true;
}

// Out of the working copy, and back to another place.
bool carryFolderAway(Playground& place) {
  const auto folder = place.aFolder();
  if (!folder) return false;
  const std::string away = place.root() + ".away";
  std::error_code error;
  fs::rename(fs::path(place / *folder), away, error);
  if (error) return false;
  if (place.chance(50)) ::usleep(100'000);
  fs::rename(away, fs::path(place / place.newPath()), error);
  return !error;
}

constexpr ChangeKind kFileChanges[] = {
    {"a file is written", 6, rewriteFile},
    {"a file is appended to", 4, appendToFile},
    {"a file is truncated", 2, truncateFile},
    {"a file is as committed again", 3, restoreContent},
    {"a file is rewritten, with its size and time kept", 2, rewriteUnseen},
    {"a file is written through a mapping", 3, writeThroughMapping},
    {"a file is written in pieces", 2, writeInPieces},
    {"a file is replaced by a rename", 3, replaceFile},
    {"a file is touched", 2, touchFile},
    {"a file's time is set back", 2, setTimeBack},
    {"a file's mode is changed", 2, changeMode},
    {"a new file", 4, newFile},
    {"several new files", 1, newFiles},
    {"a new empty file", 1, newEmptyFile},
    {"a file is copied", 2, copyFile},
    {"a file is renamed", 4, renameFile},
    {"a file is renamed over another", 2, renameOverFile},
    {"two files change places", 2, exchangeFiles},
    {"a file is deleted", 4, deleteFile},
    {"a file is deleted and made again", 2, deleteAndMakeAgain},
    {"a new link", 2, newLink},
    {"a file becomes a link", 2, fileBecomesLink},
    {"a link becomes a file", 2, linkBecomesFile},
    {"a file becomes a folder", 2, fileBecomesFolder},
};

constexpr ChangeKind kFolderChanges[] = {
    {"a folder becomes a file", 1, folderBecomesFile},
    {"a folder becomes a link", 1, folderBecomesLink},
    {"a new folder", 2, newFolder},
    {"a new tree", 3, newTree},
    {"a folder is renamed", 4, renameFolder},
    {"two folders change places", 2, exchangeFolders},
    {"a folder is deleted", 3, deleteFolder},
    {"a folder is deleted and made again", 2, deleteFolderAndMakeAgain},
    {"a folder is carried away and back", 2, carryFolderAway},
};

}  // namespace

std::span<const ChangeKind> fileChanges() { return kFileChanges; }
std::span<const ChangeKind> folderChanges() { return kFolderChanges; }

}  // namespace kelpie
