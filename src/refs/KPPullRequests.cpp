#include "refs/KPPullRequests.h"

namespace kelpie {

KPPullRequests::KPPullRequests(std::optional<std::string> name)
    : KPReference(KPReferenceType::kPullRequests, std::move(name)) {}

KPPullRequests::KPPullRequests(std::int64_t /*type*/, std::optional<std::string> name)
    : KPPullRequests(std::move(name)) {}

KPPullRequests::KPPullRequests(const KeyedDecoder& coder) : KPReference(coder) {}

std::vector<std::string_view> KPPullRequests::classNames() const {
  return {"KPPullRequests", "KPReference", "NSObject"};
}

}  // namespace kelpie
