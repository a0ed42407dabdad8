#include "platform/linux/LinuxMessagePorts.h"

#include <cstddef>
#include <utility>

#include "linux/base/UnixSocket.h"
#include "platform/linux/FolderListing.h"
#include "platform/linux/LinuxLocalMessagePort.h"
#include "platform/linux/LinuxRemoteMessagePort.h"

namespace kelpie {
namespace {

// Whether the name, which may be hostile, is that of one file in the folder.
bool isFileName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

}  // namespace

LinuxMessagePorts::LinuxMessagePorts(MainLoop& loop, std::string folder)
    : loop_(loop), folder_(std::move(folder)) {}

std::unique_ptr<LocalMessagePort> LinuxMessagePorts::createLocal(
    std::string_view name, LocalMessagePort::Handler handler) {
  if (!isFileName(name)) return nullptr;
  const std::string ownName(name);
  return LinuxLocalMessagePort::create(loop_, folder_ + "/" + ownName, ownName, std::move(handler));
}

std::shared_ptr<RemoteMessagePort> LinuxMessagePorts::createRemote(std::string_view name) {
  if (!isFileName(name)) return nullptr;
  return LinuxRemoteMessagePort::connect(std::string(folder_).append("/").append(name));
}

void LinuxMessagePorts::removeStale(std::string_view prefix) const {
  FolderListing listing;
  if (listing.read(folder_, false, FolderListing::Identity::None) != 0) return;
  for (std::size_t i = 0; i < listing.size(); ++i) {
    const std::string_view name = listing.item(i).name;
    if (!name.starts_with(prefix)) continue;
    UnixSocket::removeStale(std::string(folder_).append("/").append(name));
  }
}

}  // namespace kelpie
