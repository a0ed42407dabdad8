#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "foundation/Dictionary.h"
#include "menus/MenuHost.h"
#include "support/EventLog.h"

namespace kelpie {

// A controller as menus see it. Writes "host.send ID SELECTOR". One thread.
class FakeMenuHost final : public MenuHost {
 public:
  struct Message {
    Dictionary dictionary;
    std::int32_t id;
  };

  explicit FakeMenuHost(EventLog& events) : events_(events) {}

  std::int32_t pid = 42;
  // The open ones; of several that hold a URL the first counts.
  std::vector<std::shared_ptr<KPRepository>> repositories;
  std::vector<Message> sent;

  std::int32_t applicationPid() const override { return pid; }
  std::shared_ptr<KPRepository> repositoryForURL(const URL& url,
                                                 const FileSystem& files) const override;
  std::vector<std::shared_ptr<KPRepository>> repositoriesForURLs(
      const std::vector<URL>& urls, const FileSystem& files) const override;
  void sendMessage(const Dictionary& message, std::int32_t id) override;
  const std::vector<URL>& targetURLs() const override { return targetURLs_; }
  void setTargetURLs(std::vector<URL> urls) override { targetURLs_ = std::move(urls); }
  SenderObjects& senderObjects() override { return senderObjects_; }

 private:
  EventLog& events_;
  std::vector<URL> targetURLs_;
  SenderObjects senderObjects_;
};

}  // namespace kelpie
